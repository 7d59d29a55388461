// smscan, Wine's own TWAIN manager and the virtual scanner together: the files hold the page, pixel for
// pixel.
#include <BmpFile.h>
#include <TestPage.h>
#include <doctest.h>

#include <fstream>

#include "PageFile.h"
#include "ScanFolder.h"

using vscan::PageRequest;
using vscan::PixelKind;

namespace {

const Words mechanisms = {"native", "file", "memory", "block"};

// Scans one page; the line printed, and then what is in the file.
Lines scanOne(const Words& options, const vscan::Picture& page, const Words& settings = {}) {
    ScanFolder folder;
    const Lines printed = folder.smscan(Words{"--output", "page.bmp"} + options, settings);
    CHECK(folder.files() == Lines{"page.bmp"});
    return printed + Lines{comparePage(folder.path("page.bmp"), page)};
}

Lines scanOne(const Words& options, const PageRequest& page, const Words& settings = {}) {
    return scanOne(options, vscan::renderPage(page), settings);
}

}  // namespace

TEST_CASE("every mode by every mechanism is the same page") {
    const struct {
        const char* mode;
        const char* dpi;
        PixelKind kind;
        const char* size;
        const char* bits;
    } rows[] = {{"bw", "100", PixelKind::Bw1, "827 x 1169", "1 bit"},
                {"gray", "75", PixelKind::Gray8, "620 x 877", "8 bit"},
                {"color", "61", PixelKind::Rgb24, "504 x 713", "24 bit"}};
    for (const auto& row : rows) {
        for (const std::string& mechanism : mechanisms) {
            CAPTURE(row.mode);
            CAPTURE(mechanism);
            const std::string dpi = row.dpi;
            const Lines seen = scanOne({"--mode", row.mode, "--resolution", dpi, "--mech", mechanism},
                                       pageOf(row.kind, std::stod(dpi)));
            const std::string bits = row.bits;
            CHECK(seen ==
                  Lines{"page.bmp  " + std::string(row.size) + " pixels, " + bits + ", " + dpi + " dpi",
                        "exit 0", bits + ", " + dpi + " dpi: the page"});
        }
    }
}

TEST_CASE("a page of more than one strip buffer") {
    CHECK(scanOne({"--resolution", "300"}, pageOf(PixelKind::Rgb24, 300)) ==
          Lines{"page.bmp  2480 x 3508 pixels, 24 bit, 300 dpi", "exit 0", "24 bit, 300 dpi: the page"});
}

TEST_CASE("pixels that the source has on its own are brought into a BMP file") {
    const struct {
        const char* type;
        const char* depth;
        PixelKind kind;
        const char* bits;
        size_t count;  // of the mechanisms that can
    } rows[] = {{"Gray", "4", PixelKind::Gray4, "4 bit", 4},
                {"Palette", "4", PixelKind::Palette4, "4 bit", 4},
                {"Palette", "8", PixelKind::Palette8, "8 bit", 4},
                {"Gray", "16", PixelKind::Gray16, "8 bit", 3},
                {"RGB", "48", PixelKind::Rgb48, "24 bit", 3}};
    for (const auto& row : rows) {
        for (size_t i = 0; i < row.count; ++i) {
            CAPTURE(row.type);
            CAPTURE(row.depth);
            CAPTURE(mechanisms[i]);
            const Lines seen =
                scanOne({"--resolution", "60", "--mech", mechanisms[i]}, pageOf(row.kind, 60),
                        {std::string("PixelType=") + row.type, std::string("BitDepth=") + row.depth});
            const std::string bits = row.bits;
            CHECK(seen == Lines{"page.bmp  496 x 702 pixels, " + bits + ", 60 dpi", "exit 0",
                                bits + ", 60 dpi: the page"});
        }
    }
}

