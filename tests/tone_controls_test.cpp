// The tone controls of the DLL: the range that a source gives when it is opened, what each setter sends over
// it, and each getter over what a source may answer. Gamma too, which has no range.
#include <algorithm>

#include "CallRecord.h"

namespace {

struct Tone {
    std::string name;
    TW_UINT16 capability;
    decltype(Module::SetBrightness) Module::*set;
    decltype(Module::GetBrightness) Module::*get;
    std::string emptyScale = "! Bad range setting, minRange == maxRange, in @; ";
    std::string notBuilt = "! BuildupOneValue returns failure in @; ";

    void checkSet(Stage& stage, short value, short min, short max, const std::string& record) const {
        const auto call = [&] { return resultText((stage.module.*set)(value, min, max)); };
        checkCall(stage, record, "Set" + name, call, capability);
    }
};

const Tone tones[] = {
    {"Brightness", ICAP_BRIGHTNESS, &Module::SetBrightness, &Module::GetBrightness},
    {"Contrast", ICAP_CONTRAST, &Module::SetContrast, &Module::GetContrast,
     "! Bas range setting, minRange == maxRange, in @; "},
    {"Highlight", ICAP_HIGHLIGHT, &Module::SetHighlight, &Module::GetHighlight},
    {"Shadow", ICAP_SHADOW, &Module::SetShadow, &Module::GetShadow, tones[0].emptyScale,
     "! BuildupOneValue return failure in @; "},
    {"Threshold", ICAP_THRESHOLD, &Module::SetThreshold, nullptr},
};

Answer fix(double value) {
    return give(oneValue(TWTY_FIX32, fix32(value)));
}

const Answer no = failWith(TWCC_CAPUNSUPPORTED), check = returnCode(TWRC_CHECKSTATUS);
const Answer one = fix(500), anArray = give(array(TWTY_FIX32, {fix32(500)}));
const Answer list = give(enumeration(TWTY_FIX32, {fix32(0), fix32(500), fix32(-1000)}, 1));
const Answer aRange = give(fix32Range(0, 0, 0, 500));

// What opening asks for one tone, and what it warns of.
Lines rangeQuery(const Tone& tone) {
    const std::string name = " " + operation::capabilityName(tone.capability);
    const auto isFirst = [&](const std::string& line) { return line == "GET" + name; };
    const auto isOther = [&](const std::string& line) {
        return line.find("ICAP_") != std::string::npos && line.find(name) == std::string::npos;
    };
    const auto begin = std::find_if(journal.begin(), journal.end(), isFirst);
    return Lines(begin, std::find_if(begin, journal.end(), isOther));
}

}  // namespace

TEST_CASE("setting a tone: one value over the source's range, or nothing") {
    struct Row {
        int state;
        short value, min, max;
        std::string record;
        Answer answer = succeed();
    };
    const std::string refusal = "SET # one FIX32 500; !refused; ";
    const Row rows[] = {
        {4, 50, -100, 100, "SET # one FIX32 500; result 0"},
        // A TW_FIX32 below nought is one 65536th too high: its halves are made separately.
        {5, -50, -100, 100, "SET # one FIX32 -500+1/65536; result 0"},
        {4, 9, 5, 5, "?result 10"},
        {2, 9, 5, 5, "!sequence"},
        {1, 9, 5, 5, "!manager"},
        {4, 50, -100, 100, refusal + "result 16", failWith(TWCC_DENIED)},
        {4, 50, -100, 100, refusal + "result 0", check},
    };
    Stages stages;
    for (const Row& row : rows) {
        for (const Tone& tone : tones) {
            Stage& stage = stages.in(row.state);
            stage.manager.answer(operation::set(tone.capability), row.answer);
            tone.checkSet(stage, row.value, row.min, row.max, filled(row.record, '?', tone.emptyScale));
        }
    }
    Stage& stage = stages.in(4);
    stage.windows.largestAllocation = sizeof(TW_ONEVALUE);
    for (const Tone& tone : tones)
        tone.checkSet(stage, 0, 0, 1,
                      "! Memory alloc error in BuildupOneValue; " + tone.notBuilt + "result 2");
}

