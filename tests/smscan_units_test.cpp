// The parts of smscan that need neither the module nor a source: the command line, names of files, placing of
// rows, texts.
#include <doctest.h>

#include <cstring>
#include <fstream>
#include <iterator>
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

// The bytes of the BMP file that these strips give, from the fields for the resolution on.
std::string bytesOf(const BmpFormat& bmp, PixelLayout layout, int height, const std::vector<Strip>& strips) {
    char folder[MAX_PATH];
    GetTempPathA(sizeof folder, folder);
    const std::string path = std::string(folder) + "smscan-units.bmp";
    StripWriter writer(path, bmp, height, layout);
    for (const Strip& strip : strips)
        writer.add(strip);
    CHECK(writer.complete() == (writer.rows() >= height && writer.plane() == writer.planes() - 1));
    writer.finish();
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    file.close();
    DeleteFileA(path.c_str());
    std::string text;
    for (size_t i = 38; i < bytes.size(); ++i)
        text += format("%02x", bytes[i] & 0xff);
    return text;
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

TEST_CASE("options are read in both spellings, with defaults for the rest; an area in any unit") {
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
    const struct {
        const char* text;
        double left, bottom;
    } areas[] = {{"10,10,100,200mm", 10 / 25.4, 200 / 25.4},
                 {"1in,1in,5.08cm,144pt", 1, 2},
                 {"36,36pt,5.08,10.16cm", 0.5, 4}};
    for (const auto& area : areas) {
        CHECK(parseArea(area.text).left == doctest::Approx(area.left));
        CHECK(parseArea(area.text).bottom == doctest::Approx(area.bottom));
    }
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
        {{"--area", "0,0,2,3ft"}, "--area takes LEFT,TOP,RIGHT,BOTTOM, each with in, cm, mm or pt behind it"},
        {{"--area", "0,0,0,1"}, "--area 0,0,0,1 is empty or begins outside the page"}};
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
    for (const char* area : {"1,2,3", "1,2,3,4,5", "a,0,1,1", "-1,0,1,1", ""})
        CHECK_THROWS_AS(parseArea(area), Failure);
    for (const char* pattern : {"%s.bmp", "p%", "p%3d", "%d-%d.bmp", "%012d", ""})
        CHECK_THROWS_AS(PageNames(pattern, false), Failure);
}

TEST_CASE("page names come from the pattern") {
    CHECK(PageNames("out/p%03d.bmp", true).pathOf(7) == "out/p007.bmp");
    CHECK(PageNames("50%%-%02d.bmp", true).pathOf(1) == "50%-01.bmp");
    CHECK(PageNames("a.b/one", true).pathOf(2) == "a.b/one-002");
    CHECK(unfinishedName("C:\\a.b\\page1") == "C:\\a.b\\page1.part");
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
        // A strip's numbers count only as far as its bytes and the page go; its last padding may be missing.
        {3, 8, Layout::Packed, 2, {{upper, 7, 4, 99, 9, 0, 0}}, "0405060001020300"},
        {4, 8, Layout::Packed, 2, {{upper, 8, 4, 3, 9, 2, 0}}, "0000040500000102"},
        {3, 8, Layout::Packed, 3, {{lower, 3, 0, 3, 1, 0, 0}, second}, "070809000000000000000000"},
        // Tiles of 5 and 3 pixels; the first one's other bits must not show.
        {8, 1, Layout::Packed, 1, {{left, 1, 1, 5, 1, 0, 0}, {right, 1, 1, 3, 1, 5, 0}}, "fd000000"},
        {1, 24, Layout::Color48, 1, {{deep, 6, 6, 1, 1, 0, 0}}, "a1a2a300"},
        {1, 24, Layout::Planar24, 1, {red, green, red}, "07080700"},
        {1, 24, Layout::Planar24, 1, {red, green}, "00080700"}};  // the third plane is missing
    for (const auto& row : rows)
        CHECK(bytesOf({row.width, row.bits, 0, 0, {}}, row.layout, row.height, row.strips).substr(32) ==
              row.pixels);
    CHECK_THROWS_AS(bytesOf({3, 8, 0, 0, {}}, Layout::Packed, 3, {{lower, 3, 3, 3, 1, 0, 1000}}), Failure);
    // 300 and 72 dots per inch are 11811 and 2835 per metre.
    CHECK(bytesOf({3, 8, 300, 72, {{1, 2, 3, 0}}}, Layout::Packed, 1, {{lower, 3, 3, 3, 1, 0, 0}})
              .substr(0, 40) == "232e0000130b0000010000000000000001020300");
}

TEST_CASE("capabilities are read within their block, whatever the source says") {
    const std::string none;
    const struct {
        uint16_t kind;
        std::string block, text;
    } rows[] = {{5, {"\4\0\7\1\0\0", 6}, "263 of 0..0"},
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
                {5, none, none}};
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

TEST_CASE("texts for the user, and JSON for programs") {
    CHECK(progressBar(2, 50, 200) == "page 2: [##########..............................]  25 %");
    CHECK(progressBar(1, 300, -1) == "page 1: 300 lines");
    CHECK(conditionWords(77) == "unknown failure (condition code 77)");
    const std::vector<std::string> modes{"bw", "gray"};
    CHECK(capsAsJson("S\"\x80", {{"mode", {{"current", "bw"}, {"choices", modes}}, "", ""},
                                 {"x", {{"min", 0.5}, {"max", 600.0}}, "", "dpi"},
                                 {"gamma", {}, "a \\ b", ""}}) == R"({
  "source": "S\"\u0080",
  "capabilities": {
    "mode": {"current": "bw", "choices": ["bw", "gray"]},
    "x": {"min": 0.5, "max": 600, "unit": "dpi"},
    "gamma": {"problem": "a \\ b"}
  }
}
)");
}