TEST_CASE("however the strips are cut and laid out, the page is the same") {
    const struct {
        PixelKind kind;
        Words settings;
    } rows[] = {
        {PixelKind::Rgb24, {"RowPadding=0"}},
        {PixelKind::Rgb24, {"StripRows=1"}},
        {PixelKind::Rgb24, {"StripColumns=100"}},
        {PixelKind::Rgb24, {"Planar=1"}},
        {PixelKind::Rgb24, {"Planar=1", "RowPadding=0", "StripRows=7", "StripColumns=100"}},
        {PixelKind::Rgb48, {"BitDepth=48", "Planar=1"}},
        {PixelKind::Rgb48, {"BitDepth=48", "RowPadding=0", "StripColumns=33"}},
        {PixelKind::Bw1, {"PixelType=BW", "RowPadding=0"}},
        {PixelKind::Bw1, {"PixelType=BW", "StripColumns=100", "StripRows=50"}},
        {PixelKind::Gray4, {"PixelType=Gray", "BitDepth=4", "StripColumns=8", "StripRows=200"}},
        {PixelKind::Gray16, {"PixelType=Gray", "BitDepth=16", "RowPadding=0"}},
        // Lengths told wrongly, where the page itself shows the truth.
        {PixelKind::Rgb24, {"UnknownLength=1"}},
        {PixelKind::Gray8, {"PixelType=Gray", "UnknownLength=1", "StripRows=11"}},
        {PixelKind::Rgb24, {"LengthError=-20"}},
        // And numbers of a strip, where the others show it.
        {PixelKind::Rgb24, {"StripFaults=ExtraRows"}},
        {PixelKind::Rgb24, {"StripFaults=WideColumns"}},
        {PixelKind::Rgb24, {"MinBufferSize=0", "MaxBufferSize=0", "PreferredBufferSize=0"}},
    };
    for (const auto& row : rows) {
        CAPTURE(row.settings);
        const Lines seen = scanOne({"--resolution", "61"}, pageOf(row.kind, 61), row.settings);
        CHECK(seen[0].substr(0, 27) == "page.bmp  504 x 713 pixels,");
        CHECK(seen[1] == "exit 0");
        CHECK(seen[2].substr(seen[2].find(':')) == ": the page");
    }
}

TEST_CASE("blocks are pulled from rows of any padding, and from pages of unknown length") {
    for (const Words& settings : {Words{"RowPadding=0"}, Words{"StripRows=1"}, Words{"UnknownLength=1"},
                                  Words{"LengthError=-20"}, Words{"PixelType=Gray", "RowPadding=0"}}) {
        CAPTURE(settings);
        const PixelKind kind = settings[0] == "PixelType=Gray" ? PixelKind::Gray8 : PixelKind::Rgb24;
        const Lines seen = scanOne({"--resolution", "61", "--mech", "block"}, pageOf(kind, 61), settings);
        CHECK(seen[1] == "exit 0");
        CHECK(seen[2].substr(seen[2].find(':')) == ": the page");
    }
}

TEST_CASE("the pages of the feeder, each under its number") {
    for (const std::string& mechanism : mechanisms) {
        CAPTURE(mechanism);
        ScanFolder folder;
        const Lines seen = folder.smscan({"--resolution", "50", "--mode", "gray", "--pages", "all",
                                          "--output", "feeder%02d.bmp", "--mech", mechanism},
                                         {"Pages=3"});
        CHECK(seen == Lines{"feeder01.bmp  413 x 585 pixels, 8 bit, 50 dpi",
                            "feeder02.bmp  413 x 585 pixels, 8 bit, 50 dpi",
                            "feeder03.bmp  413 x 585 pixels, 8 bit, 50 dpi", "exit 0"});
        CHECK(folder.files() == Lines{"feeder01.bmp", "feeder02.bmp", "feeder03.bmp"});
        for (int number = 1; number <= 3; ++number)
            CHECK(comparePage(folder.path("feeder0" + std::to_string(number) + ".bmp"),
                              pageOf(PixelKind::Gray8, 50, number)) == "8 bit, 50 dpi: the page");
    }
}

