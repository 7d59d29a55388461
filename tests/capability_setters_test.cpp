// Every setter of a capability: what it sends, with which item types, and what becomes of refusals. One row
// per setter.
#include <doctest.h>

#include <functional>

#include "Stage.h"

namespace {

using Writer = std::function<int(Module&, double value)>;

template <class Type>
Writer writer(int (WINAPI* Module::*function)(Type)) {
    return [function](Module& module, double value) { return (module.*function)(static_cast<Type>(value)); };
}

struct Sample {
    double host;
    const char* sent;
};

const char* const returnsFailure = "BuildupOneValue returns failure";
const char* const returnFailure = "BuildupOneValue return failure";
enum StateCheck { checked, unchecked };

struct Setter {
    std::string method;
    Writer write;
    TW_UINT16 capability;
    std::vector<const char*> types;  // in the order in which they are tried
    std::vector<Sample> samples;
    const char* buildWords = returnsFailure;  // null: it has none of its own
    const char* warningMethod = nullptr;      // when warnings name another
    StateCheck stateCheck = checked;

    Lines warning(const std::string& words) const {
        return {"! " + words + " in TScanModule::" + (warningMethod != nullptr ? warningMethod : method)};
    }
    std::string sending(size_t type, const char* item) const {
        return "SET " + operation::capabilityName(capability) + " one " + types[type] + " " + item;
    }
};

using Types = std::vector<const char*>;
using Samples = std::vector<Sample>;
const Types flags = {"BOOL", "UINT16", "INT16"};
const Types words = {"UINT16", "INT16", "BOOL"};
const Types counts = {"INT16", "UINT16", "BOOL"};
const Types flag = {"BOOL"};
const Types word = {"UINT16"};
const Types number = {"FIX32"};
const Samples onOff = {{0, "0"}, {1, "1"}};
const Samples bits = {{1, "0"}, {2, "1"}, {256, "8"}, {0, "0"}, {3, "3"}, {512, "512"}};
const Samples codes = {{0, "0"}, {1, "1"}, {3, "3"}};
const Samples mechanisms = {{1, "0"}, {2, "1"}, {4, "2"}, {0, "0"}, {3, "3"}, {8, "8"}};
const Samples fractions = {{1.0, "1"}, {0.75, "0+49152/65536"}, {2.5, "2+32768/65536"}};

const std::vector<Setter> setters = {
    {"SetADFEnable", writer(&Module::SetADFEnable), CAP_FEEDERENABLED, flags, onOff},
    {"SetIndicatorEnable", writer(&Module::SetIndicatorEnable), CAP_INDICATORS, flags, onOff},
    {"SetAutoFeedEnable", writer(&Module::SetAutoFeedEnable), CAP_AUTOFEED, flags, onOff},
    {"SetPixelType", writer(&Module::SetPixelType), ICAP_PIXELTYPE, words, bits, returnFailure},
    {"SetBitDepth", writer(&Module::SetBitDepth), ICAP_BITDEPTH, words, codes, returnFailure, "SetBitDepath"},
    {"SetPaperSize", writer(&Module::SetPaperSize), ICAP_SUPPORTEDSIZES, words, bits},
    {"SetXferMech", writer(&Module::SetXferMech), ICAP_XFERMECH, words, mechanisms},
    {"SetXferCount", writer(&Module::SetXferCount), CAP_XFERCOUNT, counts, {{-1, "-1"}, {30, "30"}}},
    {"SetLightpath", writer(&Module::SetLightpath), ICAP_LIGHTPATH, word, onOff},
    {"SetKvExposureMode", writer(&Module::SetKvExposureMode), 0x8005, word, codes, returnFailure},
    {"SetKvUIMode", writer(&Module::SetKvUIMode), 0x800f, word, codes, returnFailure},
    {"SetKvUnSharpMask", writer(&Module::SetKvUnSharpMask), 0x800e, flag, codes, nullptr},
    {"SetKvDraftScan", writer(&Module::SetKvDraftScan), 0x8004, flag, codes, nullptr},
    {"SetKvDescreeing", writer(&Module::SetKvDescreeing), 0x800a, flag, codes, nullptr},
    {"SetClearPage", writer(&Module::SetClearPage), CAP_CLEARPAGE, flag, onOff, nullptr, nullptr, unchecked},
    {"SetPIMFlag", writer(&Module::SetPIMFlag), 0x8010, flag, onOff, nullptr, nullptr, unchecked},
    {"SetXScale", writer(&Module::SetXScale), ICAP_XSCALING, number, fractions},
    {"SetYScale", writer(&Module::SetYScale), ICAP_YSCALING, number, fractions},
    {"SetGamma", writer(&Module::SetGamma), ICAP_GAMMA, number, fractions},
};

// The result, then the record of the call.
Lines outcome(int result, const Lines& record) {
    return Lines{"result " + std::to_string(result)} + record;
}
Lines write(Stage& stage, const Setter& setter, double value) {
    const int result = setter.write(stage.module, value);
    return outcome(result, stage.takeRecord());
}

}  // namespace

