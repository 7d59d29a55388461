// The parts of smscan that need neither the module nor a source: the command line, names of files, placing of
// rows, texts.
#include <doctest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>

#include "Bmp.h"
#include "BmpFile.h"
#include "CapsTable.h"
#include "Conditions.h"
#include "Failure.h"
#include "Options.h"
#include "PageFiles.h"
#include "ProgressText.h"
#include "Strips.h"
#include "Text.h"

using namespace smscan;

namespace {

std::string failureOf(const std::vector<std::string>& words) {
    try {
        parseOptions(words);
    } catch (const Failure& failure) {
        CHECK(failure.code == ExitCode::Usage);
        return failure.text;
    }
    return "";
}

std::string hex(const std::vector<uint8_t>& bytes) {
    std::string text;
    for (const uint8_t byte : bytes)
        text += format("%02x", byte);
    return text;
}

std::vector<uint8_t> contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// A file in the temporary folder, deleted at the end.
struct TemporaryFile {
    TemporaryFile() {
        char folder[MAX_PATH] = {};
        char name[MAX_PATH] = {};
        GetTempPathA(sizeof folder, folder);
        GetTempFileNameA(folder, "smu", 0, name);
        path = name;
    }
    ~TemporaryFile() { DeleteFileA(path.c_str()); }
    std::string path;
};

// The pixel bytes of the BMP file that these strips give.
struct PageOfStrips {
    BmpFormat format;
    PixelLayout layout;
    int height;
    std::vector<Strip> strips;
};

std::string pixelsOf(const PageOfStrips& page) {
    const TemporaryFile file;
    StripWriter writer(file.path, page.format, page.height, page.layout);
    for (const Strip& strip : page.strips)
        writer.add(strip);
    writer.finish();
    const std::vector<uint8_t> content = contentOf(file.path);
    return hex({content.begin() + 54 + page.format.palette.size() * 4, content.end()});
}

BmpFormat formatOf(int width, int bits) {
    BmpFormat format;
    format.width = width;
    format.bits = bits;
    return format;
}

}  // namespace

TEST_CASE("options are read in both spellings, with defaults for the rest") {
    const Options options = parseOptions({"--mode=color", "--resolution", "150", "--pages", "all", "--set",
                                          "unsharp-mask=on", "--brightness", "-100", "--mech", "block"});
    CHECK(options.pixelType == 4);
    CHECK(options.resolution == 150);
    CHECK(options.pages == allPages);
    CHECK(options.brightness == -100);
    CHECK(options.mechanism == Mechanism::Block);
    REQUIRE(options.settings.size() == 1);
    CHECK(options.settings[0].setting == Setting::UnsharpMask);
    CHECK(options.settings[0].value == 1);

    const Options none = parseOptions({});
    CHECK(none.action == Action::Scan);
    CHECK(none.mechanism == Mechanism::Memory);
    CHECK(none.pages == 1);
    CHECK_FALSE(none.pixelType);
}

TEST_CASE("what can't be meant is refused, with the range or the choices named") {
    struct {
        std::vector<std::string> words;
        const char* text;
    } const rows[] = {
        {{"--bogus"}, "Unknown option \"--bogus\"."},
        {{"--mode"}, "--mode lacks its value."},
        {{"--list=yes"}, "--list takes no value."},
        {{"--mode", "grey"}, "--mode takes one of bw, gray, color, not \"grey\"."},
        {{"--brightness", "101"}, "--brightness takes a whole number from -100 to 100, not \"101\"."},
        {{"--threshold", "12x"}, "--threshold takes a whole number from 0 to 255, not \"12x\"."},
        {{"--gamma", "nan"}, "--gamma takes a number from 0.1 to 10.0, not \"nan\"."},
        {{"--pages", "0"}, "--pages (or \"all\") takes a whole number from 1 to 32767, not \"0\"."},
        {{"--set", "pim"}, "--set pim lacks its value: NAME=VALUE."},
        {{"--set", "pim=2"}, "--set pim takes a whole number from 0 to 1, not \"2\"."},
        {{"--set", "ui-mode=2"}, "--set ui-mode takes 0, 1 or 3."},
        {{"--json"}, "--json goes with --caps."},
        {{"--area", "0,0,1,1", "--paper", "a4"}, "--area and --paper exclude each other"},
        {{"--presto", "--gamma", "1"}, "--presto takes --mode"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.text);
        CHECK(failureOf(row.words).find(row.text) == 0);
    }
}

