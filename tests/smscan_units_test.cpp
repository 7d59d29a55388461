// The parts of smscan that need neither the module nor a source: the command line, names of files, what
// counts of a strip and of a container, texts.
#include <doctest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>

#include "common/Conditions.h"
#include "common/Failure.h"
#include "common/Json.h"
#include "common/OutputValues.h"
#include "common/PageFiles.h"
#include "common/PageNames.h"
#include "common/RawCapability.h"
#include "common/SettingReport.h"
#include "common/SourceChoice.h"
#include "common/Strips.h"
#include "common/Text.h"
#include "common/ValueTexts.h"
#include "smscan/Help.h"
#include "smscan/OptionTable.h"
#include "smscan/Options.h"
#include "smscan/ProgressText.h"
#include "support/ContainerImage.h"

using namespace smscan;

namespace {

// What the source answers to any question for a capability.
ContainerImage answer;

int WINAPI answerCapability(unsigned short, void* capability) {
    auto& request = *static_cast<TW_CAPABILITY*>(capability);
    request.ConType = answer.conType;
    request.hContainer = answer.allocate();
    return 0;
}

ContainerImage cut(ContainerImage container) {
    container.bytes.pop_back();
    return container;
}

}  // namespace

TEST_CASE("options are read in all spellings, with defaults for the rest") {
    const Options options = parseOptions({"--mode=COLOR", "-r150", "-qn", "All", "--set", "unsharp-mask=On",
                                          "--brightness", "-100", "--mech", "block", "--source-type", "ADF",
                                          "-d", "-x", "--depth=24", "--scale", "50%"});
    CHECK(options.pixelType == 4);
    CHECK(options.resolution == 150);
    CHECK(options.quiet);
    CHECK(options.pages == allPages);
    CHECK(options.brightness == -100);
    CHECK(options.mechanism == Mechanism::Block);
    CHECK(options.switches.at(0).value == 1);
    CHECK(options.feeder == true);
    CHECK(options.source == "-x");
    CHECK(options.bitDepth == 24);
    CHECK(options.scale == 0.5);
    CHECK(parseOptions({"--set", "feeder=off", "-h", "--nonsense"}).feeder == false);
    CHECK(parseOptions({}).pages == 1);
    CHECK_FALSE(parseOptions({}).pixelType);
}

TEST_CASE("an area by its edges or by its size, in any unit") {
    const struct {
        const char* text;
        double left, top, right, bottom;
    } areas[] = {{"10,10,100,200mm", 10 / 25.4, 10 / 25.4, 100 / 25.4, 200 / 25.4},
                 {"1in,1IN,5.08cm,144pt", 1, 1, 2, 2},
                 {"36,36pt,5.08,10.16cm", 0.5, 0.5, 2, 4},
                 {"2X3", 0, 0, 2, 3},
                 {"25.4x50.8mm+25.4+0", 1, 0, 2, 2},
                 {".5in x", -1, 0, 0, 0},
                 {"0x1", -1, 0, 0, 0},
                 {"1x1-1+1", -1, 0, 0, 0},
                 {"1,2,3", -1, 0, 0, 0},
                 {"1,2,3,4,5", -1, 0, 0, 0},
                 {"1,1,1,1", -1, 0, 0, 0},
                 {"-1,0,1,1", -1, 0, 0, 0}};
    for (const auto& row : areas) {
        CAPTURE(row.text);
        if (row.left < 0) {
            CHECK_THROWS_AS(parseArea("--area", row.text), Failure);
            continue;
        }
        const Area area = parseArea("--area", row.text);
        CHECK(area.left == doctest::Approx(row.left));
        CHECK(area.top == doctest::Approx(row.top));
        CHECK(area.right == doctest::Approx(row.right));
        CHECK(area.bottom == doctest::Approx(row.bottom));
    }
}

