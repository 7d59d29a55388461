// smscan, Wine's own TWAIN manager and the virtual scanner together: the files hold the page, pixel for
// pixel.
#include <doctest.h>

#include <algorithm>

#include <source/SourceWindow.h>

#include "ForeignDialog.h"
#include "PageFile.h"

using vscan::PageRequest;
using vscan::PixelKind;

namespace {

// In a file there are at most 8 bits a channel.
int bitsInFile(PixelKind kind) {
    return kind == PixelKind::Gray16 ? 8 : std::min(vscan::bitsPerPixel(kind), 24);
}

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

// Scans one page and looks at what is printed and at the file.
void checkPage(const PageRequest& page, const std::string& options, const std::string& settings = "") {
    CAPTURE(options);
    CAPTURE(settings);
    const std::string dpi = std::to_string(static_cast<int>(page.xResolution));
    const std::string bits = std::to_string(bitsInFile(page.kind)) + " bit, ";
    // The one-shot scan takes no per cent sign.
    const bool isOneShot = has(options, "--presto");
    const std::string file = isOneShot ? "p.bmp" : "%d.bmp", output = isOneShot ? "p.bmp" : "%%d.bmp";
    const std::string lines = std::to_string(pixelHeight(page));
    const std::string announced = std::to_string(pixelHeight(page) - 20);
    const std::string longer = "! Note: page 1 has " + lines + " lines, though the source announced " +
                               announced + "; all are kept.\n";
    ForeignDialog window(vscan::SourceWindow::scanButton);
    CHECK(scanned("--output " + output + " --resolution " + dpi + " " + options, settings, page,
                  std::ref(window)) == file + "  " + std::to_string(pixelWidth(page)) + " x " + lines +
                                           " pixels, " + bits + dpi + " dpi\n" +
                                           (has(settings, "LengthError=-20") ? longer : "") + "exit 0\n" +
                                           file + ": " + bits + dpi + " dpi: the page");
    // The source's window comes when it refuses a setting of the one-shot scan.
    CHECK(window.count() == (has(settings, "ReadOnly") ? 1 : 0));
}

}  // namespace

TEST_CASE("whatever the mode, the mechanism, the source's pixels and strips: the same page") {
    const struct {
        PixelKind kind;
        const char *options, *settings;
    } rows[] = {
        {PixelKind::Bw1, "--mech native --mode bw", ""},
        {PixelKind::Rgb24, "--mech native --mode color", ""},
        {PixelKind::Palette4, "--mech native", "PixelType=Palette;BitDepth=4"},
        {PixelKind::Gray8, "--mech file --mode gray", ""},
        {PixelKind::Palette8, "--mech file", "PixelType=Palette"},
        {PixelKind::Bw1, "", "PixelType=BW;StripColumns=100;StripRows=50"},
        {PixelKind::Gray4, "", "PixelType=Gray;BitDepth=4;StripColumns=8;StripRows=200"},
        {PixelKind::Gray8, "", "PixelType=Gray;Units=Centimeters"},
        {PixelKind::Gray16, "", "PixelType=Gray;BitDepth=16"},
        {PixelKind::Palette4, "", "PixelType=Palette;BitDepth=4;RowPadding=0"},
        {PixelKind::Palette8, "", "PixelType=Palette;BitDepth=8;UnknownLength=1"},
        {PixelKind::Rgb24, "", "Planar=1;RowPadding=0;StripRows=7;StripColumns=100"},
        {PixelKind::Rgb24, "", "PreferredBufferSize=1000000;LengthError=-20"},
        {PixelKind::Rgb24, "", "MinBufferSize=0;MaxBufferSize=0;PreferredBufferSize=0;StripFaults=ExtraRows"},
        {PixelKind::Rgb24, "", "StripFaults=WideColumns"},
        {PixelKind::Rgb48, "", "BitDepth=48;Planar=1"},
        {PixelKind::Rgb48, "", "BitDepth=48;RowPadding=0;StripColumns=33"},
        // Pulled blocks.
        {PixelKind::Bw1, "--mech block --mode bw", ""},
        {PixelKind::Gray4, "--mech block", "PixelType=Gray;BitDepth=4"},
        {PixelKind::Palette8, "--mech block", "PixelType=Palette;LengthError=-20"},
        {PixelKind::Gray8, "--mech block --mode gray", "RowPadding=0"},
        {PixelKind::Rgb24, "--mech block", "StripRows=1"},
        {PixelKind::Rgb24, "--mech block", "UnknownLength=1"},
        // One-shot scans, by memory, file and native transfer. They take the user's settings from the
        // source's window when that refuses theirs.
        {PixelKind::Bw1, "--presto --mode bw", ""},
        {PixelKind::Gray8, "--presto --mode gray", ""},
        {PixelKind::Rgb24, "--presto --mode color", ""},
        {PixelKind::Palette4, "--presto", "BitDepth=4;PixelType=Palette;ReadOnlyCapabilities=ICAP_PIXELTYPE"},
        {PixelKind::Palette8, "--presto", "PixelType=Palette;ReadOnlyCapabilities=ICAP_PIXELTYPE"},
        {PixelKind::Rgb24, "--presto --mode color", "RefusedMechanisms=Memory"},
        {PixelKind::Rgb24, "--presto --mode color", "RefusedMechanisms=Memory,File"},
        {PixelKind::Palette4, "--presto",
         "RefusedMechanisms=Memory,File;BitDepth=4;PixelType=Palette;ReadOnlyCapabilities=ICAP_PIXELTYPE"}};
    for (const auto& row : rows)
        checkPage(pageOf(row.kind, 62), row.options, row.settings);
}

