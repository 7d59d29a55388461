// Every setter of a capability: what it sends, with which item types, and what becomes of refusals. One row
// per setter.
#include "CallRecord.h"

namespace {

using Types = std::vector<std::string>;

struct Setter {
    std::string method;
    TW_UINT16 capability;
    Types types;          // in the order in which they are tried
    std::string samples;  // what the host gives and what is sent
    std::string notBuilt = "! BuildupOneValue returns failure in @; ";  // empty: made without the codec
    std::string refused = "!refused; ";
    bool checksState = true;

    std::string sending(const std::string& type, const std::string& item) const {
        return "SET # one " + type + " " + item;
    }
    void check(Stage& stage, const std::string& value, const std::string& record) const {
        checkCall(stage, method + " " + value, record, capability);
    }
};

const Types flags = {"BOOL", "UINT16", "INT16"}, words = {"UINT16", "INT16", "BOOL"}, flag = {"BOOL"};
const Types counts = {"INT16", "UINT16", "BOOL"}, word = {"UINT16"}, number = {"FIX32"};
const std::string onOff = "0:0 1:1", codes = "0:0 1:1 3:3", asGiven = "-1:65535 2:2 0:0 1:1";
const std::string bits = "1:0 2:1 256:8 0:0 3:3 512:512", mechanisms = "1:0 2:1 4:2 0:0 3:3 8:8";
// Through single precision into two separate halves: below nought one 65536th too much.
const std::string fractions = "0.75:0+49152/65536 1.8:1+52429/65536 -1.5:-1+32769/65536 16384.00001:16384";
const std::string returnFailure = "! BuildupOneValue return failure in @; ";
const std::string misspelt = "! CapNegotiate returns failure in TScanModule::SetBitDepath; STATUS; ";
const std::string misspeltBuild = "! BuildupOneValue return failure in TScanModule::SetBitDepath; ";

const Setter setters[] = {
    {"SetADFEnable", CAP_FEEDERENABLED, flags, onOff},
    {"SetIndicatorEnable", CAP_INDICATORS, flags, onOff},
    {"SetAutoFeedEnable", CAP_AUTOFEED, flags, onOff},
    {"SetPixelType", ICAP_PIXELTYPE, words, bits, returnFailure},
    {"SetBitDepth", ICAP_BITDEPTH, words, codes, misspeltBuild, misspelt},
    {"SetPaperSize", ICAP_SUPPORTEDSIZES, words, bits},
    {"SetXferMech", ICAP_XFERMECH, words, mechanisms},
    {"SetXferCount", CAP_XFERCOUNT, counts, "-1:-1 30:30"},
    {"SetLightpath", ICAP_LIGHTPATH, word, onOff},
    {"SetKvExposureMode", KV_EXPOSUREMODE, word, codes, returnFailure},
    {"SetKvUIMode", KV_UIMODE, word, codes, returnFailure},
    {"SetKvUnSharpMask", KV_UNSHARPMASK, flag, asGiven, ""},
    {"SetKvDraftScan", KV_DRAFTSCAN, flag, asGiven, ""},
    {"SetKvDescreeing", KV_DESCREENING, flag, asGiven, ""},
    {"SetClearPage", CAP_CLEARPAGE, flag, asGiven, "", "!refused; ", false},
    {"SetPIMFlag", KV_PIMFLAG, flag, asGiven, "", "!refused; ", false},
    {"SetXScale", ICAP_XSCALING, number, fractions},
    {"SetYScale", ICAP_YSCALING, number, fractions},
    {"SetGamma", ICAP_GAMMA, number, fractions},
};

}  // namespace

TEST_CASE("a setter sends one value and frees its container") {
    Stages stages;
    for (const Setter& setter : setters) {
        for (const auto& [host, sent] : samplesOf(setter.samples))
            setter.check(stages.in(4), host, setter.sending(setter.types[0], sent) + "; result 0");
    }
}

TEST_CASE("a setter tries its item types in order until one is taken, also while the source is enabled") {
    const std::pair<std::string, std::string> refusals[] = {{" -> fail 16; ", "result 16"},
                                                            {" -> check; ", "result 0"}};
    Stages stages;
    for (const Setter& setter : setters) {
        const auto [host, sent] = samplesOf(setter.samples)[1];
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
        setter.check(stages.in(2), "1", setter.checksState ? "!sequence" : "SET # one BOOL 1; result 0");
    for (const Setter& setter : setters)
        setter.check(stages.in(1), "1", "!manager");
}

TEST_CASE("a container that can't be built is not sent, and freed once") {
    Stage stage;
    stage.open();
    const auto checkAll = [&](const std::string& words) {
        for (const Setter& setter : setters) {
            const bool isOwn = setter.notBuilt.empty();
            std::string record = isOwn ? "! Memory alloc error in @; " : "";
            for (size_t i = 0; !isOwn && i < setter.types.size(); ++i)
                record += "! " + words + " in BuildupOneValue; " + setter.notBuilt;
            setter.check(stage, "1", record + "result 2");
            CHECK(stage.viewer.traces().with("Buildup").empty() == isOwn);
        }
    };
    stage.windows.largestAllocation = 0;
    checkAll("Memory alloc error");
    const std::string unbuilt =
        "! Memory alloc error in BuildupEnumeration; ! BuildupEnumeration returns failure in @; ";
    checkCall(stage, "SetSupportedPixelType 3", "GETCURRENT # -> one UINT16 1; " + unbuilt + "result 2",
              ICAP_PIXELTYPE);
    stage.windows.largestAllocation = ~SIZE_T{0};
    stage.windows.locksThatSucceed = 0;
    checkAll("Lock memory error");
}

TEST_CASE("narrowing the supported values sends the set bits in order, with the present value as current") {
    const struct {
        std::string mask, present, sent;
    } rows[] = {
        {"7", "1", "[0 1 2] current 1 default 1; result 0"},
        {"6", "0", "[1 2] current 0 default 0; result 0"},
        {"265", "3", "[0 3 8] current 1 default 1; result 0"},
        {"1023", "8", "[0 1 2 3 4 5 6 7 8] current 8 default 8; result 0"},
        {"1", "0", "[0] current 0 default 0 -> fail 14; !refused; result 14"},
        {"1", "0", "[0] current 0 default 0 -> check; !refused; result 0"},
    };
    const std::pair<std::string, TW_UINT16> both[] = {{"SetSupportedPixelType", ICAP_PIXELTYPE},
                                                      {"SetSupportedPaperSize", ICAP_SUPPORTEDSIZES}};
    Stages stages;
    for (const int state : {4, 5}) {
        for (const auto& row : rows) {
            const std::string record =
                "GETCURRENT # -> one UINT16 " + row.present + "; SET # enum UINT16 " + row.sent;
            for (const auto& [method, capability] : both)
                checkCall(stages.in(state), method + " " + row.mask, record, capability);
        }
    }
    for (const auto& [method, capability] : both)
        checkCall(stages.in(2), method, "!sequence", capability);
}