TEST_CASE("what can't be meant is refused, with the range, the choices or the option that may be meant") {
    const struct {
        std::vector<std::string> words;
        const char* text;
    } rows[] = {
        {{"--resolutoin", "300"}, "Unknown option \"--resolutoin\". Did you mean --resolution?"},
        {{"--res=300"}, "Unknown option \"--res=300\". Did you mean --resolution?"},
        {{"-mode", "gray"}, "Unknown option \"-mode\". Did you mean --mode?"},
        {{"-qx"}, "Unknown option \"-qx\".\n"},
        {{"--nonsense"}, "Unknown option \"--nonsense\".\n"},
        {{"page.bmp"}, "\"page.bmp\" is no option, and smscan takes nothing else."},
        {{"--resolution"}, "--resolution lacks its value: --resolution DPI."},
        {{"--resolution", "--mode", "gray"}, "--resolution lacks its value"},
        {{"-r", "-q"}, "--resolution lacks its value"},
        {{"--resolution="}, "--resolution lacks its value"},
        {{"--list=all"}, "--list takes no value."},
        {{"--resolution", "300dpi"}, "--resolution takes a whole number from 1 to 32767, not \"300dpi\"."},
        {{"--mode", "grey"}, "--mode takes one of bw, gray, color, palette, not \"grey\"."},
        {{"--source-type", "glass"}, "--source-type takes one of flatbed, adf, feeder, not \"glass\"."},
        {{"--scale", "0"}, "--scale takes a number from 0.01 to 100, not \"0\"."},
        {{"--gamma", "nan"}, "--gamma takes a number from 0.1 to 10, not \"nan\"."},
        {{"--pages", "0"}, "--pages takes all, or a whole number from 1 to 32767, not \"0\"."},
        {{"--set", "pim"}, "--set pim lacks its value: NAME=VALUE."},
        {{"--set", "pim=2"}, "--set pim takes on or off (1 or 0), not \"2\"."},
        {{"--set", "pin=on"}, "--set knows no \"pin\"; there are unsharp-mask, "},
        {{"--area", "0,0,1,1", "--paper", "a4"}, "--area and --paper exclude each other"},
        {{"--presto", "--flatbed"}, "--presto takes --mode, "},
        {{"--area", "0,0,2,3ft"}, "--area takes LEFT,TOP,RIGHT,BOTTOM or WIDTHxHEIGHT+LEFT+TOP, with in, "},
        {{"--size", "0,0,2,3"}, "--size takes WIDTHxHEIGHT"},
        {{"--area", "0,0,0,1"}, "--area 0,0,0,1 is empty"}};
    for (const auto& row : rows) {
        std::string text;
        try {
            parseOptions(row.words);
        } catch (const Failure& failure) {
            CHECK(failure.code == ExitCode::Usage);
            text = failure.text;
        }
        CAPTURE(text);
        CHECK(text.find(row.text) == 0);
    }
    for (const char* pattern : {"%s.bmp", "p%", "p%3d", "%d-%d.bmp", "%012d", ""})
        CHECK_THROWS_AS(PageNames(pattern, false), Failure);
}

TEST_CASE(
    "every option can be used as help, manual page and completion tell, and these are the installed ones") {
    for (const Option& option : optionTable()) {
        CAPTURE(option.name);
        std::istringstream words(option.words);
        for (std::string word; words >> word;)
            CHECK_NOTHROW(parseOptions({"--record", "a.rec", std::string("--") + option.name, word}));
        const auto isKnown = [&] {
            Options request;
            try {
                return setRequestValue(request, option.name, "") ||
                       setOutputValue(request.output, option.name, "");
            } catch (const Failure&) {
                return true;  // but not with this value
            }
        };
        CHECK((option.apply || isKnown()));
    }
    const auto fileText = [](const char* name) {
        std::ifstream file(std::string(SOURCE_DIR "/") + name);
        return std::string(std::istreambuf_iterator<char>(file), {});
    };
    CHECK(fileText("docs/man/smscan.1") == manPage());
    CHECK(fileText("tools/smscan/smscan.bash") == bashCompletion());
}

TEST_CASE("a source is meant by its number or by a part of its name that no other has") {
    const std::vector<std::string> names{"KAVRO One", "KAVRO Two 7", "Other"};
    const struct {
        const char *text, *found;
    } rows[] = {{"1", "KAVRO One"}, {"7", "KAVRO Two 7"}, {"oth", "Other"}, {"TWO", "KAVRO Two 7"}, {"0", ""},
                {"4", ""},          {"kavro", ""},        {"three", ""}};
    for (const auto& row : rows) {
        CAPTURE(row.text);
        if (*row.found)
            CHECK(findSource(names, row.text) == row.found);
        else
            CHECK_THROWS_AS(findSource(names, row.text), Failure);
    }
}

TEST_CASE("a value that isn't in the source's list is refused with the list") {
    answer = enumeration(TWTY_FIX32, {fix32(75), fix32(150), fix32(300)}, 1);
    const std::vector<double> choices = choicesOf(answerCapability, ICAP_XRESOLUTION);
    CHECK_NOTHROW(requireOffered("X resolution ", 150, choices, " dpi"));
    CHECK_NOTHROW(requireOffered("X resolution ", 200, {}));
    const struct {
        std::function<void()> ask;
        ExitCode code;
        const char* text;
    } rows[] = {{[&] { requireOffered("X resolution ", 200, choices, " dpi"); }, ExitCode::Usage,
                 "The source doesn't offer X resolution 200 dpi, but 75, 150, 300. smscan --caps"},
                {[] { requireSet("--gamma 2", SM_CONDITION_BAD_VALUE); }, ExitCode::Usage,
                 "The source refuses --gamma 2: value out of range (condition code 10). smscan --caps"},
                {[] { requireSet("--gamma 2", SM_CONDITION_DENIED); }, ExitCode::SourceError,
                 "The source refuses --gamma 2: denied"}};
    for (const auto& row : rows) {
        Failure failure{ExitCode::Cancelled, "not refused"};
        try {
            row.ask();
        } catch (const Failure& thrown) {
            failure = thrown;
        }
        CHECK(failure.code == row.code);
        CHECK(failure.text.find(row.text) == 0);
    }
}

