// smscan, Wine's own TWAIN manager and the virtual scanner together: the files hold the page, pixel for
// pixel.
#include <doctest.h>

#include <algorithm>
#include <sstream>

#include "PageFile.h"
#include "ScanFolder.h"

using vscan::PageRequest;
using vscan::PixelKind;

namespace {

// In a file there are at most 8 bits a channel.
int bitsInFile(PixelKind kind) {
    return kind == PixelKind::Gray16 ? 8 : std::min(vscan::bitsPerPixel(kind), 24);
}

// Scans one page and looks at what is printed and at the file.
void checkPage(const PageRequest& page, const std::string& options, const std::string& settings = "") {
    CAPTURE(options);
    CAPTURE(settings);
    const std::string dpi = std::to_string(static_cast<int>(page.xResolution));
    const std::string look = std::to_string(bitsInFile(page.kind)) + " bit, " + dpi + " dpi";
    ScanFolder folder;
    CHECK(folder.smscan("--output page.bmp --resolution " + dpi + " " + options, settings) ==
          "page.bmp  " + std::to_string(pixelWidth(page)) + " x " + std::to_string(pixelHeight(page)) +
              " pixels, " + look + "\nexit 0");
    CHECK(comparePage(folder.path("page.bmp"), page) == look + ": the page");
    CHECK(folder.files() == "page.bmp");
}

}  // namespace

TEST_CASE("whatever the mode, the mechanism, the source's pixels and strips: the same page") {
    const std::string all = "native file memory block";
    const struct {
        PixelKind kind;
        int dpi;
        std::string mechanisms;
        const char* options;
        const char* settings;
    } rows[] = {
        {PixelKind::Bw1, 100, all, "--mode bw", ""},
        {PixelKind::Gray8, 75, all, "--mode gray", ""},
        {PixelKind::Rgb24, 62, all, "--mode color", ""},
        {PixelKind::Rgb24, 300, "memory", "", ""},  // more than one strip buffer
        // Pixels that the source has on its own.
        {PixelKind::Gray4, 60, "native memory block", "", "PixelType=Gray;BitDepth=4"},
        {PixelKind::Palette4, 60, all, "", "PixelType=Palette;BitDepth=4"},
        {PixelKind::Palette8, 60, "native memory block", "", "PixelType=Palette;BitDepth=8"},
        {PixelKind::Gray16, 60, "native memory", "", "PixelType=Gray;BitDepth=16"},
        {PixelKind::Rgb48, 60, "native file memory", "", "PixelType=RGB;BitDepth=48"},
        // Strips of any form.
        {PixelKind::Rgb24, 62, "memory block", "", "RowPadding=0"},
        {PixelKind::Rgb24, 62, "memory block", "", "StripRows=1"},
        {PixelKind::Rgb24, 62, "memory", "", "StripColumns=100"},
        {PixelKind::Rgb24, 62, "memory", "", "Planar=1"},
        {PixelKind::Rgb24, 62, "memory", "", "Planar=1;RowPadding=0;StripRows=7;StripColumns=100"},
        {PixelKind::Rgb48, 62, "memory", "", "BitDepth=48;Planar=1"},
        {PixelKind::Rgb48, 62, "memory", "", "BitDepth=48;RowPadding=0;StripColumns=33"},
        {PixelKind::Bw1, 62, "memory", "", "PixelType=BW;StripColumns=100;StripRows=50"},
        {PixelKind::Gray4, 62, "memory", "", "PixelType=Gray;BitDepth=4;StripColumns=8;StripRows=200"},
        {PixelKind::Gray8, 62, "block", "", "PixelType=Gray;RowPadding=0"},
        {PixelKind::Rgb24, 62, "memory", "", "MinBufferSize=0;MaxBufferSize=0;PreferredBufferSize=0"},
        // Wrong lengths and numbers, where the page or the others of a strip show the truth.
        {PixelKind::Rgb24, 62, "memory block", "", "UnknownLength=1"},
        {PixelKind::Rgb24, 62, "memory block", "", "LengthError=-20"},
        {PixelKind::Rgb24, 62, "memory", "", "StripFaults=ExtraRows"},
        {PixelKind::Rgb24, 62, "memory", "", "StripFaults=WideColumns"},
    };
    for (const auto& row : rows) {
        std::istringstream mechanisms(row.mechanisms);
        for (std::string mechanism; mechanisms >> mechanism;)
            checkPage(pageOf(row.kind, row.dpi), "--mech " + mechanism + " " + row.options, row.settings);
    }
}

TEST_CASE("no more pages come than were asked for, and fewer are told") {
    ScanFolder folder;
    const std::string options = "--resolution 50 --mode bw --output p.bmp --pages ";
    const std::string one = "p-001.bmp  413 x 585 pixels, 1 bit, 50 dpi\n";
    const std::string two = one + "p-002.bmp  413 x 585 pixels, 1 bit, 50 dpi\n";
    const std::string numbered = "! Note: --output has no %d, so pages are numbered: p-001.bmp ...\n";
    CHECK(folder.smscan(options + "2", "Pages=5") == two + numbered + "exit 0");
    CHECK(folder.files() == "p-001.bmp p-002.bmp");
    CHECK(folder.smscan(options + "3", "Pages=2;UnknownPendingCount=1") ==
          two + numbered + "! Note: the source had 2 pages, not 3.\nexit 0");
    CHECK(folder.smscan(options + "2", "Feeder=none") ==
          one + numbered +
              "! Note: the source has no feeder, so there is one page.\n"
              "! Note: the source had 1 page, not 2.\nexit 0");
}

TEST_CASE("a part of the page, other paper, other tones") {
    PageRequest part = pageOf(PixelKind::Rgb24, 100);
    part.area = {1.5, 2, 4, 3.25};
    checkPage(part, "--area 1.5,2,4,3.25");

    PageRequest legal = pageOf(PixelKind::Gray8, 50);
    legal.area = {0, 0, 8.5, 14};  // beyond the A4 page there is the lid
    checkPage(legal, "--mode gray --paper legal");

    PageRequest toned = tonedPage(50);
    toned.tone.gamma = 1.5;
    toned.unsharpMask = true;
    checkPage(toned, "--mode gray --gamma 1.5 --set unsharp-mask=on" + toneOptions);

    PageRequest dark = pageOf(PixelKind::Bw1, 100);
    dark.tone.threshold = 40;
    dark.draft = true;
    checkPage(dark, "--mode bw --threshold 40 --set draft-scan=on");
}

TEST_CASE("the user's own page is served pixel for pixel") {
    PageRequest part = pageOf(PixelKind::Rgb24, 200);
    part.area = {2, 3, 2.615, 3.385};  // 123 x 77 pixels
    ScanFolder own;
    own.smscan("--output own.bmp --resolution 200 --area 2,3,2.615,3.385");
    REQUIRE(comparePage(own.path("own.bmp"), part) == "24 bit, 200 dpi: the page");
    for (const char* mechanism : {"native", "memory"})
        checkPage(part, std::string("--mech ") + mechanism, "Page=" + own.path("own.bmp"));
}