TEST_CASE("an area takes units per number, or from the next number that has one") {
    struct {
        const char* text;
        double left, top, right, bottom;
    } const rows[] = {
        {"0,0,2,3", 0, 0, 2, 3},
        {"0,0,2,3in", 0, 0, 2, 3},
        {"10,10,100,200mm", 10 / 25.4, 10 / 25.4, 100 / 25.4, 200 / 25.4},
        {"1in,1in,5.08cm,144pt", 1, 1, 2, 2},
        {"36,36pt,5.08,10.16cm", 0.5, 0.5, 2, 4},
    };
    for (const auto& row : rows) {
        CAPTURE(row.text);
        const Area area = parseArea(row.text);
        CHECK(area.left == doctest::Approx(row.left));
        CHECK(area.top == doctest::Approx(row.top));
        CHECK(area.right == doctest::Approx(row.right));
        CHECK(area.bottom == doctest::Approx(row.bottom));
    }
    for (const char* text :
         {"1,2,3", "1,2,3,4,5", "0,0,2,3ft", "a,0,1,1", "0,0,0,1", "2,0,1,1", "-1,0,1,1", ""}) {
        CAPTURE(text);
        CHECK_THROWS_AS(parseArea(text), Failure);
    }
}

TEST_CASE("page names come from the pattern") {
    CHECK(PageNames("out/p%03d.bmp", true).pathOf(7) == "out/p007.bmp");
    CHECK(PageNames("p%d", false).pathOf(12) == "p12");
    CHECK(PageNames("50%%-%02d.bmp", true).pathOf(1) == "50%-01.bmp");
    CHECK(PageNames("one.bmp", false).pathOf(1) == "one.bmp");

    const PageNames byItself("a.b/one", true);
    CHECK(byItself.numberedByItself());
    CHECK(byItself.pathOf(2) == "a.b/one-002");
    CHECK(PageNames("one.bmp", true).pathOf(2) == "one-002.bmp");

    CHECK(unfinishedName("C:\\a.b\\page1.bmp") == "C:\\a.b\\page1.part.bmp");
    CHECK(unfinishedName("C:\\a.b\\page1") == "C:\\a.b\\page1.part");

    for (const char* pattern : {"%s.bmp", "p%", "p%3d", "%d-%d.bmp", "%012d", ""}) {
        CAPTURE(pattern);
        CHECK_THROWS_AS(PageNames(pattern, false), Failure);
    }
}

TEST_CASE("a folder that isn't there and a read-only file are found before the scan") {
    const TemporaryFile file;
    CHECK_NOTHROW(checkWritable(file.path));
    CHECK(contentOf(unfinishedName(file.path)).empty());
    SetFileAttributesA(file.path.c_str(), FILE_ATTRIBUTE_READONLY);
    CHECK_THROWS_AS(checkWritable(file.path), Failure);
    SetFileAttributesA(file.path.c_str(), FILE_ATTRIBUTE_NORMAL);
    CHECK_THROWS_AS(checkWritable(file.path + "\\x.bmp"), Failure);
}

TEST_CASE("the header says size, depth and resolution") {
    BmpFormat format = formatOf(3, 24);
    format.xDotsPerInch = 300;
    format.yDotsPerInch = 150;
    CHECK(hex(bmpHeader(format, 2, false)) ==
          "424d4e000000000000003600000028000000"
          "0300000002000000010018000000000018000000232e0000121700000000000000000000");
    CHECK(hex(bmpHeader(format, 2, true)).substr(44, 8) == "feffffff");
    CHECK(bmpRowBytes(1, 1) == 4);
    CHECK(bmpRowBytes(33, 1) == 8);
    CHECK(grayPalette(4, false)[1].red == 17);
    CHECK(grayPalette(1, true)[0].blue == 255);
}