TEST_CASE("no more pages come than were asked for, and fewer are told") {
    ScanFolder folder;
    const std::string options = "--resolution 50 --mode bw --force --output p.bmp --pages ";
    const std::string one = "p-001.bmp  413 x 585 pixels, 1 bit, 50 dpi\n";
    const std::string two = one + "p-002.bmp  413 x 585 pixels, 1 bit, 50 dpi\n";
    const std::string numbered = "! Note: --output has no %d, so pages are numbered: p-001.bmp ...\n";
    CHECK(folder.smscan(options + "2", "Pages=3;RefusedCapabilities=CAP_XFERCOUNT") ==
          two + numbered + "! Note: the source takes no number of pages.\nexit 0");
    CHECK(folder.files() == "p-001.bmp p-002.bmp");
    CHECK(folder.smscan(options + "3", "Pages=2;UnknownPendingCount=1") ==
          two + numbered + "! Note: the source had 2 pages, not 3.\nexit 0");
    CHECK(folder.smscan(options + "2", "Feeder=none") ==
          one + numbered +
              "! Note: the source has no feeder, so there is one page.\n"
              "! Note: the source had 1 page, not 2.\nexit 0");
}

TEST_CASE("a part of the page, other paper, other tones, the user's own page") {
    PageRequest legal = pageOf(PixelKind::Gray8, 50);
    legal.area = {0, 0, 8.5, 14};  // beyond the A4 page there is the lid
    checkPage(legal, "--mode gray --paper legal");

    const std::string tones = "--mode gray --brightness 30 --contrast 20 --highlight 230 --shadow 20 ";
    PageRequest toned = pageOf(PixelKind::Gray8, 50);
    toned.tone = {300, 200, 230, 20};
    checkPage(toned, tones + "--presto");
    toned.tone.gamma = 1.5;
    toned.unsharpMask = true;
    checkPage(toned, tones + "--gamma 1.5 --set unsharp-mask=on");

    PageRequest dark = pageOf(PixelKind::Bw1, 50);
    dark.tone.threshold = 40;
    dark.draft = true;
    checkPage(dark, "--mode bw --threshold 40 --set draft-scan=on --set ui-mode=3");

    PageRequest part = pageOf(PixelKind::Rgb24, 200);
    part.area = {2, 3, 2.615, 3.385};  // 123 x 77 pixels
    ScanFolder own;
    own.smscan("--output own.bmp --resolution 200 --area 2,3,2.615,3.385");
    REQUIRE(pagesIn(own, part) == "\nown.bmp: 24 bit, 200 dpi: the page");
    checkPage(part, "--mech native", "Page=" + own.path("own.bmp"));
}