TEST_CASE("no more pages come than were asked for, and fewer are told") {
    ScanFolder folder;
    const Words options = {"--resolution", "50", "--mode", "bw", "--output", "p.bmp", "--pages"};
    const Lines two = {"p-001.bmp  413 x 585 pixels, 1 bit, 50 dpi",
                       "p-002.bmp  413 x 585 pixels, 1 bit, 50 dpi"};
    const Lines numbered = {"! Note: --output has no %d, so pages are numbered: p-001.bmp ..."};
    CHECK(folder.smscan(options + Words{"2"}, {"Pages=5"}) == two + numbered + Lines{"exit 0"});
    CHECK(folder.files() == Lines{"p-001.bmp", "p-002.bmp"});
    CHECK(folder.smscan(options + Words{"3"}, {"Pages=2", "UnknownPendingCount=1"}) ==
          two + numbered + Lines{"! Note: the source had 2 pages, not 3.", "exit 0"});
    CHECK(folder.smscan(options + Words{"2"}, {"Feeder=none"}) ==
          Lines{two[0]} + numbered +
              Lines{"! Note: the source has no feeder, so there is one page.",
                    "! Note: the source had 1 page, not 2.", "exit 0"});
}

TEST_CASE("a part of the page, other paper, other tones") {
    PageRequest part = pageOf(PixelKind::Rgb24, 100);
    part.area = {1.5, 2, 4, 3.25};
    CHECK(scanOne({"--resolution", "100", "--area", "1.5,2,4,3.25"}, part) ==
          Lines{"page.bmp  250 x 125 pixels, 24 bit, 100 dpi", "exit 0", "24 bit, 100 dpi: the page"});

    PageRequest legal = pageOf(PixelKind::Gray8, 50);
    legal.area = {0, 0, 8.5, 14};  // beyond the A4 page there is the lid
    CHECK(scanOne({"--resolution", "50", "--mode", "gray", "--paper", "legal"}, legal) ==
          Lines{"page.bmp  425 x 700 pixels, 8 bit, 50 dpi", "exit 0", "8 bit, 50 dpi: the page"});

    PageRequest toned = pageOf(PixelKind::Gray8, 50);
    toned.tone.brightness = 300;
    toned.tone.contrast = -200;
    toned.tone.highlight = 230;
    toned.tone.shadow = 20;
    toned.tone.gamma = 1.5;
    toned.unsharpMask = true;
    CHECK(scanOne({"--resolution", "50", "--mode", "gray", "--brightness", "30", "--contrast", "-20",
                   "--highlight", "230", "--shadow", "20", "--gamma", "1.5", "--set", "unsharp-mask=on"},
                  toned)
              .back() == "8 bit, 50 dpi: the page");

    PageRequest dark = pageOf(PixelKind::Bw1, 100);
    dark.tone.threshold = 40;
    dark.draft = true;
    CHECK(
        scanOne({"--resolution", "100", "--mode", "bw", "--threshold", "40", "--set", "draft-scan=on"}, dark)
            .back() == "1 bit, 100 dpi: the page");
}

TEST_CASE("the user's own page is served pixel for pixel") {
    ScanFolder own;
    constexpr int width = 123;
    constexpr int height = 77;
    vscan::Picture page;
    page.width = width;
    page.height = height;
    const std::vector<uint8_t> header = vscan::dibHeader(page.kind, width, height, 200, 200, {});
    const size_t stride = vscan::paddedRowBytes(page.kind, width);
    const std::vector<uint8_t> fileHeader = vscan::bmpFileHeader(header.size(), stride * height);
    std::vector<uint8_t> rows(stride * height);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            uint8_t* const stored = &rows[stride * static_cast<size_t>(height - 1 - y) + 3u * x];
            for (int channel = 0; channel < 3; ++channel) {
                stored[2 - channel] = static_cast<uint8_t>(x * 37 + y * 11 + channel * 85);
                page.pixels.push_back(stored[2 - channel]);
            }
        }
    }
    std::ofstream file(own.path("own.bmp"), std::ios::binary);
    for (const auto& bytes : {fileHeader, header, rows})
        file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    file.close();
    REQUIRE(comparePage(own.path("own.bmp"), page) == "24 bit, 200 dpi: the page");
    for (const std::string& mechanism : mechanisms) {
        CAPTURE(mechanism);
        CHECK(scanOne({"--resolution", "200", "--mech", mechanism}, page, {"Page=" + own.path("own.bmp")}) ==
              Lines{"page.bmp  123 x 77 pixels, 24 bit, 200 dpi", "exit 0", "24 bit, 200 dpi: the page"});
    }
}