TEST_CASE("page names come from the pattern") {
    CHECK(PageNames("out/p%03d.bmp", true).pathOf(7) == "out/p007.bmp");
    CHECK(PageNames("50%%-%02d.bmp", true).pathOf(1) == "50%-01.bmp");
    CHECK(PageNames("a.b/one", true).pathOf(2) == "a.b/one-002");
    CHECK(unfinishedName("C:\\a.b\\page1") == "C:\\a.b\\page1.part");
}

TEST_CASE("a strip's numbers count only as far as its bytes and the page go") {
    const struct {
        Strip strip;
        int bits;
        const char* counts;  // on a page 5 pixels wide; a last row may lack its padding, but no pixel
    } rows[] = {{{nullptr, 8, 4, 3, 2, 0, 0}, 8, "3 x 2"},  {{nullptr, 7, 4, 3, 2, 0, 0}, 8, "3 x 2"},
                {{nullptr, 6, 4, 3, 2, 0, 0}, 8, "3 x 1"},  {{nullptr, 8, 4, 99, 9, 0, 0}, 8, "4 x 2"},
                {{nullptr, 8, 8, 99, 9, 0, 0}, 8, "5 x 1"}, {{nullptr, 8, 4, 3, 9, 3, 0}, 8, "2 x 2"},
                {{nullptr, 8, 4, 3, 2, 6, 0}, 8, "0 x 0"},  {{nullptr, 8, 0, 3, 2, 0, 0}, 8, "0 x 0"},
                {{nullptr, 2, 1, 9, 2, 0, 0}, 1, "5 x 2"},  {{nullptr, 8, 4, 9, 2, 0, 0}, 24, "1 x 2"}};
    for (const auto& row : rows) {
        const Strip strip = trimmed(row.strip, row.bits, 5);
        CHECK(format("%u x %u", strip.columns, strip.rows) == row.counts);
    }
    // A strip that begins within a byte: its pixels and no others.
    uint8_t row[] = {0xfa, 0xff};
    const uint8_t pixels[] = {0xbf, 0x80};
    placePixels(row, 1, 5, pixels, 9, PixelLayout::Packed, 0);
    CHECK(format("%x %x", row[0], row[1]) == "fd ff");
}

TEST_CASE("a page in planes is complete with its third plane; rows far outside a page are refused") {
    const std::string path = (std::filesystem::temp_directory_path() / "smscan-units.bmp").string();
    StripWriter writer(path, {1, 24, 0, 0, {}}, 1, PixelLayout::Planar24);
    const uint8_t pixel = 1;
    for (const bool isLast : {false, false, true}) {
        writer.add({&pixel, 1, 1, 1, 1, 0, 0});
        CHECK(writer.complete() == isLast);
    }
    CHECK_THROWS_AS(writer.add({&pixel, 1, 1, 1, 1, 0, 9}), Failure);
    writer.finish();
    DeleteFileA(path.c_str());
}

TEST_CASE("capabilities are read within their block, whatever the source says") {
    const ContainerImage list = enumeration(TWTY_UINT16, {5, 6, 7}, 2);
    const ContainerImage span = range(TWTY_INT16, {0xFF9C, 100, 1, 0, 50});
    const std::string none;
    const struct {
        ContainerImage container;
        std::string text;
    } rows[] = {{oneValue(TWTY_UINT16, 263), "263 of 0..0"},
                {oneValue(TWTY_INT16, 0xFFFD), "-3 of 0..0"},
                {oneValue(TWTY_FIX32, fix32(-1.5)), "-1.5 of 0..0"},
                {cut(oneValue(TWTY_UINT16, 263)), none},
                {oneValue(255, 263), none},
                {list, "7 of 0..0 5 6 7"},
                {enumeration(TWTY_UINT16, {5, 6, 7}, 3), none},
                {cut(list), none},
                {span, "50 of -100..100"},
                {cut(span), none},
                {array(TWTY_UINT16, {7}), none},
                {withoutHandle(TWON_ONEVALUE), none}};
    for (const auto& row : rows) {
        answer = row.container;
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
    const Json caps = capsJson("S\"\u00fc", {{"mode", {{"current", "bw"}, {"choices", modes}}, "", ""},
                                             {"depth", {{"choices", std::vector<double>{1, 2}}}, "", ""},
                                             {"feeder", {{"current", true}}, "", ""},
                                             {"x", {{"min", 0.5}, {"max", 600.0}}, "", "dpi"},
                                             {"gamma", {}, "a \\ b", ""}});
    CHECK(jsonLine(caps) ==
          "{\"source\":\"S\\\"\xC3\xBC\",\"capabilities\":{"
          R"("mode":{"current":"bw","choices":["bw","gray"]},)"
          R"("depth":{"choices":[1,2]},"feeder":{"current":true},)"
          R"("x":{"min":0.5,"max":600,"unit":"dpi"},"gamma":{"problem":"a \\ b"}}})");
}
