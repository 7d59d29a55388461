// Every getter of a capability over what a source may answer: each container, refusals, nonsense. One row per
// getter, and one per answer.
#include "CallRecord.h"

namespace {

enum Trait { plain = 0, listed = 1, unchecked = 2 };  // takes lists as well; has no state check

struct Sample {
    TW_UINT32 source;
    int host;
};

struct Getter {
    std::string method;
    std::function<std::string(Module&)> read;
    TW_UINT16 capability;
    TW_UINT16 type;
    int traits;
    std::vector<Sample> samples;
    std::string afterFailure = "777";
};

constexpr TW_UINT16 flag = TWTY_BOOL, word = TWTY_UINT16;

// Other modes than 1 and 3 are 0.
const std::vector<Sample> uiModes = {{2, 0}, {257, 0}, {259, 0}, {3, 2}, {1, 1}};

const Getter getters[] = {
    {"IsADFPaperLoaded", reader(&Module::IsADFPaperLoaded), CAP_FEEDERLOADED, flag, plain, {{0, 0}, {1, 1}}},
    {"IsADFPaperLoaded", reader(&Module::IsPaperLoaded), CAP_FEEDERLOADED, flag, plain, {{1, 1}}},
    {"GetADFEnable", reader(&Module::GetADFEnable), CAP_FEEDERENABLED, flag, plain, {{1, 1}}},
    {"GetUnit", reader(&Module::GetUnit), ICAP_UNITS, word, listed, {{0, 1}, {4, 16}, {6, 1}, {5, 32}}, "1"},
    {"GetPixelFlavor", reader(&Module::GetPixelFlavor), ICAP_PIXELFLAVOR, word, listed, {{0, 0}, {1, 1}}},
    {"GetPixelType", reader(&Module::GetPixelType), ICAP_PIXELTYPE, word, listed, {{0, 1}, {8, 256}, {9, 2}}},
    {"GetPaperSize", reader(&Module::GetPaperSize), ICAP_SUPPORTEDSIZES, word, listed, {{8, 256}, {9, 1}}},
    {"GetXferMech", reader(&Module::GetXferMech), ICAP_XFERMECH, word, listed, {{0, 1}, {1, 2}, {3, 4}}},
    {"GetXferCount", reader<short>(&Module::GetXferCount), CAP_XFERCOUNT, TWTY_INT16, listed, {{65535, -1}}},
    {"GetKvUnSharpMask", reader(&Module::GetKvUnSharpMask), KV_UNSHARPMASK, flag, listed, {{1, 1}}},
    {"GetClearPage", reader(&Module::GetClearPage), CAP_CLEARPAGE, flag, listed, {{1, 1}}},
    {"GetPIMFlag", reader(&Module::GetPIMFlag), KV_PIMFLAG, flag, listed, {{1, 1}}},
    {"GetKvUIMode", reader(&Module::GetKvUIMode), KV_UIMODE, word, listed, uiModes, "0"},
    {"GetKvLUT1", reader(&Module::GetKvLUT1), KV_LUT1, word, listed, {{2, 2}}},
    {"GetKvLUT2", reader(&Module::GetKvLUT2), KV_LUT2, word, listed + unchecked, {{2, 2}}},
    {"GetKvCC", reader(&Module::GetKvCC), KV_COLORCORRECTION, word, listed, {{2, 2}}},
};

// What a source may say; a refusal may leave a container, which isn't the module's to free.
enum Said { value, list, anArray, aRange, noHandle, cutOff, no, denied, leftNo, leftCheck };

std::vector<Answer> answersOf(const Getter& getter) {
    const TW_UINT32 item = getter.samples.back().source;
    const ContainerImage one = oneValue(getter.type, item);
    return {
        give(one),
        give(enumeration(getter.type, {0, 0, item}, 2, 1)),  // whose current item counts
        give(array(getter.type, {item})),
        give(range(getter.type, {0, 9, 1, 1, item})),
        give(withoutHandle(TWON_DONTCARE16)),
        give(rawContainer(TWON_ONEVALUE, {1, 0, 1})),
        failWith(TWCC_CAPUNSUPPORTED),
        failWith(TWCC_DENIED),
        {TWRC_FAILURE, TWCC_CAPUNSUPPORTED, one, {}},
        {TWRC_CHECKSTATUS, TWCC_SUCCESS, one, {}},
    };
}

// '$' is what the host gets of the value, '?' what it gets of nothing.
const struct {
    int state;
    Said current, get;
    std::string record;
    int with = plain, without = plain;  // traits of the getters it is for
} answers[] = {
    {4, value, no, "GETCURRENT #; result 0; value $"},
    {4, list, no, "GETCURRENT #; result 0; value $", listed},
    {4, list, value, "GETCURRENT #; !container; GET #; result 0; value $", plain, listed},
    {4, anArray, value, "GETCURRENT #; !container; GET #; result 0; value $"},
    {4, aRange, noHandle, "GETCURRENT #; !container; GET #; !container; result 10; value ?"},
    {4, cutOff, value, "GETCURRENT #; ! Invalid memory in ExtractOneValue; GET #; result 0; value $"},
    {4, no, denied, "GETCURRENT #; !refused; GET #; !refused; result 16; value ?"},
    {4, leftNo, value, "GETCURRENT #; !refused; GET #; a block was not freed; result 0; value $"},
    {4, value, leftNo, "GETCURRENT #; result 0; value $"},
    {4, no, leftCheck, "GETCURRENT #; !refused; GET #; !refused; a block was not freed; result 0; value ?"},
    {5, no, value, "GETCURRENT #; !refused; GET #; result 0; value $"},
    {2, no, value, "!sequence; value 777", plain, unchecked},
    {2, no, no, "GETCURRENT #; !refused; GET #; !refused; result 13; value 777", unchecked},
    {1, no, value, "!manager; value 777"},
};

const Answer refusal = failWith(TWCC_CAPUNSUPPORTED);

}  // namespace