TEST_CASE("rows are stored bottom-up and padded, strips in any order") {
    const uint8_t upper[] = {1, 2, 3, 99, 4, 5, 6, 99};
    const uint8_t lower[] = {7, 8, 9};
    const BmpFormat format = formatOf(3, 8);
    CHECK(
        pixelsOf({format, PixelLayout::Packed, 3, {{lower, 3, 3, 3, 1, 0, 2}, {upper, 8, 4, 3, 2, 0, 0}}}) ==
        "070809000405060001020300");
    SUBCASE("an unknown length is stored top-down") {
        CHECK(
            pixelsOf(
                {format, PixelLayout::Packed, -1, {{upper, 8, 4, 3, 2, 0, 0}, {lower, 3, 3, 3, 1, 0, 2}}}) ==
            "010203000405060007080900");
    }
    SUBCASE("a page that ends early is cut, one that goes on grows") {
        CHECK(pixelsOf({format, PixelLayout::Packed, 3, {{upper, 8, 4, 3, 2, 0, 0}}}) == "0405060001020300");
        CHECK(pixelsOf(
                  {format, PixelLayout::Packed, 1, {{upper, 8, 4, 3, 2, 0, 0}, {lower, 3, 3, 3, 1, 0, 2}}}) ==
              "070809000405060001020300");
    }
    SUBCASE("rows far outside the page are an error") {
        CHECK_THROWS_AS(pixelsOf({format, PixelLayout::Packed, 3, {{lower, 3, 3, 3, 1, 0, 1000}}}), Failure);
    }
}

TEST_CASE("pixels are placed by their layout") {
    const uint8_t gray16[] = {0x01, 0xa1, 0x02, 0xa2};
    CHECK(pixelsOf({formatOf(2, 8), PixelLayout::Gray16, 1, {{gray16, 4, 4, 2, 1, 0, 0}}}) == "a1a20000");
    const uint8_t color48[] = {0, 0xb0, 0, 0xc0, 0, 0xd0};
    CHECK(pixelsOf({formatOf(1, 24), PixelLayout::Color48, 1, {{color48, 6, 6, 1, 1, 0, 0}}}) == "b0c0d000");
    const uint8_t red[] = {0xd1}, green[] = {0xc1}, blue[] = {0xb1};
    CHECK(pixelsOf({formatOf(1, 24),
                    PixelLayout::Planar24,
                    1,
                    {{red, 1, 1, 1, 1, 0, 0}, {green, 1, 1, 1, 1, 0, 0}, {blue, 1, 1, 1, 1, 0, 0}}}) ==
          "b1c1d100");
    const uint8_t left[] = {0xff}, right[] = {0xa0};
    // Tiles of 5 and 3 pixels; the first one's other bits must not show.
    CHECK(pixelsOf({formatOf(8, 1),
                    PixelLayout::Packed,
                    1,
                    {{left, 1, 1, 5, 1, 0, 0}, {right, 1, 1, 3, 1, 5, 0}}}) == "fd000000");
}

