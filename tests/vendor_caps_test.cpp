// The maker's extensions, beyond what every getter and setter does: switches built in place, outputs after
// failure, the getters with rules of their own, and the operations outside capabilities.
#include <cstring>

#include "CallRecord.h"

namespace {

struct Switch {
    const char* method;
    TW_UINT16 capability;
    int (WINAPI* Module::*set)(int);
};
const Switch switches[] = {
    {"SetKvUnSharpMask", 0x800e, &Module::SetKvUnSharpMask},
    {"SetKvDraftScan", 0x8004, &Module::SetKvDraftScan},
    {"SetKvDescreeing", 0x800a, &Module::SetKvDescreeing},
    {"SetClearPage", CAP_CLEARPAGE, &Module::SetClearPage},
    {"SetPIMFlag", 0x8010, &Module::SetPIMFlag},
};

struct Getter {
    const char* method;
    TW_UINT16 capability;
    std::function<std::string(Module&, unsigned short before)> read;
};

// The number behind a 16-bit output has to stay.
Getter getter(const char* method, TW_UINT16 capability, int (WINAPI* Module::*get)(unsigned short*)) {
    return {method, capability, [get](Module& module, unsigned short before) {
                unsigned short values[] = {before, 0xabcd};
                const int result = (module.*get)(values);
                return values[1] == 0xabcd ? resultText(result, values[0]) : "wrote more than 16 bits";
            }};
}

const Getter plainGetters[] = {
    getter("GetKvUnSharpMask", 0x800e, &Module::GetKvUnSharpMask),
    getter("GetClearPage", CAP_CLEARPAGE, &Module::GetClearPage),
    getter("GetPIMFlag", 0x8010, &Module::GetPIMFlag),
    getter("GetKvLUT1", 0x8007, &Module::GetKvLUT1),
    getter("GetKvLUT2", 0x8008, &Module::GetKvLUT2),
    getter("GetKvCC", 0x8009, &Module::GetKvCC),
};
const Getter uiMode = getter("GetKvUIMode", 0x800f, &Module::GetKvUIMode);
const Getter version = getter("GetKvVersion", 0x8001, &Module::GetKvVersion);
const Getter maxResolution = {"GetMaxResForKvDescreeing", 0x800b, [](Module& module, unsigned short before) {
                                  double resolution = before;
                                  const int result = module.GetMaxResForKvDescreeing(&resolution);
                                  return resultText(result, resolution);
                              }};

struct Row {
    int state;
    unsigned short before;
    Answer current, get;
    std::string record;
};

void checkReading(const Getter& getter, const Row& row) {
    CAPTURE(row.record);
    StageIn stage(row.state);
    stage->manager.answer(operation::getCurrent(getter.capability), row.current);
    stage->manager.answer(operation::get(getter.capability), row.get);
    const Lines record = recordOf(*stage, [&] { return getter.read(stage->module, row.before); });
    CHECK(record == expectedRecord(row.record, getter.method, getter.capability));
}

Answer word(TW_UINT32 value) {
    return give(oneValue(TWTY_UINT16, value));
}

const Answer no = failWith(TWCC_CAPUNSUPPORTED);
const Answer anArray = give(array(TWTY_UINT16, {7})), aRange = give(range(TWTY_UINT16, {0, 9, 1, 0, 7}));
const Answer list = give(enumeration(TWTY_UINT16, {1, 2, 3}, 2)),
             noBlock = give(withoutHandle(TWON_ONEVALUE));
const std::string asked = "GETCURRENT #; GET #; ", refusedTwice = "GETCURRENT #; STATUS; GET #; STATUS; ";
const std::string unread = "! Invalid memory in ExtractOneValue; ";

}  // namespace

TEST_CASE("a switch is built in place, without lines of the codec, and sent as given or not at all") {
    for (const Switch& row : switches) {
        CAPTURE(std::string(row.method));
        Stage stage;
        stage.open();
        std::vector<TW_UINT32> items;
        stage.manager.answer(
            operation::set(row.capability), fill<TW_CAPABILITY>([&](TW_CAPABILITY& sent) {
                items.push_back(static_cast<TW_ONEVALUE*>(GlobalLock(sent.hContainer))->Item);
                GlobalUnlock(sent.hContainer);
            }));
        const auto send = [&](int value) {
            return recordOf(stage, [&] { return resultText((stage.module.*row.set)(value)); });
        };
        const auto expected = [&](const char* text) {
            return expectedRecord(text, row.method, row.capability);
        };
        CHECK(send(2) == expected("SET # one BOOL 2; result 0"));
        CHECK(stage.viewer.traces().with("Buildup") == Lines{});
        CHECK(send(-1) == expected("SET # one BOOL 65535; result 0"));
        CHECK(items == std::vector<TW_UINT32>{2, 0xffffffff});
        stage.windows.largestAllocation = sizeof(TW_ONEVALUE);
        CHECK(send(1) == expected("! Memory alloc error in @; result 2"));
        stage.windows.largestAllocation = SIZE_MAX;
        stage.windows.locksThatSucceed = 0;
        CHECK(send(1) == expected("! Memory alloc error in @; result 2"));
        CHECK(stage.windows.ownedBlocks() == 0);
    }
}