TEST_CASE("a getter gives what the first message says, else the second, of containers it can read") {
    Stages stages;
    for (const auto& row : answers) {
        for (const Getter& getter : getters) {
            if ((getter.traits & row.with) != row.with || (getter.traits & row.without) != 0) continue;
            std::string record = filled(row.record, '$', std::to_string(getter.samples.back().host));
            record = filled(record, '?', getter.afterFailure);
            const std::vector<Answer> said = answersOf(getter);
            checkReading(stages.in(row.state), {row.state, said[row.current], said[row.get], record},
                         getter.read, getter.method, getter.capability);
        }
    }
}

TEST_CASE("what a getter makes of the source's values") {
    Stages stages;
    for (const Getter& getter : getters) {
        for (const auto& [source, host] : getter.samples)
            checkReading(stages.in(4),
                         {4, give(oneValue(getter.type, source)), refusal,
                          "GETCURRENT #; result 0; value " + std::to_string(host)},
                         getter.read, getter.method, getter.capability);
    }
}

TEST_CASE("the supported values are the bits of a list") {
    const auto listOf = [](const Items& items) { return give(enumeration(word, items, 1)); };
    const Reading rows[] = {
        {4, refusal, listOf({2, 0, 1}), "GET #; result 0; value 7"},
        // Those without a bit are left out.
        {4, refusal, listOf({1, 9, 16, 32, 40000}), "GET #; result 0; value 2"},
        {4, refusal, give(enumeration(TWTY_UINT8, {3, 8})), "GET #; result 0; value 264"},
        {4, refusal, give(enumeration(TWTY_UINT32, {3, 0x10000})), "GET #; result 0; value 8"},
        {4, refusal, listOf({}), "GET #; result 0; value 0"},
        {4, refusal, give(oneValue(word, 1)), "GET #; !container; result 10; value 0"},
        {4, refusal, give(array(word, {0, 1})), "GET #; !container; result 10; value 0"},
        {5, listOf({1}), refusal, "GET #; !refused; result 13; value 0"},
        {5, listOf({1}), returnCode(TWRC_CHECKSTATUS), "GET #; !refused; result 0; value 0"},
        {2, refusal, listOf({1}), "!sequence; value 777"},
    };
    checkReadings(rows, reader(&Module::GetSupportedPixelType), "GetSupportedPixelType", ICAP_PIXELTYPE);
    checkReadings(rows, reader(&Module::GetSupportedPaperSize), "GetSupportedPaperSize", ICAP_SUPPORTEDSIZES);
}

TEST_CASE("a feeder is there when its capability can be asked, before the source is enabled") {
    const Reading rows[] = {
        {4, refusal, give(oneValue(flag, 0)), "GET #; result 0; value 1"},
        {4, refusal, give(array(flag, {1})), "GET #; result 0; value 1"},
        {4, refusal, give(withoutHandle(TWON_RANGE)), "GET #; result 0; value 1"},
        {4, give(oneValue(flag, 1)), refusal, "GET #; !refused; result 13; value 0"},
        {4, refusal, returnCode(TWRC_CHECKSTATUS), "GET #; !refused; result 0; value 0"},
        {2, refusal, refusal, "GET #; !refused; result 13; value 0"},
        {5, refusal, refusal, "!sequence; value 777"},
        {1, refusal, refusal, "!manager; value 777"},
    };
    checkReadings(rows, reader(&Module::IsADFAvailable), "IsADFAvailable", CAP_FEEDERENABLED);
}

TEST_CASE("the pending count needs an enabled source and asks nothing") {
    const Reading rows[] = {{4, refusal, refusal, "!sequence; value 777"}, {5, {}, {}, "result 0; value 0"}};
    checkReadings(rows, reader(&Module::GetPendingCount), "GetPendingCount", 0);
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
        const auto check = [&](const std::string& text, int(WINAPI * get)(char*)) {
            char output[34] = "before";
            const auto read = [&] { return resultText(get(output), output); };
            checkCall(*stage, row.record + text.substr(0, 33), "GetDSProductName", read);
        };
        check(row.name, stage->module.GetDSProductName);
        check(row.family, stage->module.GetDSProductFamily);
    }
}