TEST_CASE("a setter sends one value and frees its container") {
    for (const Setter& setter : setters) {
        Stage stage;
        stage.open();
        for (const auto& [host, sent] : setter.samples)
            CHECK(write(stage, setter, host) == outcome(0, {setter.sending(0, sent)}));
    }
}

TEST_CASE("a setter tries its item types in order until one is taken, also while the source is enabled") {
    for (const Setter& setter : setters) {
        const auto& [host, sent] = setter.samples[1];
        Stage stage;
        stage.bringTo(5);
        Lines calls;
        for (size_t refusals = 0; refusals <= setter.types.size(); ++refusals) {
            const bool isTaken = refusals < setter.types.size();
            for (size_t i = 1; i < refusals; ++i)
                stage.manager.answerNext(operation::set(setter.capability), failWith(TWCC_BADVALUE));
            if (refusals > 0)
                stage.manager.answerNext(operation::set(setter.capability), failWith(TWCC_DENIED));
            const Lines last = isTaken ? Lines{setter.sending(refusals, sent)} : Lines{};
            CHECK(write(stage, setter, host) ==
                  outcome(isTaken ? 0 : TWCC_DENIED,
                          calls + last +
                              static_cast<int>(refusals) * setter.warning("CapNegotiate returns failure")));
            if (isTaken) calls += refused(setter.sending(refusals, sent));
        }
    }
}

TEST_CASE("a setter without an open source sends nothing, without a manager it says so") {
    for (const Setter& setter : setters) {
        Stage stage;
        stage.forget();
        const Lines refusal = {"! Sequence error in TScanModule::" + setter.method};
        CHECK(write(stage, setter, 1) ==
              (setter.stateCheck == checked ? outcome(11, refusal) : outcome(0, {setter.sending(0, "1")})));
    }
    const ManagerFile missing(ManagerFile::Kind::Missing);
    for (const Setter& setter : setters) {
        Stage stage;
        stage.forget();
        CHECK(write(stage, setter, 1) == outcome(-1, withoutManager(setter.method)));
    }
}

TEST_CASE("a container that can't be built is not sent, and freed once") {
    for (const Setter& setter : setters) {
        Stage stage;
        stage.open();
        const int tries = static_cast<int>(setter.types.size());
        const Lines own = setter.buildWords != nullptr ? setter.warning(setter.buildWords) : Lines{};
        stage.windows.locksThatSucceed = 0;
        const Lines noLock = Lines{"! Lock memory error in BuildupOneValue"} + own;
        const Lines unlocked = write(stage, setter, 1);
        stage.windows.largestAllocation = 0;
        const Lines noMemory = Lines{"! Memory alloc error in BuildupOneValue"} + own;
        const Lines unallocated = write(stage, setter, 1);
        if (setter.buildWords == nullptr) continue;
        CHECK(unlocked == outcome(2, tries * noLock));
        CHECK(unallocated == outcome(2, tries * noMemory));
    }
}

TEST_CASE("narrowing the supported values sends the set bits in order, with the present value as current") {
    const Setter both[] = {
        {"SetSupportedPixelType", writer(&Module::SetSupportedPixelType), ICAP_PIXELTYPE, {}, {}},
        {"SetSupportedPaperSize", writer(&Module::SetSupportedPaperSize), ICAP_SUPPORTEDSIZES, {}, {}},
    };
    struct Row {
        int mask;
        TW_UINT32 present;
        const char* sent;
    };
    const Row rows[] = {
        {7, 1, "[0 1 2] current 1 default 1"},
        {6, 0, "[1 2] current 0 default 0"},
        {0x109, 3, "[0 3 8] current 1 default 1"},
        {0x1ff, 8, "[0 1 2 3 4 5 6 7 8] current 8 default 8"},
    };
    for (const Setter& setter : both) {
        const std::string name = operation::capabilityName(setter.capability);
        const Lines asked = {"GETCURRENT " + name};
        const auto setting = [&](const char* sent) { return "SET " + name + " enum UINT16 " + sent; };
        Stage stage;
        stage.forget();
        CHECK(write(stage, setter, 3) == outcome(11, setter.warning("Sequence error")));
        stage.open();
        for (const Row& row : rows) {
            stage.manager.answer(operation::getCurrent(setter.capability),
                                 give(oneValue(TWTY_UINT16, row.present)));
            CHECK(write(stage, setter, row.mask) == outcome(0, asked + Lines{setting(row.sent)}));
        }
        stage.manager.answer(operation::set(setter.capability), failWith(TWCC_CAPBADOPERATION));
        CHECK(write(stage, setter, 1) ==
              outcome(TWCC_CAPBADOPERATION, asked + refused(setting("[0] current 0 default 0")) +
                                                setter.warning("CapNegotiate returns failure")));
        stage.windows.largestAllocation = 0;
        CHECK(write(stage, setter, 3) ==
              outcome(2, asked + Lines{"! Memory alloc error in BuildupEnumeration"} +
                             setter.warning("BuildupEnumeration returns failure")));
    }
}
