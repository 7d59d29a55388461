// The tone controls of the DLL: what each setter sends over the source's range, and each getter over what a
// source may answer.
#include <doctest.h>

#include <cstdio>

#include "CallRecord.h"

namespace {

struct Tone {
    const char* name;
    TW_UINT16 capability;
    decltype(Module::SetBrightness) Module::*set;
    decltype(Module::GetBrightness) Module::*get;
    const char* emptyScaleOfSetter = "! Bad range setting, minRange == maxRange, in @";
    const char* buildFailure = "! BuildupOneValue returns failure in @";

    CallRecord setter() const { return {std::string("Set") + name, capability}; }
    CallRecord getter() const { return {std::string("Get") + name, capability}; }
};

const Tone tones[] = {
    {"Brightness", ICAP_BRIGHTNESS, &Module::SetBrightness, &Module::GetBrightness},
    {"Contrast", ICAP_CONTRAST, &Module::SetContrast, &Module::GetContrast,
     "! Bas range setting, minRange == maxRange, in @"},
    {"Highlight", ICAP_HIGHLIGHT, &Module::SetHighlight, &Module::GetHighlight},
    {"Shadow", ICAP_SHADOW, &Module::SetShadow, &Module::GetShadow,
     "! Bad range setting, minRange == maxRange, in @", "! BuildupOneValue return failure in @"},
    {"Threshold", ICAP_THRESHOLD, &Module::SetThreshold, nullptr},
};

using Preparation = std::function<void(Stage&)>;

Preparation refusing(const Tone& tone, Answer answer) {
    return [&tone, answer](Stage& stage) { stage.manager.answer(operation::set(tone.capability), answer); };
}
void withoutMemory(Stage& stage) {
    stage.windows.largestAllocation = sizeof(TW_ONEVALUE);
}
void withoutLocks(Stage& stage) {
    stage.windows.locksThatSucceed = 0;
}
void asItIs(Stage&) {}

std::string numberLine(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "value %.10g", value);
    return text;
}

// A list that claims more items than its block holds.
ContainerImage overlongList() {
    ContainerImage list = enumeration(TWTY_FIX32, {fix32(500), fix32(500)});
    list.bytes[2] = 100;
    return list;
}

}  // namespace

