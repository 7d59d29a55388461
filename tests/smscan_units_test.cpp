// The parts of smscan that need neither the module nor a source: the command line, names of files, placing of
// rows, texts.
#include <doctest.h>

#include <cstring>
#include <fstream>
#include <string>

#include "common/Conditions.h"
#include "common/Failure.h"
#include "common/PageFiles.h"
#include "common/PageNames.h"
#include "common/RawCapability.h"
#include "common/Strips.h"
#include "common/Text.h"
#include "smscan/CapsTable.h"
#include "smscan/Options.h"
#include "smscan/ProgressText.h"

using namespace smscan;

namespace {

// The pixel bytes of the BMP file that these strips give.
std::string pixelsOf(int width, int bits, PixelLayout layout, int height, const std::vector<Strip>& strips) {
    char folder[MAX_PATH];
    GetTempPathA(sizeof folder, folder);
    const std::string path = std::string(folder) + "smscan-units.bmp";
    BmpFormat bmp;
    bmp.width = width;
    bmp.bits = bits;
    StripWriter writer(path, bmp, height, layout);
    for (const Strip& strip : strips)
        writer.add(strip);
    CHECK(writer.complete() == (writer.rows() >= height && writer.plane() == writer.planes() - 1));
    writer.finish();
    std::string text;
    std::ifstream file(path, std::ios::binary);
    for (char byte = 0; file.get(byte);)
        text += format("%02x", byte & 0xff);
    file.close();
    DeleteFileA(path.c_str());
    return text.substr(2 * 54);
}

// What the source answers to any question for a capability.
uint16_t answerKind;
std::string answerBlock;

int WINAPI answerCapability(unsigned short, void* capability) {
    const HGLOBAL container = answerBlock.empty() ? nullptr : GlobalAlloc(GPTR, answerBlock.size());
    if (container) answerBlock.copy(static_cast<char*>(container), answerBlock.size());
    std::memcpy(static_cast<char*>(capability) + 2, &answerKind, sizeof answerKind);
    std::memcpy(static_cast<char*>(capability) + 4, &container, sizeof container);
    return 0;
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
    CHECK(options.settings.at(0).value == 1);
    CHECK(parseOptions({}).pages == 1);
    CHECK_FALSE(parseOptions({}).pixelType);
}

TEST_CASE("what can't be meant is refused, with the range or the choices named") {
    const struct {
        std::vector<std::string> words;
        const char* text;
    } rows[] = {
        {{"--gamma", "nan"}, "--gamma takes a number from 0.1 to 10.0, not \"nan\"."},
        {{"--pages", "0"}, "--pages (or \"all\") takes a whole number from 1 to 32767, not \"0\"."},
        {{"--set", "pim"}, "--set pim lacks its value: NAME=VALUE."},
        {{"--json"}, "--json goes with --caps."},
        {{"--area", "0,0,1,1", "--paper", "a4"}, "--area and --paper exclude each other"},
    };
    for (const auto& row : rows) {
        std::string text;
        try {
            parseOptions(row.words);
        } catch (const Failure& failure) {
            CHECK(failure.code == ExitCode::Usage);
            text = failure.text;
        }
        CHECK(text.find(row.text) == 0);
    }
}

TEST_CASE("an area takes units per number, or from the next number that has one") {
    const struct {
        const char* text;
        double left, bottom;
    } rows[] = {{"10,10,100,200mm", 10 / 25.4, 200 / 25.4},
                {"1in,1in,5.08cm,144pt", 1, 2},
                {"36,36pt,5.08,10.16cm", 0.5, 4}};
    for (const auto& row : rows) {
        CHECK(parseArea(row.text).left == doctest::Approx(row.left));
        CHECK(parseArea(row.text).bottom == doctest::Approx(row.bottom));
    }
    for (const char* text : {"1,2,3", "1,2,3,4,5", "0,0,2,3ft", "a,0,1,1", "0,0,0,1", "-1,0,1,1", ""})
        CHECK_THROWS_AS(parseArea(text), Failure);
}

TEST_CASE("page names come from the pattern") {
    CHECK(PageNames("out/p%03d.bmp", true).pathOf(7) == "out/p007.bmp");
    CHECK(PageNames("50%%-%02d.bmp", true).pathOf(1) == "50%-01.bmp");
    CHECK(PageNames("a.b/one", true).pathOf(2) == "a.b/one-002");
    CHECK(unfinishedName("C:\\a.b\\page1") == "C:\\a.b\\page1.part");
    for (const char* pattern : {"%s.bmp", "p%", "p%3d", "%d-%d.bmp", "%012d", ""})
        CHECK_THROWS_AS(PageNames(pattern, false), Failure);
}

TEST_CASE("rows are stored bottom-up and padded, in any order, their pixels placed by their layout") {
    using Layout = PixelLayout;
    const uint8_t upper[] = {1, 2, 3, 99, 4, 5, 6, 99}, lower[] = {7, 8, 9};
    const uint8_t deep[] = {0x01, 0xa1, 0x02, 0xa2, 0x03, 0xa3}, left[] = {0xff}, right[] = {0xa0};
    const Strip first{upper, 8, 4, 3, 2, 0, 0}, second{lower, 3, 3, 3, 1, 0, 2};
    const Strip red{lower, 1, 1, 1, 1, 0, 0}, green{lower + 1, 1, 1, 1, 1, 0, 0};
    const struct {
        int width, bits;
        PixelLayout layout;
        int height;
        std::vector<Strip> strips;
        const char* pixels;
    } rows[] = {
        {3, 8, Layout::Packed, 3, {second, first}, "070809000405060001020300"},
        {3, 8, Layout::Packed, -1, {first, second}, "010203000405060007080900"},  // unknown: top-down
        {3, 8, Layout::Packed, 3, {first}, "0405060001020300"},                   // it ends early
        {3, 8, Layout::Packed, 1, {first, second}, "070809000405060001020300"},   // or goes on
        // A strip's numbers count only as far as its bytes and the page go.
        {3, 8, Layout::Packed, 2, {{upper, 8, 4, 99, 2, 0, 0}}, "0405060001020300"},
        {4, 8, Layout::Packed, 2, {{upper, 8, 4, 3, 9, 2, 0}}, "0000040500000102"},
        {3, 8, Layout::Packed, 3, {{lower, 3, 0, 3, 1, 0, 0}, second}, "070809000000000000000000"},
        // Tiles of 5 and 3 pixels; the first one's other bits must not show.
        {8, 1, Layout::Packed, 1, {{left, 1, 1, 5, 1, 0, 0}, {right, 1, 1, 3, 1, 5, 0}}, "fd000000"},
        {2, 8, Layout::Gray16, 1, {{deep, 4, 4, 2, 1, 0, 0}}, "a1a20000"},
        {1, 24, Layout::Color48, 1, {{deep, 6, 6, 1, 1, 0, 0}}, "a1a2a300"},
        {1, 24, Layout::Planar24, 1, {red, green, red}, "07080700"},
        {1, 24, Layout::Planar24, 1, {red, green}, "00080700"},  // the third plane is missing
    };
    for (const auto& row : rows)
        CHECK(pixelsOf(row.width, row.bits, row.layout, row.height, row.strips) == row.pixels);
    CHECK_THROWS_AS(pixelsOf(3, 8, Layout::Packed, 3, {{lower, 3, 3, 3, 1, 0, 1000}}), Failure);
}

TEST_CASE("capabilities are read within their block, whatever the source says") {
    const std::string none;
    const struct {
        uint16_t kind;
        std::string block;
        std::string text;
    } rows[] = {
        {5, {"\4\0\7\1\0\0", 6}, "263 of 0..0"},
        {5, {"\1\0\xFD\xFF\0\0", 6}, "-3 of 0..0"},
        {5, {"\7\0\xFE\xFF\0\x80", 6}, "-1.5 of 0..0"},
        {5, {"\4\0\7\1", 4}, none},
        {5, {"\xFF\0\7\1\0\0", 6}, none},
        {4, {"\4\0\3\0\0\0\2\0\0\0\0\0\0\0\5\0\6\0\7\0", 20}, "7 of 0..0 5 6 7"},
        {4, {"\4\0\3\0\0\0\3\0\0\0\0\0\0\0\5\0\6\0\7\0", 20}, none},  // no fourth item
        {4, {"\4\0\3\0\0\xFF\2\0\0\0\0\0\0\0\5\0\6\0\7\0", 20}, none},
        {6, {"\1\0\x9C\xFF\0\0\x64\0\0\0\1\0\0\0\0\0\0\0\x32\0\0\0", 22}, "50 of -100..100"},
        {6, {"\1\0\x9C\xFF\0\0\x64\0\0\0\1\0\0\0\0\0\0\0\x32\0", 20}, none},
        {3, {"\4\0\1\0\0\0\7\0", 8}, none},  // an array
        {5, none, none},
    };
    for (const auto& row : rows) {
        answerKind = row.kind;
        answerBlock = row.block;
        const auto read = askCapability(answerCapability, ICAP_THRESHOLD);
        std::string text = read ? format("%g of %g..%g", read->current, read->lowest, read->highest) : none;
        for (size_t i = 0; read && i < read->choices.size(); ++i)
            text += format(" %g", read->choices[i]);
        CHECK(text == row.text);
    }
    CHECK(valueOnScale({50, {}, -100, 100}, 0, 255) == 191);
    CHECK(!valueOnScale({50, {}, 0, 0}, 0, 255));
}

TEST_CASE("texts for the user") {
    CHECK(progressBar(2, 50, 200) == "page 2: [##########..............................]  25 %");
    CHECK(progressBar(1, 300, -1) == "page 1: 300 lines");
    CHECK(capsAsJson("S\x80", {}).find("\"S\\u0080\"") != std::string::npos);
    CHECK(conditionWords(77) == "unknown failure (condition code 77)");
}
