// Every setter of a capability: what it sends, with which item types, and what becomes of refusals. One row
// per setter.
#include "CallRecord.h"

namespace {

using Types = std::vector<std::string>;

struct Sample {
    double host;
    std::string sent;
};

struct Setter {
    std::string method;
    std::function<int(Module&, double)> set;
    TW_UINT16 capability;
    Types types;  // in the order in which they are tried
    std::vector<Sample> samples;
    std::string notBuilt = "! BuildupOneValue returns failure in @; ";  // empty: made without the codec
    std::string refused = "!refused; ";
    bool checksState = true;

    std::string sending(const std::string& type, const std::string& item) const {
        return "SET # one " + type + " " + item;
    }
    void check(Stage& stage, double value, const std::string& record) const {
        const Call call = [&](Module& module) { return resultText(set(module, value)); };
        checkCall(stage, record, method, call, capability);
    }
};

template <class Type>
auto writer(int (WINAPI* Module::*function)(Type)) {
    return [function](Module& module, double value) { return (module.*function)(static_cast<Type>(value)); };
}

const Types flags = {"BOOL", "UINT16", "INT16"}, words = {"UINT16", "INT16", "BOOL"}, flag = {"BOOL"};
const Types counts = {"INT16", "UINT16", "BOOL"}, word = {"UINT16"}, number = {"FIX32"};
const std::vector<Sample> onOff = {{0, "0"}, {1, "1"}}, codes = {{0, "0"}, {1, "1"}, {3, "3"}};
const std::vector<Sample> asGiven = {{-1, "65535"}, {2, "2"}, {0, "0"}, {1, "1"}};
const std::vector<Sample> bits = {{1, "0"}, {2, "1"}, {256, "8"}, {0, "0"}, {3, "3"}, {512, "512"}};
const std::vector<Sample> mechanisms = {{1, "0"}, {2, "1"}, {4, "2"}, {0, "0"}, {3, "3"}, {8, "8"}};
// Through single precision into two separate halves: below nought one 65536th too much.
const std::vector<Sample> fractions = {
    {0.75, "0+49152/65536"}, {1.8, "1+52429/65536"}, {-1.5, "-1+32769/65536"}, {16384.00001, "16384"}};
const std::string returnFailure = "! BuildupOneValue return failure in @; ";
const std::string misspelt = "! CapNegotiate returns failure in TScanModule::SetBitDepath; STATUS; ";
const std::string misspeltBuild = "! BuildupOneValue return failure in TScanModule::SetBitDepath; ";

const Setter setters[] = {
    {"SetADFEnable", writer(&Module::SetADFEnable), CAP_FEEDERENABLED, flags, onOff},
    {"SetIndicatorEnable", writer(&Module::SetIndicatorEnable), CAP_INDICATORS, flags, onOff},
    {"SetAutoFeedEnable", writer(&Module::SetAutoFeedEnable), CAP_AUTOFEED, flags, onOff},
    {"SetPixelType", writer(&Module::SetPixelType), ICAP_PIXELTYPE, words, bits, returnFailure},
    {"SetBitDepth", writer(&Module::SetBitDepth), ICAP_BITDEPTH, words, codes, misspeltBuild, misspelt},
    {"SetPaperSize", writer(&Module::SetPaperSize), ICAP_SUPPORTEDSIZES, words, bits},
    {"SetXferMech", writer(&Module::SetXferMech), ICAP_XFERMECH, words, mechanisms},
    {"SetXferCount", writer(&Module::SetXferCount), CAP_XFERCOUNT, counts, {{-1, "-1"}, {30, "30"}}},
    {"SetLightpath", writer(&Module::SetLightpath), ICAP_LIGHTPATH, word, onOff},
    {"SetKvExposureMode", writer(&Module::SetKvExposureMode), KV_EXPOSUREMODE, word, codes, returnFailure},
    {"SetKvUIMode", writer(&Module::SetKvUIMode), KV_UIMODE, word, codes, returnFailure},
    {"SetKvUnSharpMask", writer(&Module::SetKvUnSharpMask), KV_UNSHARPMASK, flag, asGiven, ""},
    {"SetKvDraftScan", writer(&Module::SetKvDraftScan), KV_DRAFTSCAN, flag, asGiven, ""},
    {"SetKvDescreeing", writer(&Module::SetKvDescreeing), KV_DESCREENING, flag, asGiven, ""},
    {"SetClearPage", writer(&Module::SetClearPage), CAP_CLEARPAGE, flag, asGiven, "", "!refused; ", false},
    {"SetPIMFlag", writer(&Module::SetPIMFlag), KV_PIMFLAG, flag, asGiven, "", "!refused; ", false},
    {"SetXScale", writer(&Module::SetXScale), ICAP_XSCALING, number, fractions},
    {"SetYScale", writer(&Module::SetYScale), ICAP_YSCALING, number, fractions},
    {"SetGamma", writer(&Module::SetGamma), ICAP_GAMMA, number, fractions},
};

}  // namespace