TEST_CASE("setting a tone: one value over the source's range, or nothing") {
    struct Row {
        const char* name;
        Session session;
        Preparation prepare;
        short value, min, max;
        Lines record;
    };
    for (const Tone& tone : tones) {
        CAPTURE(std::string(tone.name));
        const Lines emptyScale = {tone.emptyScaleOfSetter, "result 10"};
        const Lines refusal = {"SET # one FIX32 500", "STATUS", "! CapNegotiate returns failure in @"};
        // A TW_FIX32 below nought is one 65536th too high: its halves are made separately.
        const Row rows[] = {
            {"positive", Session::Open, asItIs, 50, -100, 100, {"SET # one FIX32 500", "result 0"}},
            {"negative", Session::Open, asItIs, -50, -100, 100, {"SET # one FIX32 -500+1/65536", "result 0"}},
            {"outside the scale", Session::Open, asItIs, 11, 0, 10, {"SET # one FIX32 1200", "result 0"}},
            {"a scale that runs down", Session::Open, asItIs, 3, 4, 0,
             Lines{"SET # one FIX32 -500+1/65536", "result 0"}},
            {"enabled", Session::Enabled, asItIs, 50, -100, 100, {"SET # one FIX32 500", "result 0"}},
            {"an empty scale", Session::Open, asItIs, 9, 5, 5, emptyScale},
            {"no source", Session::Closed, asItIs, 50, -100, 100, withoutSource},
            {"no source comes before an empty scale", Session::Closed, asItIs, 9, 5, 5, withoutSource},
            {"no manager", Session::NoManager, asItIs, 9, 5, 5, withoutManager},
            {"refused, with no second try", Session::Open, refusing(tone, failWith(TWCC_DENIED)), 50, -100,
             100, refusal + Lines{"result 16"}},
            {"neither success nor failure", Session::Open, refusing(tone, returnCode(TWRC_CHECKSTATUS)), 50,
             -100, 100, refusal + Lines{"result 0"}},
            {"no memory", Session::Open, withoutMemory, 50, -100, 100,
             Lines{"! Memory alloc error in BuildupOneValue", tone.buildFailure, "result 2"}},
            {"no lock", Session::Open, withoutLocks, 50, -100, 100,
             Lines{"! Lock memory error in BuildupOneValue", tone.buildFailure, "result 2"}},
        };
        for (const Row& row : rows) {
            CAPTURE(std::string(row.name));
            SessionStage stage(row.session);
            row.prepare(*stage);
            const auto call = [&] {
                return Lines{resultLine((stage->module.*tone.set)(row.value, row.min, row.max))};
            };
            CHECK(CallRecord::of(*stage, call) == tone.setter().expected(row.record));
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
    Lines expected;
    for (const Tone& tone : tones) {
        CHECK((stage.module.*tone.set)(100, 0, 100) == 0);
        const int top = 10 * static_cast<int>(&tone - tones + 1);
        expected.push_back("SET " + operation::capabilityName(tone.capability) + " one FIX32 " +
                           std::to_string(top));
        if (tone.get == nullptr) continue;
        stage.manager.answer(operation::getCurrent(tone.capability), give(oneValue(TWTY_FIX32, fix32(10))));
        short value = 0;
        CHECK((stage.module.*tone.get)(&value, 0, 100) == 0);
        CHECK(value == 1000 / top);
        expected.push_back("GETCURRENT " + operation::capabilityName(tone.capability));
    }
    CHECK(stage.manager.calls() == expected);
}

TEST_CASE("reading a tone, whatever the source answers") {
    const Answer no = failWith(TWCC_BADPROTOCOL);
    const Answer unsupported = failWith(TWCC_CAPUNSUPPORTED);
    const Answer list = give(enumeration(TWTY_FIX32, {fix32(0), fix32(500), fix32(-1000)}, 1));
    const Answer anArray = give(array(TWTY_FIX32, {fix32(500)}));
    const Answer one = give(oneValue(TWTY_FIX32, fix32(500)));
    const std::string refusal = "! CapNegotiate returns failure in @";
    const std::string badContainer = "! Invalid container type in @";
    const Lines asked = {"GETCURRENT #"};
    const Lines askedTwice = {"GETCURRENT #", "GET #"};
    const Lines bothRefused = {"GETCURRENT #", "STATUS", "GET #", "STATUS"};
    const auto unreadable = [&](const std::string& words, int result) {
        return askedTwice + 2 * Lines{"! " + words} + Lines{resultLine(result), "value 100"};
    };
    struct Row {
        const char* name;
        Answer current, get;
        Lines record;
        Preparation prepare = asItIs;
    };
    const Row rows[] = {
        {"one value", one, no, asked + Lines{"result 0", "value 150"}},
        {"a list's current item", list, no, asked + Lines{"result 0", "value 150"}},
        {"a range's current value", give(fix32Range(0, 0, 0, 500)), no,
         asked + Lines{"result 0", "value 150"}},
        {"other items are taken for FIX32", give(oneValue(TWTY_INT16, 0xfe0c)), no,
         asked + Lines{"result 0", "value 50"}},
        {"narrow items too", give(enumeration(TWTY_UINT8, {0, 200}, 1)), no,
         asked + Lines{"result 0", "value 120"}},
        {"outside the range", give(oneValue(TWTY_FIX32, fix32(2000))), no,
         asked + Lines{"result 0", "value 300"}},
        {"refused, then a range", no, give(fix32Range(0, 1, 1, 500)),
         Lines{"GETCURRENT #", "STATUS", "GET #", refusal, "result 0", "value 150"}},
        {"an array, then one value", anArray, one, askedTwice + Lines{badContainer, "result 0", "value 150"}},
        {"unreadable, then a list", give(withoutHandle(TWON_ONEVALUE)), list,
         askedTwice + Lines{"! Invalid memory in ExtractOneValue", "result 0", "value 150"}},
        {"refused twice", no, unsupported,
         bothRefused + 2 * Lines{refusal} + Lines{"result 13", "value 100"}},
        {"refused, then an array", no, anArray,
         Lines{"GETCURRENT #", "STATUS", "GET #", refusal, badContainer, "result 10", "value 100"}},
        {"an array, then refused", anArray, unsupported,
         Lines{"GETCURRENT #", "GET #", "STATUS", badContainer, refusal, "result 13", "value 100"}},
        {"arrays", anArray, anArray, askedTwice + 2 * Lines{badContainer} + Lines{"result 10", "value 100"}},
        {"an item type that isn't scalar", give(oneValue(TWTY_FRAME, 500)), give(oneValue(TWTY_FRAME, 500)),
         askedTwice + Lines{"result 10", "value 100"}},
        {"no block", give(withoutHandle(TWON_RANGE)), give(withoutHandle(TWON_RANGE)),
         unreadable("Invalid memory in ExtractRangeValue", 10)},
        {"a block too short", give(rawContainer(TWON_ONEVALUE, {7, 0, 1, 1})),
         give(rawContainer(TWON_ONEVALUE, {7, 0, 1, 1})),
         unreadable("Invalid memory in ExtractOneValue", 10)},
        {"a list longer than its block", give(overlongList()), give(overlongList()),
         unreadable("Invalid memory in ExtractEnumerationValue", 10)},
        {"an index past the end", give(enumeration(TWTY_FIX32, {1, 2}, 2)),
         give(enumeration(TWTY_FIX32, {1, 2}, 0xffffffff)),
         unreadable("Invalid memory in ExtractEnumerationValue", 10)},
        {"no lock for one value", one, one, unreadable("Lock memory error in ExtractOneValue", 10),
         withoutLocks},
        {"no lock for a list", list, list, unreadable("Lock memory error in ExtractEnumerationValue", 2),
         withoutLocks},
    };
    for (const Tone& tone : tones) {
        if (tone.get == nullptr) continue;
        CAPTURE(std::string(tone.name));
        for (const Row& row : rows) {
            CAPTURE(std::string(row.name));
            Stage stage;
            stage.open();
            stage.manager.answer(operation::getCurrent(tone.capability), row.current);
            stage.manager.answer(operation::get(tone.capability), row.get);
            row.prepare(stage);
            const auto call = [&] {
                short value = 777;
                const int result = (stage.module.*tone.get)(&value, 0, 200);
                return Lines{resultLine(result), numberLine(value)};
            };
            CHECK(CallRecord::of(stage, call) == tone.getter().expected(row.record));
        }
    }
}

TEST_CASE("reading a tone over the sessions and scales") {
    struct Row {
        const char* name;
        Session session;
        bool answers;
        short min, max;
        Lines record;
    };
    const Lines refused2 = {"GETCURRENT #",
                            "STATUS",
                            "GET #",
                            "STATUS",
                            "! CapNegotiate returns failure in @",
                            "! CapNegotiate returns failure in @",
                            "result 6"};
    const std::string emptyScale = "! Bad range setting, minRange == maxRange, in @";
    const Row rows[] = {
        {"enabled", Session::Enabled, true, 0, 255, {"GETCURRENT #", "result 0", "value 191"}},
        {"a scale that runs down", Session::Open, true, 100, 0, {"GETCURRENT #", "result 0", "value 25"}},
        {"a middle that isn't whole", Session::Open, false, 0, 255, refused2 + Lines{"value 127"}},
        {"a negative one", Session::Open, false, -3, 0, refused2 + Lines{"value -1"}},
        {"an empty scale", Session::Open, true, 5, 5, {emptyScale, "result 10", "value 0"}},
        {"no source", Session::Closed, true, 0, 255, withoutSource + Lines{"value 777"}},
        {"no source comes before an empty scale", Session::Closed, true, 5, 5,
         withoutSource + Lines{"value 777"}},
        {"no manager", Session::NoManager, true, 5, 5, withoutManager + Lines{"value 777"}},
    };
    for (const Tone& tone : tones) {
        if (tone.get == nullptr) continue;
        CAPTURE(std::string(tone.name));
        for (const Row& row : rows) {
            CAPTURE(std::string(row.name));
            SessionStage stage(row.session);
            if (row.answers)
                stage->manager.answer(operation::getCurrent(tone.capability),
                                      give(oneValue(TWTY_FIX32, fix32(500))));
            const auto call = [&] {
                short value = 777;
                const int result = (stage->module.*tone.get)(&value, row.min, row.max);
                return Lines{resultLine(result), numberLine(value)};
            };
            CHECK(CallRecord::of(*stage, call) == tone.getter().expected(row.record));
        }
    }
}

TEST_CASE("gamma is read from one value only, and is 2.2 without") {
    const Answer no = failWith(TWCC_CAPUNSUPPORTED);
    const Answer one = give(oneValue(TWTY_FIX32, fix32(1.5)));
    const Answer list = give(enumeration(TWTY_FIX32, {fix32(1.5)}));
    const Answer aRange = give(fix32Range(1, 2, 0.5, 1.5));
    const std::string refusal = "! CapNegotiate returns failure in @";
    const std::string badContainer = "! Invalid container type in @";
    struct Row {
        const char* name;
        Session session;
        Answer current, get;
        Lines record;
    };
    const Row rows[] = {
        {"one value", Session::Open, one, no, {"GETCURRENT #", "result 0", "value 1.5"}},
        {"below nought", Session::Enabled, give(oneValue(TWTY_FIX32, 0x4000fffe)), no,
         Lines{"GETCURRENT #", "result 0", "value -1.75"}},
        {"refused, then one value", Session::Open, no, one,
         Lines{"GETCURRENT #", "STATUS", "GET #", refusal, "result 0", "value 1.5"}},
        {"a list, then one value", Session::Open, list, one,
         Lines{"GETCURRENT #", "GET #", badContainer, "result 0", "value 1.5"}},
        {"refused twice", Session::Open, no, no,
         Lines{"GETCURRENT #", "STATUS", "GET #", "STATUS", refusal, refusal, "result 13", "value 2.2"}},
        {"a list and a range", Session::Open, list, aRange,
         Lines{"GETCURRENT #", "GET #", badContainer, badContainer, "result 10", "value 2.2"}},
        {"no block", Session::Open, give(withoutHandle(TWON_ONEVALUE)), no,
         Lines{"GETCURRENT #", "GET #", "STATUS", "! Invalid memory in ExtractOneValue", refusal, "result 13",
               "value 2.2"}},
        {"no source", Session::Closed, one, one, withoutSource + Lines{"value 777"}},
        {"no manager", Session::NoManager, one, one, withoutManager + Lines{"value 777"}},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.name));
        SessionStage stage(row.session);
        stage->manager.answer(operation::getCurrent(ICAP_GAMMA), row.current);
        stage->manager.answer(operation::get(ICAP_GAMMA), row.get);
        const auto call = [&] {
            double gamma = 777;
            const int result = stage->module.GetGamma(&gamma);
            return Lines{resultLine(result), numberLine(gamma)};
        };
        CHECK(CallRecord::of(*stage, call) == CallRecord("GetGamma", ICAP_GAMMA).expected(row.record));
    }
}

