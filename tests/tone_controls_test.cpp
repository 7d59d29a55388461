// The tone controls of the DLL: what each setter sends over the source's range, and each getter over what a
// source may answer. Gamma too, which has no range.
#include "CallRecord.h"

namespace {

struct Tone {
    std::string name;
    TW_UINT16 capability;
    decltype(Module::SetBrightness) Module::*set;
    decltype(Module::GetBrightness) Module::*get;
    std::string emptyScale = "! Bad range setting, minRange == maxRange, in @; ";
    std::string notBuilt = "! BuildupOneValue returns failure in @; ";
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

const Answer no = failWith(TWCC_CAPUNSUPPORTED);
const Answer one = fix(500), anArray = give(array(TWTY_FIX32, {fix32(500)}));
const Answer list = give(enumeration(TWTY_FIX32, {fix32(0), fix32(500), fix32(-1000)}, 1));
const Answer aRange = give(fix32Range(0, 0, 0, 500));

}  // namespace

TEST_CASE("setting a tone: one value over the source's range, or nothing") {
    struct Row {
        int state;
        short value, min, max;
        std::string record;
        Answer answer = succeed();
    };
    const std::string refusal = "SET # one FIX32 500; STATUS; !refused; ";
    for (const Tone& tone : tones) {
        const Row rows[] = {
            {4, 50, -100, 100, "SET # one FIX32 500; result 0"},
            // A TW_FIX32 below nought is one 65536th too high: its halves are made separately.
            {5, -50, -100, 100, "SET # one FIX32 -500+1/65536; result 0"},
            {4, 9, 5, 5, tone.emptyScale + "result 10"},
            {2, 9, 5, 5, "!sequence"},
            {1, 9, 5, 5, "!manager"},
            {4, 50, -100, 100, refusal + "result 16", failWith(TWCC_DENIED)},
            {4, 50, -100, 100, refusal + "result 0", returnCode(TWRC_CHECKSTATUS)},
        };
        const auto check = [&](Stage& stage, const Row& row) {
            const auto call = stage.module.*tone.set;
            const auto set = [&] { return resultText(call(row.value, row.min, row.max)); };
            checkCall(stage, row.record, "Set" + tone.name, set, tone.capability);
        };
        for (const Row& row : rows) {
            StageIn stage(row.state);
            stage->manager.answer(operation::set(tone.capability), row.answer);
            check(*stage, row);
        }
        // The range is this tone's own: the others have -1000 to 1000.
        Stage stage;
        stage.manager.answer(operation::get(tone.capability), give(fix32Range(0, 70, 5, 0)));
        stage.open();
        check(stage, {4, 100, 0, 100, "SET # one FIX32 70; result 0"});
        short value = tone.get == nullptr ? 10 : 777;
        stage.manager.answer(operation::getCurrent(tone.capability), fix(7));
        CHECK((tone.get == nullptr || (stage.module.*tone.get)(&value, 0, 100) == 0));
        CHECK(value == 10);
        stage.windows.largestAllocation = sizeof(TW_ONEVALUE);
        check(stage, {4, 0, 0, 1, "! Memory alloc error in BuildupOneValue; " + tone.notBuilt + "result 2"});
    }
}

TEST_CASE("reading a tone, whatever the source answers") {
    const std::string asked = "GETCURRENT #; ", refusedTwice = "GETCURRENT #; STATUS; GET #; STATUS; ";
    const struct {
        short min, max;
        Reading reading;
    } rows[] = {
        {100, 0, {4, one, no, asked + "result 0; value 25"}},
        {0, 200, {5, list, no, asked + "result 0; value 150"}},
        // Items of every type are taken for TW_FIX32.
        {0, 200, {4, give(oneValue(TWTY_INT16, 0xfe0c)), no, asked + "result 0; value 50"}},
        {0, 200, {4, no, aRange, asked + "STATUS; GET #; !refused; result 0; value 150"}},
        {0, 200, {4, anArray, no, asked + "GET #; STATUS; !container; !refused; result 13; value 100"}},
        {-3, 0, {4, no, no, refusedTwice + "!refused; !refused; result 13; value -1"}},
        {5, 5, {4, one, no, "! Bad range setting, minRange == maxRange, in @; result 10; value 0"}},
        {5, 5, {2, one, no, "!sequence; value 777"}},
        {5, 5, {1, one, no, "!manager; value 777"}},
    };
    for (const Tone& tone : tones) {
        if (tone.get == nullptr) continue;
        for (const auto& row : rows) {
            const auto read = [&](Module& module) {
                short value = 777;
                const int result = (module.*tone.get)(&value, row.min, row.max);
                return resultText(result, value);
            };
            checkReading(row.reading, read, "Get" + tone.name, tone.capability);
        }
    }
}

TEST_CASE("gamma is read from one value only, and is 2.2 without") {
    const Reading rows[] = {
        {4, fix(1.5), no, "GETCURRENT #; result 0; value 1.5"},
        {5, list, fix(-1.5), "GETCURRENT #; GET #; !container; result 0; value -1.5"},
        {4, no, aRange, "GETCURRENT #; STATUS; GET #; !refused; !container; result 10; value 2.2"},
        {2, one, one, "!sequence; value 777"},
        {1, one, one, "!manager; value 777"},
    };
    for (const Reading& row : rows)
        checkReading(row, reader(&Module::GetGamma), "GetGamma", ICAP_GAMMA);
}

TEST_CASE("gamma goes through single precision into a TW_FIX32 of two separate halves") {
    Stage stage;
    stage.open();
    for (const double gamma : {1.8, -1.5, 16384.00001})
        CHECK(stage.module.SetGamma(gamma) == 0);
    const std::string start = "SET ICAP_GAMMA one FIX32 ";
    CHECK(stage.manager.calls() == Lines{start + "1+52429/65536", start + "-1+32769/65536", start + "16384"});
}