TEST_CASE("answers that can't be read leave the output as it was") {
    const Answer text = give(oneValue(TWTY_STR32, 7)), large = give(oneValue(TWTY_INT32, 70000));
    const Row rows[] = {
        {4, 5, no, no, refusedTwice + "!refused; !refused; result 13; value 5"},
        {4, 5, aRange, anArray, asked + "!container; !container; result 10; value 5"},
        {4, 5, text, text, asked + "result 10; value 5"},
        {4, 5, noBlock, word(7), asked + unread + "result 0; value 7"},
        {4, 5, large, no, "GETCURRENT #; result 0; value 4464"},
    };
    for (const Getter& getter : plainGetters)
        for (const Row& row : rows)
            checkReading(getter, row);
}

TEST_CASE("the UI mode is mapped after each attempt, also when it failed") {
    const std::string second = "GETCURRENT #; STATUS; GET #; !refused; ";
    const Row rows[] = {
        {4, 3, no, no, refusedTwice + "!refused; !refused; result 13; value 0"},
        {4, 1, no, anArray, second + "!container; result 10; value 1"},
        {4, 777, noBlock, anArray, asked + unread + "!container; result 10; value 0"},
        {4, 777, no, word(3), second + "result 0; value 2"},
        {4, 777, word(3), no, "GETCURRENT #; result 0; value 2"},
    };
    for (const Row& row : rows)
        checkReading(uiMode, row);
}

TEST_CASE("the version is asked once, for one value, and its bad container names another method") {
    const std::string get = "GET # contype " + std::to_string(TWON_ONEVALUE) + "; ";
    const std::string asGetUnit = get + "! Invalid container type in TScanModule::GetUnit; ";
    const Row rows[] = {
        {4, 777, no, word(258), get + "result 0; value 258"},
        {5, 777, no, list, get + "result 0; value 3"},
        {4, 777, no, no, get + "STATUS; !refused; result 13; value 0"},
        {4, 777, no, aRange, asGetUnit + "result 10; value 0"},
        {4, 777, no, noBlock, get + unread + "result 10; value 0"},
        {2, 777, no, no, "!sequence; value 777"},
        {1, 777, no, no, "!manager; value 777"},
    };
    for (const Row& row : rows)
        checkReading(version, row);
}

TEST_CASE("the highest resolution for descreening is a TW_FIX32, asked once") {
    const Answer one = give(oneValue(TWTY_FIX32, fix32(300.5)));
    const Answer two = give(enumeration(TWTY_FIX32, {fix32(75), fix32(600)}, 1));
    const Row rows[] = {
        {4, 777, no, one, "GET #; result 0; value 300.5"},
        {5, 777, no, two, "GET #; result 0; value 600"},
        {4, 777, one, no, "GET #; STATUS; !refused; result 13; value 777"},
        {4, 777, one, aRange, "GET #; !container; result 10; value 777"},
        {2, 777, no, one, "!sequence; value 777"},
        {1, 777, no, one, "!manager; value 777"},
    };
    for (const Row& row : rows)
        checkReading(maxResolution, row);
}

TEST_CASE("a block of the host's goes to the source as it is") {
    struct BlockCall {
        const char* method;
        int (WINAPI* Module::*call)(void*);
        Operation operation;
        std::string sent;
        bool needsSource;
    };
    const Operation exposure{DG_IMAGE, 0x8001, MSG_SET}, matrix{DG_IMAGE, 0x8002, MSG_GETDEFAULT};
    const Operation setCurve{DG_IMAGE, DAT_RGBRESPONSE, MSG_SET},
        getCurve{DG_IMAGE, DAT_RGBRESPONSE, MSG_GET};
    const BlockCall calls[] = {
        {"SetKvAutoExposureMode", &Module::SetKvAutoExposureMode, exposure, "DG 2 DAT 0x8001 SET; ", true},
        {"GetKvDefaultRgbMatrix", &Module::GetKvDefaultRgbMatrix, matrix, "DG 2 DAT 0x8002 GETDEFAULT; ",
         true},
        {"SetKvRgbResponse", &Module::SetKvRgbResponse, setCurve, "DG 2 DAT 0x0108 SET; ", false},
        {"GetKvRgbResponse", &Module::GetKvRgbResponse, getCurve, "DG 2 DAT 0x0108 GET; ", false},
    };
    for (const BlockCall& row : calls) {
        const std::string taken = row.sent + "result 0; value source's";
        const struct {
            int state;
            bool succeeds;
            std::string record;
        } cases[] = {
            {4, true, taken},
            {5, true, taken},
            {4, false, row.sent + "STATUS; !failure; result 6; value host's"},
            {2, true, row.needsSource ? "!sequence; value host's" : taken},
            {1, true, "!manager; value host's"},
        };
        for (const auto& one : cases) {
            CAPTURE(one.record);
            char block[16] = "host's";
            StageIn stage(one.state);
            Answer answer = one.succeeds ? succeed() : failWith(TWCC_BADCAP);
            answer.act = [&](TW_MEMREF data) {
                CHECK(data == block);
                if (one.succeeds) std::strcpy(block, "source's");
            };
            stage->manager.answer(row.operation, answer);
            const Lines record =
                recordOf(*stage, [&] { return resultText((stage->module.*row.call)(block), block); });
            CHECK(record == expectedRecord(one.record, row.method));
        }
    }
}