TEST_CASE("a page that is longer or shorter than announced keeps its rows, also when they fill many blocks") {
    constexpr uint32_t width = 1000;
    constexpr uint32_t height = 900;
    std::vector<uint8_t> pixels(width * height);
    for (size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<uint8_t>(i * 7 / 1000 + i);
    for (const int announced : {300, 899, 901, 2000}) {
        CAPTURE(announced);
        const TemporaryFile file;
        StripWriter writer(file.path, formatOf(width, 8), announced, PixelLayout::Packed);
        for (uint32_t row = 0; row < height; row += 300)
            writer.add({pixels.data() + row * width, 300 * width, width, width, 300, 0, row});
        CHECK(writer.complete() == (announced <= 900));
        CHECK(writer.finish().height == 900);
        const std::vector<uint8_t> content = contentOf(file.path);
        REQUIRE(content.size() == 54 + pixels.size());
        for (uint32_t row = 0; row < height; ++row)
            REQUIRE(std::equal(pixels.begin() + row * width, pixels.begin() + (row + 1) * width,
                               content.begin() + 54 + (height - 1 - row) * width));
    }
}

TEST_CASE("a planar page is complete with the last row of its third plane") {
    const uint8_t samples[] = {1, 2};
    const TemporaryFile file;
    StripWriter writer(file.path, formatOf(2, 24), 2, PixelLayout::Planar24);
    for (uint32_t strip = 0; strip < 6; ++strip) {
        CHECK_FALSE(writer.complete());
        writer.add({samples, 2, 2, 2, 1, 0, strip % 2});
        CHECK(writer.plane() == static_cast<int>(strip / 2));
        CHECK(writer.rows() == static_cast<int>(strip % 2 + 1));
    }
    CHECK(writer.complete());
}

TEST_CASE("a strip's numbers count only as far as its bytes and the page go") {
    const uint8_t bytes[10] = {};
    struct {
        Strip strip;
        uint32_t columns, rows;
    } const rows[] = {
        {{bytes, 10, 5, 5, 2, 0, 0}, 5, 2},  {{bytes, 10, 5, 5, 9, 0, 0}, 5, 2},  // more rows than bytes
        {{bytes, 10, 5, 99, 2, 0, 0}, 5, 2},  // more columns than the row has
        {{bytes, 10, 5, 5, 2, 6, 0}, 2, 2},   // beyond the right edge
        {{bytes, 10, 5, 5, 2, 9, 0}, 0, 0},  {{bytes, 10, 0, 5, 2, 0, 0}, 0, 0},
        {{bytes, 8, 5, 3, 2, 0, 0}, 3, 2},  // the last row without its padding
    };
    for (const auto& row : rows) {
        const Strip result = trimmed(row.strip, 8, 8);
        CHECK(result.columns == row.columns);
        CHECK(result.rows == row.rows);
    }
}

TEST_CASE("texts for the user") {
    CHECK(progressBar(2, 50, 200) == "page 2: [##########..............................]  25 %");
    CHECK(progressBar(1, 300, 200).find("100 %") != std::string::npos);
    CHECK(progressBar(1, 300, -1) == "page 1: 300 lines");
    CHECK(progressLine(3, 1, 3) == "page 3: 33 %");
    CHECK(conditionWords(20) == "paper jam (condition code 20)");
    CHECK(conditionWords(77) == "unknown failure (condition code 77)");

    const std::vector<CapsRow> rows{
        {"mode",
         {{"current", std::string("gray")}, {"choices", std::vector<std::string>{"bw", "gray"}}},
         "",
         ""},
        {"x-resolution", {{"current", 300.0}, {"min", 50.0}, {"max", 600.0}}, "", "dpi"},
        {"pim", {}, "not \"offered\"", ""},
    };
    CHECK(capsAsTable("S\x80", rows) ==
          "S\x80\n"
          "  mode               gray                 bw, gray\n"
          "  x-resolution       300 dpi              50 to 600\n"
          "  pim                -  not \"offered\"\n");
    CHECK(capsAsJson("S\x80", rows) ==
          "{\n  \"source\": \"S\\u0080\",\n  \"capabilities\": {\n"
          "    \"mode\": {\"current\": \"gray\", \"choices\": [\"bw\", \"gray\"]},\n"
          "    \"x-resolution\": {\"current\": 300, \"min\": 50, \"max\": 600, \"unit\": \"dpi\"},\n"
          "    \"pim\": {\"problem\": \"not \\\"offered\\\"\"}\n  }\n}\n");
}
