// The tone controls of the DLL: what each setter sends over the source's range, and each getter over what a
// source may answer. Gamma too, which has no range.
#include "CallRecord.h"

namespace {

struct Tone {
    const char* name;
    TW_UINT16 capability;
    decltype(Module::SetBrightness) Module::*set;
    decltype(Module::GetBrightness) Module::*get;
    const char* emptyScale = "! Bad range setting, minRange == maxRange, in @; ";
    const char* notBuilt = "! BuildupOneValue returns failure in @; ";
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

enum class Memory { Enough, NoBlocks, NoLocks };

void use(Stage& stage, Memory memory) {
    if (memory == Memory::NoBlocks) stage.windows.largestAllocation = sizeof(TW_ONEVALUE);
    if (memory == Memory::NoLocks) stage.windows.locksThatSucceed = 0;
}

Answer fix(double value) {
    return give(oneValue(TWTY_FIX32, fix32(value)));
}

const Answer no = failWith(TWCC_BADPROTOCOL), unsupported = failWith(TWCC_CAPUNSUPPORTED);
const Answer one = fix(500), text = give(oneValue(TWTY_STR32, 500));
const Answer list = give(enumeration(TWTY_FIX32, {fix32(0), fix32(500), fix32(-1000)}, 1));
const Answer range500 = give(fix32Range(0, 0, 0, 500)), anArray = give(array(TWTY_FIX32, {fix32(500)}));
const Answer noBlock = give(withoutHandle(TWON_ONEVALUE)),
             narrow = give(enumeration(TWTY_UINT8, {0, 200}, 1));

struct Reading {
    int state;
    Answer current, get;
    std::string record;
    short min = 0, max = 200;
    Memory memory = Memory::Enough;
};

const Reading readings[] = {
    {4, one, no, "GETCURRENT #; result 0; value 150"},
    {5, list, no, "GETCURRENT #; result 0; value 150"},
    {4, range500, no, "GETCURRENT #; result 0; value 150"},
    // Items of every type are taken for TW_FIX32.
    {4, give(oneValue(TWTY_INT16, 0xfe0c)), no, "GETCURRENT #; result 0; value 50"},
    {4, narrow, no, "GETCURRENT #; result 0; value 120"},
    {4, no, range500, "GETCURRENT #; STATUS; GET #; !refused; result 0; value 150"},
    {4, anArray, one, "GETCURRENT #; GET #; !container; result 0; value 150"},
    {4, noBlock, list, "GETCURRENT #; GET #; ! Invalid memory in ExtractOneValue; result 0; value 150"},
    {4, no, unsupported, "GETCURRENT #; STATUS; GET #; STATUS; !refused; !refused; result 13; value 100"},
    {4, no, anArray, "GETCURRENT #; STATUS; GET #; !refused; !container; result 10; value 100"},
    {4, anArray, unsupported, "GETCURRENT #; GET #; STATUS; !container; !refused; result 13; value 100"},
    {4, text, text, "GETCURRENT #; GET #; result 10; value 100"},
    {4, list, unsupported,
     "GETCURRENT #; GET #; STATUS; ! Lock memory error in ExtractEnumerationValue; !refused; result 13; "
     "value 100",
     0, 200, Memory::NoLocks},
    {4, one, no, "GETCURRENT #; result 0; value 25", 100, 0},
    {4, no, no, "GETCURRENT #; STATUS; GET #; STATUS; !refused; !refused; result 9; value -1", -3, 0},
    {4, one, no, "! Bad range setting, minRange == maxRange, in @; result 10; value 0", 5, 5},
    {2, one, no, "!sequence; value 777", 5, 5},
    {1, one, no, "!manager; value 777", 5, 5},
};

const Reading gammas[] = {
    {4, fix(1.5), no, "GETCURRENT #; result 0; value 1.5"},
    {5, give(oneValue(TWTY_FIX32, 0x4000fffe)), no, "GETCURRENT #; result 0; value -1.75"},
    {4, no, fix(1.5), "GETCURRENT #; STATUS; GET #; !refused; result 0; value 1.5"},
    {4, list, fix(1.5), "GETCURRENT #; GET #; !container; result 0; value 1.5"},
    {4, no, unsupported, "GETCURRENT #; STATUS; GET #; STATUS; !refused; !refused; result 13; value 2.2"},
    {4, list, range500, "GETCURRENT #; GET #; !container; !container; result 10; value 2.2"},
    {2, one, one, "!sequence; value 777"},
    {1, one, one, "!manager; value 777"},
};

// `get` gives the method's result for the row's scale.
template <class Value, class Get>
void checkReading(const Reading& row, const std::string& method, TW_UINT16 capability, Get get) {
    CAPTURE(row.record);
    StageIn stage(row.state);
    stage->manager.answer(operation::getCurrent(capability), row.current);
    stage->manager.answer(operation::get(capability), row.get);
    use(*stage, row.memory);
    const Lines record = recordOf(*stage, [&] {
        Value value = 777;
        const int result = get(stage->module, &value);
        return resultText(result, value);
    });
    CHECK(record == expectedRecord(row.record, method, capability));
}

}  // namespace

TEST_CASE("setting a tone: one value over the source's range, or nothing") {
    struct Row {
        int state;
        short value, min, max;
        std::string record;
        Answer answer = succeed();
        Memory memory = Memory::Enough;
    };
    for (const Tone& tone : tones) {
        const std::string refusal = "SET # one FIX32 500; STATUS; !refused; ", notBuilt = tone.notBuilt;
        const Row rows[] = {
            {4, 50, -100, 100, "SET # one FIX32 500; result 0"},
            // A TW_FIX32 below nought is one 65536th too high: its halves are made separately.
            {5, -50, -100, 100, "SET # one FIX32 -500+1/65536; result 0"},
            {4, 11, 0, 10, "SET # one FIX32 1200; result 0"},
            {4, 3, 4, 0, "SET # one FIX32 -500+1/65536; result 0"},
            {4, 9, 5, 5, tone.emptyScale + std::string("result 10")},
            {2, 9, 5, 5, "!sequence"},
            {1, 9, 5, 5, "!manager"},
            {4, 50, -100, 100, refusal + "result 16", failWith(TWCC_DENIED)},
            {4, 50, -100, 100, refusal + "result 0", returnCode(TWRC_CHECKSTATUS)},
            {4, 50, -100, 100, "! Memory alloc error in BuildupOneValue; " + notBuilt + "result 2", succeed(),
             Memory::NoBlocks},
            {4, 50, -100, 100, "! Lock memory error in BuildupOneValue; " + notBuilt + "result 2", succeed(),
             Memory::NoLocks},
        };
        for (const Row& row : rows) {
            CAPTURE(row.record);
            StageIn stage(row.state);
            stage->manager.answer(operation::set(tone.capability), row.answer);
            use(*stage, row.memory);
            const Lines record = recordOf(
                *stage, [&] { return resultText((stage->module.*tone.set)(row.value, row.min, row.max)); });
            CHECK(record == expectedRecord(row.record, std::string("Set") + tone.name, tone.capability));
        }
    }
}

TEST_CASE("each tone has the range that the source named for it") {
    Stage stage;
    for (const Tone& tone : tones) {
        const double top = 10.0 * (&tone - tones + 1);
        stage.manager.answer(operation::get(tone.capability), give(fix32Range(0, top, 5, 0)));
    }
    stage.open();
    for (const Tone& tone : tones) {
        const int top = 10 * static_cast<int>(&tone - tones + 1);
        CHECK((stage.module.*tone.set)(100, 0, 100) == 0);
        CHECK(stage.manager.takeCalls() == Lines{"SET " + operation::capabilityName(tone.capability) +
                                                 " one FIX32 " + std::to_string(top)});
        if (tone.get == nullptr) continue;
        stage.manager.answer(operation::getCurrent(tone.capability), fix(10));
        short value = 0;
        CHECK((stage.module.*tone.get)(&value, 0, 100) == 0);
        CHECK(value == 1000 / top);
        stage.manager.takeCalls();
    }
}

TEST_CASE("reading a tone, whatever the source answers") {
    for (const Tone& tone : tones) {
        if (tone.get == nullptr) continue;
        for (const Reading& row : readings) {
            const auto get = [&](Module& module, short* value) {
                return (module.*tone.get)(value, row.min, row.max);
            };
            checkReading<short>(row, std::string("Get") + tone.name, tone.capability, get);
        }
    }
}

TEST_CASE("gamma is read from one value only, and is 2.2 without") {
    const auto get = [](Module& module, double* value) { return module.GetGamma(value); };
    for (const Reading& row : gammas)
        checkReading<double>(row, "GetGamma", ICAP_GAMMA, get);
}

TEST_CASE("gamma goes through single precision into a TW_FIX32 of two separate halves") {
    Stage stage;
    stage.open();
    for (const double gamma : {1.8, -1.5, 16384.00001})
        CHECK(stage.module.SetGamma(gamma) == 0);
    const std::string start = "SET ICAP_GAMMA one FIX32 ";
    CHECK(stage.manager.calls() == Lines{start + "1+52429/65536", start + "-1+32769/65536", start + "16384"});
}

TEST_CASE("gamma that can't be sent") {
    for (const auto& [state, row] : {std::pair(2, "!sequence"), std::pair(1, "!manager")}) {
        StageIn stage(state);
        const Lines record = recordOf(*stage, [&] { return resultText(stage->module.SetGamma(1.0)); });
        CHECK(record == expectedRecord(row, "SetGamma"));
    }
}
