// Every getter of a capability over what a source may answer: each container, refusals, nonsense. One row per
// getter, and one per answer.
#include "CallRecord.h"

namespace {

enum Trait { plain = 0, listed = 1, unchecked = 2 };  // takes lists as well; has no state check

struct Getter {
    std::string method;
    TW_UINT16 capability;
    std::string type;  // of the items
    int traits;
    std::string samples;  // the source's value and the host's
    std::string afterFailure = "777";

    // In a row '%' is the type, '~' what the source says, '$' what the host gets of it, '?' what of nothing.
    void check(Stage& stage, const std::string& row,
               const std::pair<std::string, std::string>& sample) const {
        std::string record = filled(filled(row, '%', type), '~', sample.first);
        record = filled(filled(record, '$', sample.second), '?', afterFailure);
        checkCall(stage, method, record, capability);
    }
};

const std::string flag = "BOOL", word = "UINT16";

const Getter getters[] = {
    {"IsADFPaperLoaded", CAP_FEEDERLOADED, flag, plain, "0:0 1:1"},
    {"GetADFEnable", CAP_FEEDERENABLED, flag, plain, "1:1"},
    {"GetUnit", ICAP_UNITS, word, listed, "0:1 4:16 6:1 5:32", "1"},
    {"GetPixelFlavor", ICAP_PIXELFLAVOR, word, listed, "0:0 1:1"},
    {"GetPixelType", ICAP_PIXELTYPE, word, listed, "0:1 8:256 9:2"},
    {"GetPaperSize", ICAP_SUPPORTEDSIZES, word, listed, "8:256 9:1"},
    {"GetXferMech", ICAP_XFERMECH, word, listed, "0:1 1:2 3:4"},
    {"GetXferCount", CAP_XFERCOUNT, "INT16", listed, "65535:-1"},
    {"GetKvUnSharpMask", KV_UNSHARPMASK, flag, listed, "1:1"},
    {"GetClearPage", CAP_CLEARPAGE, flag, listed, "1:1"},
    {"GetPIMFlag", KV_PIMFLAG, flag, listed, "1:1"},
    // Other modes than 1 and 3 are 0.
    {"GetKvUIMode", KV_UIMODE, word, listed, "2:0 257:0 259:0 3:2 1:1", "0"},
    {"GetKvLUT1", KV_LUT1, word, listed, "2:2"},
    {"GetKvLUT2", KV_LUT2, word, listed + unchecked, "2:2"},
    {"GetKvCC", KV_COLORCORRECTION, word, listed, "2:2"},
};

const struct {
    std::string record;
    int with = plain, without = plain;  // traits of the getters it is for
} answers[] = {
    // The current item of a list counts.
    {"GETCURRENT # -> enum % [0 0 ~] current 2 default 1; result 0; value $", listed},
    {"GETCURRENT # -> enum % [~]; !container; GET # -> one % ~; result 0; value $", plain, listed},
    {"GETCURRENT # -> array % [~]; !container; GET # -> one % ~; result 0; value $"},
    {"GETCURRENT # -> range % 0 9 1 1 ~; !container; GET # -> nothing; !container; result 10; value ?"},
    {"GETCURRENT # -> one %; ! Invalid memory in ExtractOneValue; GET # -> one % ~; result 0; value $"},
    {"GETCURRENT # -> fail 13; !refused; GET # -> fail 16; !refused; result 16; value ?"},
    // What a refusal leaves isn't the module's to free.
    {"GETCURRENT # -> fail 13 one % ~; !refused; GET # -> one % ~; a block was not freed; result 0; value $"},
    {"GETCURRENT #; !refused; GET # -> check one % ~; !refused; a block was not freed; result 0; value ?"},
    {"state 5; GETCURRENT #; !refused; GET # -> one % ~; result 0; value $"},
    {"state 2; !sequence; value 777", plain, unchecked},
    {"state 2; GETCURRENT #; !refused; GET # -> fail 13; !refused; result 13; value 777", unchecked},
    {"state 1; !manager; value 777"},
};

}  // namespace

TEST_CASE("a getter gives what the first message says, else the second, of containers it can read") {
    Stages stages;
    for (const auto& row : answers) {
        for (const Getter& getter : getters) {
            if ((getter.traits & row.with) == row.with && (getter.traits & row.without) == 0)
                getter.check(stages.forRow(row.record), row.record, samplesOf(getter.samples).back());
        }
    }
}

TEST_CASE("what a getter makes of the source's values") {
    Stages stages;
    for (const Getter& getter : getters) {
        for (const auto& sample : samplesOf(getter.samples))
            getter.check(stages.in(4), "GETCURRENT # -> one % ~; result 0; value $", sample);
    }
}

TEST_CASE("the supported values are the bits of a list") {
    const std::string rows[] = {
        "GET # -> enum UINT16 [2 0 1] current 1; result 0; value 7",
        // Those without a bit are left out.
        "GET # -> enum UINT16 [1 9 16 32 40000]; result 0; value 2",
        "GET # -> enum UINT8 [3 8]; result 0; value 264",
        "GET # -> enum UINT32 [3 65536]; result 0; value 8",
        "GET # -> enum UINT16 []; result 0; value 0",
        "GET # -> one UINT16 1; !container; result 10; value 0",
        "GET # -> array UINT16 [0 1]; !container; result 10; value 0",
        "state 5; GET # -> fail 13; !refused; result 13; value 0",
        "state 5; GET # -> check; !refused; result 0; value 0",
        "state 2; !sequence; value 777",
    };
    checkCalls(rows, "GetSupportedPixelType", ICAP_PIXELTYPE);
    checkCalls(rows, "GetSupportedPaperSize", ICAP_SUPPORTEDSIZES);
}

