// The maker's extensions, beyond what every getter and setter does: switches
// built in place, outputs after failure, the getters with rules of their own,
// and the operations outside capabilities.
#include <cstring>

#include "CallRecord.h"

namespace {

using Get = int (WINAPI* Module::*)(unsigned short*);

// The number behind a 16-bit output has to stay.
std::function<std::string(Module&)> reader(Get get, unsigned short before) {
    return [=](Module& module) {
        unsigned short values[] = {before, 0xabcd};
        const int result = (module.*get)(values);
        return values[1] == 0xabcd ? resultText(result, values[0]) : "wrote more than 16 bits";
    };
}

Answer word(TW_UINT32 value) {
    return give(oneValue(TWTY_UINT16, value));
}

const Answer no = failWith(TWCC_CAPUNSUPPORTED), noBlock = give(withoutHandle(TWON_ONEVALUE));
const Answer anArray = give(array(TWTY_UINT16, {7})), aRange = give(range(TWTY_UINT16, {0, 9, 1, 0, 7}));
const std::string refusedTwice = "GETCURRENT #; STATUS; GET #; STATUS; !refused; !refused; result 13; ";

}  // namespace

TEST_CASE(
    "a switch is built in place, without lines of the codec, and sent as "
    "given or not at all") {
    const struct {
        const char* method;
        TW_UINT16 capability;
        int (WINAPI* Module::*set)(int);
    } switches[] = {
        {"SetKvUnSharpMask", 0x800e, &Module::SetKvUnSharpMask},
        {"SetKvDraftScan", 0x8004, &Module::SetKvDraftScan},
        {"SetKvDescreeing", 0x800a, &Module::SetKvDescreeing},
        {"SetClearPage", CAP_CLEARPAGE, &Module::SetClearPage},
        {"SetPIMFlag", 0x8010, &Module::SetPIMFlag},
    };
    for (const auto& row : switches) {
        Stage stage;
        stage.open();
        const auto check = [&](int value, const char* record) {
            const auto set = [&] { return resultText((stage.module.*row.set)(value)); };
            checkCall(stage, record, set, row.method, row.capability);
        };
        check(-1, "SET # one BOOL 65535; result 0");
        check(2, "SET # one BOOL 2; result 0");
        CHECK(stage.viewer.traces().with("Buildup") == Lines{});
        stage.windows.locksThatSucceed = 0;
        check(1, "! Memory alloc error in @; result 2");
        stage.windows.largestAllocation = sizeof(TW_ONEVALUE);
        check(1, "! Memory alloc error in @; result 2");
        CHECK(stage.windows.ownedBlocks() == 0);
    }
}

TEST_CASE("answers that can't be read leave the output as it was") {
    const struct {
        const char* method;
        TW_UINT16 capability;
        Get get;
    } getters[] = {
        {"GetKvUnSharpMask", 0x800e, &Module::GetKvUnSharpMask},
        {"GetClearPage", CAP_CLEARPAGE, &Module::GetClearPage},
        {"GetPIMFlag", 0x8010, &Module::GetPIMFlag},
        {"GetKvLUT1", 0x8007, &Module::GetKvLUT1},
        {"GetKvLUT2", 0x8008, &Module::GetKvLUT2},
        {"GetKvCC", 0x8009, &Module::GetKvCC},
    };
    const Reading rows[] = {
        {4, no, no, refusedTwice + "value 5"},
        {4, aRange, anArray, "GETCURRENT #; GET #; !container; !container; result 10; value 5"},
        {4, give(oneValue(TWTY_INT32, 70000)), no, "GETCURRENT #; result 0; value 4464"},
    };
    for (const auto& getter : getters)
        for (const Reading& row : rows)
            checkReading(row, reader(getter.get, 5), getter.method, getter.capability);
}

TEST_CASE("the UI mode is mapped after each attempt, also when it failed") {
    const std::string second = "GETCURRENT #; STATUS; GET #; !refused; ";
    const struct {
        unsigned short before;
        Reading reading;
    } rows[] = {
        {3, {4, no, no, refusedTwice + "value 0"}},
        {1, {4, no, anArray, second + "!container; result 10; value 1"}},
        {777,
         {4, anArray, no,
          "GETCURRENT #; GET #; STATUS; !container; !refused; result 13; value "
          "0"}},
        {777, {4, no, word(3), second + "result 0; value 2"}},
    };
    for (const auto& row : rows)
        checkReading(row.reading, reader(&Module::GetKvUIMode, row.before), "GetKvUIMode", 0x800f);
}