TEST_CASE("a setter sends one value and frees its container") {
    Stages stages;
    for (const Setter& setter : setters) {
        for (const auto& [host, sent] : setter.samples)
            setter.check(stages.in(4), host, setter.sending(setter.types[0], sent) + "; result 0");
    }
}

TEST_CASE("a setter tries its item types in order until one is taken, also while the source is enabled") {
    const std::pair<std::string, std::string> refusals[] = {{" -> fail 16; ", "result 16"},
                                                            {" -> check; ", "result 0"}};
    Stages stages;
    for (const Setter& setter : setters) {
        const auto& [host, sent] = setter.samples[1];
        for (const auto& [refusal, result] : refusals) {
            std::string tried;
            for (const std::string& type : setter.types) {
                const std::string sending = setter.sending(type, sent);
                setter.check(stages.in(5), host, tried + sending + "; result 0");
                tried += sending + refusal + setter.refused;
            }
            setter.check(stages.in(5), host, tried + result);
        }
    }
}

TEST_CASE("a setter without an open source sends nothing, without a manager it says so") {
    Stages stages;
    for (const Setter& setter : setters)
        setter.check(stages.in(2), 1, setter.checksState ? "!sequence" : "SET # one BOOL 1; result 0");
    for (const Setter& setter : setters)
        setter.check(stages.in(1), 1, "!manager");
}

TEST_CASE("a container that can't be built is not sent, and freed once") {
    Stage stage;
    stage.open();
    const auto check = [&](const Setter& setter, const std::string& words) {
        const bool isOwn = setter.notBuilt.empty();
        std::string record = isOwn ? "! Memory alloc error in @; " : "";
        for (size_t i = 0; !isOwn && i < setter.types.size(); ++i)
            record += "! " + words + " in BuildupOneValue; " + setter.notBuilt;
        setter.check(stage, 1, record + "result 2");
        CHECK(stage.viewer.traces().with("Buildup").empty() == isOwn);
    };
    stage.windows.locksThatSucceed = 0;
    for (const Setter& setter : setters)
        check(setter, "Lock memory error");
    stage.windows.largestAllocation = 0;
    for (const Setter& setter : setters)
        check(setter, "Memory alloc error");
}

TEST_CASE("narrowing the supported values sends the set bits in order, with the present value as current") {
    const Setter both[] = {
        {"SetSupportedPixelType", writer(&Module::SetSupportedPixelType), ICAP_PIXELTYPE, {}, {}},
        {"SetSupportedPaperSize", writer(&Module::SetSupportedPaperSize), ICAP_SUPPORTEDSIZES, {}, {}},
    };
    struct Row {
        int mask;
        std::string record;
        SIZE_T largestAllocation = 1000;
    };
    const std::string present = "GETCURRENT # -> one UINT16 ", sent = "; SET # enum UINT16 ";
    const Row rows[] = {
        {7, present + "1" + sent + "[0 1 2] current 1 default 1; result 0"},
        {6, present + "0" + sent + "[1 2] current 0 default 0; result 0"},
        {0x109, present + "3" + sent + "[0 3 8] current 1 default 1; result 0"},
        {0x3ff, present + "8" + sent + "[0 1 2 3 4 5 6 7 8] current 8 default 8; result 0"},
        {1, "state 5; " + present + "0" + sent + "[0] current 0 default 0 -> fail 14; !refused; result 14"},
        {1, "state 5; " + present + "0" + sent + "[0] current 0 default 0 -> check; !refused; result 0"},
        {3,
         present + "1; ! Memory alloc error in BuildupEnumeration; ! BuildupEnumeration returns failure in "
                   "@; result 2",
         0},
        {3, "state 2; !sequence"},
        {3, "state 1; !manager"},
    };
    Stages stages;
    for (const Row& row : rows) {
        for (const Setter& setter : both) {
            Stage& stage = stages.forRow(row.record);
            stage.windows.largestAllocation = row.largestAllocation;
            setter.check(stage, row.mask, row.record);
        }
    }
}