TEST_CASE("gamma goes through single precision into a TW_FIX32 of two separate halves") {
    struct Row {
        double gamma;
        const char* sent;
    };
    const Row rows[] = {
        {1.8, "1+52429/65536"},
        {2.999999, "2"},
        {-1.5, "-1+32769/65536"},
        {16384.00001, "16384"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.gamma);
        Stage stage;
        stage.open();
        CHECK(stage.module.SetGamma(row.gamma) == 0);
        CHECK(stage.manager.calls() == Lines{std::string("SET ICAP_GAMMA one FIX32 ") + row.sent});
    }
}

TEST_CASE("gamma and light path that can't be sent") {
    struct Row {
        const char* name;
        Session session;
        Preparation prepare;
        Lines record;
    };
    const std::string build = "! BuildupOneValue returns failure in @";
    const Row rows[] = {
        {"no memory", Session::Open, withoutMemory,
         Lines{"! Memory alloc error in BuildupOneValue", build, "result 2"}},
        {"no lock", Session::Open, withoutLocks,
         Lines{"! Lock memory error in BuildupOneValue", build, "result 2"}},
        {"no source", Session::Closed, asItIs, withoutSource},
        {"no manager", Session::NoManager, asItIs, withoutManager},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.name));
        SessionStage stage(row.session);
        row.prepare(*stage);
        const auto setGamma = [&] { return Lines{resultLine(stage->module.SetGamma(1.0))}; };
        const auto setLightpath = [&] { return Lines{resultLine(stage->module.SetLightpath(1))}; };
        CHECK(CallRecord::of(*stage, setGamma) == CallRecord("SetGamma").expected(row.record));
        CHECK(CallRecord::of(*stage, setLightpath) == CallRecord("SetLightpath").expected(row.record));
    }
}

TEST_CASE("a light path is sent as given") {
    Stage stage;
    stage.open();
    for (unsigned short value : {0, 1, 7, 65535}) {
        stage.manager.forgetCalls();
        CHECK(stage.module.SetLightpath(value) == 0);
        CHECK(stage.manager.calls() == Lines{"SET ICAP_LIGHTPATH one UINT16 " + std::to_string(value)});
    }
}