TEST_CASE("the source's tone ranges, asked anew for each source") {
    const struct {
        Answer get, getCurrent;
        std::string asked;  // '?' stands for the tone
        std::string sent;   // for the ends and the third of a scale: minimum, step and maximum
    } rows[] = {
        {give(fix32Range(-100, 200, 1, 0)), no, "", "-100+1/65536 0 200"},
        {give(range(TWTY_INT32, {fix32(0), fix32(30), fix32(1), 0, 0})), no, "", "0 10 30"},
        {give(fix32Range(0, 100, 20, 0)), no, "", "0 40 100"},
        // The step is forgotten with the source that gave it.
        {give(enumeration(TWTY_FIX32, {fix32(50), fix32(-50), fix32(101)})), no, "", "-50+1/65536 0 101"},
        {one, no, "", "-1000+1/65536 -333+1/65536 1000"},
        {no, give(fix32Range(-3, 3, 1, 0)), "; !refused; GETCURRENT #", "-3+1/65536 -1+1/65536 3"},
        {check, give(fix32Range(0, 9, 9, 0)), "; !refused; GETCURRENT #", "0 0 9"},
        {anArray, give(fix32Range(0, 3, 1, 0)), "; !container; GETCURRENT #", "0 1 3"},
        {anArray, anArray, "; !container; GETCURRENT #; !container", "-1000+1/65536 -333+1/65536 1000"},
        {no, no, "; !refused; GETCURRENT #; !refused", "-1000+1/65536 -333+1/65536 1000"},
        {give(fix32Range(0, 3, 0, 0)), no, "; ! ?StepSize == 0 in @", "0 1 3"},
        {give(fix32Range(5, 5, 1, 5)), no, "; ! MinDS?Range == MaxDS?Range in @",
         "-1000+1/65536 -333+1/65536 1000"},
        {give(fix32Range(5, 5, 0, 5)), no, "; ! MinDS?Range == MaxDS?Range in @; ! ?StepSize == 0 in @",
         "-1000+1/65536 -333+1/65536 1000"},
        {give(enumeration(TWTY_FIX32, {fix32(4)})), no, "; ! MinDS?Range == MaxDS?Range in @",
         "-1000+1/65536 -333+1/65536 1000"},
    };
    Stage stage;
    for (const auto& row : rows) {
        for (const Tone& tone : tones) {
            stage.manager.forgetAnswers();
            stage.manager.answer(operation::get(tone.capability), row.get);
            stage.manager.answer(operation::getCurrent(tone.capability), row.getCurrent);
            stage.forget();
            CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == 0);
            const Lines expected = expectedRecord(filled("GET #" + row.asked, '?', tone.name),
                                                  "GetDS" + tone.name + "Range", tone.capability);
            CHECK(Lines{expected.front()} + rangeQuery(tone) + expected.last(1) == expected);
            CHECK(stage.windows.memoryComplaints() == Lines{});
            std::istringstream numbers(row.sent);
            std::string sent;
            for (const short value : {0, 1, 3}) {
                numbers >> sent;
                tone.checkSet(stage, value, 0, 3, "SET # one FIX32 " + sent + "; result 0");
            }
            // The getter goes by this tone's own range, too.
            short value = tone.get == nullptr ? 3 : 777;
            stage.manager.answer(operation::getCurrent(tone.capability), fix(std::stod(sent)));
            if (tone.get != nullptr) (stage.module.*tone.get)(&value, 0, 3);
            CHECK(value == 3);
            CHECK(stage.module.CloseDS() == 0);
        }
    }
}

TEST_CASE("reading a tone, whatever the source answers") {
    const struct {
        short min, max;
        Reading reading;
    } rows[] = {
        {100, 0, {4, one, no, "GETCURRENT #; result 0; value 25"}},
        // Items of every type are taken for TW_FIX32.
        {0, 200, {4, give(oneValue(TWTY_INT16, 0xfe0c)), no, "GETCURRENT #; result 0; value 50"}},
        {0, 200, {4, check, aRange, "GETCURRENT #; !refused; GET #; result 0; value 150"}},
        {0, 200, {4, anArray, no, "GETCURRENT #; !container; GET #; !refused; result 13; value 100"}},
        {-3, 0, {4, no, no, "GETCURRENT #; !refused; GET #; !refused; result 13; value -1"}},
        {5, 5, {4, one, no, "! Bad range setting, minRange == maxRange, in @; result 10; value 0"}},
        {0, 200, {5, list, no, "GETCURRENT #; result 0; value 150"}},
        {5, 5, {2, one, no, "!sequence; value 777"}},
        {5, 5, {1, one, no, "!manager; value 777"}},
    };
    Stages stages;
    for (const auto& row : rows) {
        for (const Tone& tone : tones) {
            if (tone.get == nullptr) continue;
            const auto read = [&](Module& module) {
                short value = 777;
                const int result = (module.*tone.get)(&value, row.min, row.max);
                return resultText(result, value);
            };
            const Reading& reading = row.reading;
            checkReading(stages.in(reading.state), reading, read, "Get" + tone.name, tone.capability);
        }
    }
}

TEST_CASE("gamma is read from one value only, and is 2.2 without") {
    const Reading rows[] = {
        {4, fix(1.5), no, "GETCURRENT #; result 0; value 1.5"},
        {4, no, aRange, "GETCURRENT #; !refused; GET #; !container; result 10; value 2.2"},
        {5, list, fix(-1.5), "GETCURRENT #; !container; GET #; result 0; value -1.5"},
        {2, one, one, "!sequence; value 777"},
        {1, one, one, "!manager; value 777"},
    };
    checkReadings(rows, reader(&Module::GetGamma), "GetGamma", ICAP_GAMMA);
}