TEST_CASE(
    "the version is asked once, for one value, and its bad container "
    "names another method") {
    const std::string get = "GET # contype " + std::to_string(TWON_ONEVALUE) + "; ";
    const std::string asGetUnit = "! Invalid container type in TScanModule::GetUnit; ";
    const Reading rows[] = {
        {4, no, word(258), get + "result 0; value 258"},
        {5, no, give(enumeration(TWTY_UINT16, {1, 2, 3}, 2)), get + "result 0; value 3"},
        {4, no, no, get + "STATUS; !refused; result 13; value 0"},
        {4, no, aRange, get + asGetUnit + "result 10; value 0"},
        {4, no, noBlock, get + "! Invalid memory in ExtractOneValue; result 10; value 0"},
        {2, no, no, "!sequence; value 777"},
    };
    for (const Reading& row : rows)
        checkReading(row, reader(&Module::GetKvVersion, 777), "GetKvVersion", 0x8001);
}

TEST_CASE("the highest resolution for descreening is a TW_FIX32, asked once") {
    const Answer one = give(oneValue(TWTY_FIX32, fix32(300.5)));
    const Reading rows[] = {
        {4, no, one, "GET #; result 0; value 300.5"},
        {5, no, give(enumeration(TWTY_FIX32, {fix32(75), fix32(600)}, 1)), "GET #; result 0; value 600"},
        {4, one, no, "GET #; STATUS; !refused; result 13; value 777"},
        {4, one, aRange, "GET #; !container; result 10; value 777"},
        {2, no, one, "!sequence; value 777"},
    };
    const auto read = [](Module& module) {
        double resolution = 777;
        const int result = module.GetMaxResForKvDescreeing(&resolution);
        return resultText(result, resolution);
    };
    for (const Reading& row : rows)
        checkReading(row, read, "GetMaxResForKvDescreeing", 0x800b);
}

TEST_CASE("a block of the host's goes to the source as it is") {
    const struct {
        const char* method;
        int (WINAPI* Module::*call)(void*);
        TW_UINT16 type, message;
        std::string sent;
        bool needsSource;
    } calls[] = {
        {"SetKvAutoExposureMode", &Module::SetKvAutoExposureMode, 0x8001, MSG_SET, "0x8001 SET; ", true},
        {"GetKvDefaultRgbMatrix", &Module::GetKvDefaultRgbMatrix, 0x8002, MSG_GETDEFAULT,
         "0x8002 GETDEFAULT; ", true},
        {"SetKvRgbResponse", &Module::SetKvRgbResponse, DAT_RGBRESPONSE, MSG_SET, "0x0108 SET; ", false},
        {"GetKvRgbResponse", &Module::GetKvRgbResponse, DAT_RGBRESPONSE, MSG_GET, "0x0108 GET; ", false},
    };
    for (const auto& row : calls) {
        const std::string taken = "DG 2 DAT " + row.sent + "result 0; value source's";
        const std::string refused = "DG 2 DAT " + row.sent + "STATUS; !failure; result 6; value source's";
        const struct {
            int state;
            Answer answer;
            std::string record;
        } cases[] = {
            {4, succeed(), taken},
            {5, failWith(TWCC_BADCAP), refused},
            {2, succeed(), row.needsSource ? "!sequence; value host's" : taken},
            {1, succeed(), "!manager; value host's"},
        };
        for (const auto& one : cases) {
            char block[16] = "host's";
            StageIn stage(one.state);
            Answer answer = one.answer;
            answer.act = [&](TW_MEMREF data) { std::strcpy(static_cast<char*>(data), "source's"); };
            stage->manager.answer({DG_IMAGE, row.type, row.message}, answer);
            const auto call = [&] { return resultText((stage->module.*row.call)(block), block); };
            checkCall(*stage, one.record, call, row.method);
        }
    }
}