TEST_CASE("getters with rules of their own") {
    struct Method {
        std::string call;
        TW_UINT16 capability = 0;
    };
    const Method feeder = {"IsADFAvailable", CAP_FEEDERENABLED}, pending = {"GetPendingCount"};
    const Method gamma = {"GetGamma", ICAP_GAMMA}, version = {"GetKvVersion", KV_VERSION};
    const Method limit = {"GetMaxResForKvDescreeing", KV_DESCREENINGLIMIT};
    const Method uiMode1 = {"GetKvUIMode 1", KV_UIMODE}, uiMode3 = {"GetKvUIMode 3", KV_UIMODE};
    const std::string getVersion = "GET # contype " + std::to_string(TWON_ONEVALUE);
    const std::string asGetUnit = "! Invalid container type in TScanModule::GetUnit; ";
    const std::pair<Method, std::string> rows[] = {
        // A feeder is there when its capability can be asked, before the source is enabled.
        {feeder, "GET # -> one BOOL 0; result 0; value 1"},
        {feeder, "GET # -> nothing; result 0; value 1"},
        {feeder, "GET # -> fail 13; !refused; result 13; value 0"},
        {feeder, "GET # -> check; !refused; result 0; value 0"},
        {feeder, "state 2; GET # -> fail 13; !refused; result 13; value 0"},
        {feeder, "state 5; !sequence; value 777"},
        {feeder, "state 1; !manager; value 777"},
        // The pending count needs an enabled source and asks nothing.
        {pending, "!sequence; value 777"},
        {pending, "state 5; result 0; value 0"},
        // Gamma is read from one value only, and is 2.2 without.
        {gamma, "GETCURRENT # -> one FIX32 1.5; result 0; value 1.5"},
        {gamma, "GETCURRENT #; !refused; GET # -> range FIX32 0 9 1 0 7; !container; result 10; value 2.2"},
        {gamma,
         "state 5; GETCURRENT # -> enum FIX32 [2]; !container; GET # -> one FIX32 -1.5; result 0; value "
         "-1.5"},
        {gamma, "state 2; !sequence; value 777"},
        {gamma, "state 1; !manager; value 777"},
        // The version is asked once, for one value, and its bad container names another method.
        {version, getVersion + " -> one UINT16 3; result 0; value 3"},
        {version, getVersion + " -> fail 13; !refused; result 13; value 0"},
        {version, getVersion + " -> check; !refused; result 0; value 0"},
        {version, getVersion + " -> range UINT16 0 9 1 0 7; " + asGetUnit + "result 10; value 0"},
        {version, "state 5; " + getVersion + " -> enum UINT16 [1 2 258] current 2; result 0; value 258"},
        {version, "state 2; !sequence; value 777"},
        {version, "state 1; !manager; value 777"},
        // The highest resolution for descreening is a TW_FIX32, asked once.
        {limit, "GET # -> one FIX32 300.5; result 0; value 300.5"},
        {limit, "GET # -> fail 13; !refused; result 13; value 777"},
        {limit, "GET # -> range FIX32 0 9 1 0 7; !container; result 10; value 777"},
        {limit, "state 5; GET # -> enum FIX32 [75 600] current 1; result 0; value 600"},
        {limit, "state 2; !sequence; value 777"},
        // The UI mode is mapped after each attempt, also when it failed.
        {uiMode3, "GETCURRENT #; !refused; GET # -> fail 13; !refused; result 13; value 0"},
        {uiMode1, "GETCURRENT #; !refused; GET # -> array UINT16 [7]; !container; result 10; value 1"},
    };
    Stages stages;
    for (const auto& [method, record] : rows)
        checkCall(stages.forRow(record), method.call, record, method.capability);
}

TEST_CASE("the names of the source, in every state, under one name in the trace") {
    const struct {
        int state;
        std::string name, family, record = "result 0; value ";
    } rows[] = {
        {4, "Other Source", "Other Family"},
        {5, std::string(34, 'x'), std::string(34, 'y')},  // texts without an end
        {2, "", ""},
        {1, "", "", "!manager; value before"},
    };
    for (const auto& row : rows) {
        StageIn stage(row.state == 1 ? 1 : 2);
        row.name.copy(stage->manager.defaultSource().ProductName, 34);
        row.family.copy(stage->manager.defaultSource().ProductFamily, 34);
        stage->bringTo(row.state);
        const Call nameOf = [](Module& module) { return callByText(module, "GetDSProductName"); };
        const Call familyOf = [](Module& module) { return callByText(module, "GetDSProductFamily"); };
        checkCall(*stage, "GetDSProductName", nameOf, row.record + row.name.substr(0, 33));
        checkCall(*stage, "GetDSProductName", familyOf, row.record + row.family.substr(0, 33));
    }
}
