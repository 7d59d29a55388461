// The maker's extensions, beyond what every getter and setter does: switches built in place, outputs after
// failure, the getters with rules of their own, and the operations outside capabilities.
#include <cstring>

#include "CallRecord.h"

namespace {

const Answer no = failWith(TWCC_CAPUNSUPPORTED), three = give(oneValue(TWTY_UINT16, 3));
const Answer anArray = give(array(TWTY_UINT16, {7})), aRange = give(range(TWTY_UINT16, {0, 9, 1, 0, 7}));

}  // namespace

TEST_CASE("a switch is built in place, without lines of the codec, and sent as given or not at all") {
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
            checkCall(stage, record, row.method, set, row.capability);
        };
        check(-1, "SET # one BOOL 65535; result 0");
        check(2, "SET # one BOOL 2; result 0");
        CHECK(stage.viewer.traces().with("Buildup") == Lines{});
        stage.windows.locksThatSucceed = 0;
        check(1, "! Memory alloc error in @; result 2");
        CHECK(stage.windows.ownedBlocks() == 0);
    }
}

TEST_CASE("the UI mode is mapped after each attempt, also when it failed") {
    const std::string asked = "GETCURRENT #; ", second = "STATUS; GET #; !refused; ";
    const struct {
        unsigned short before;
        Reading reading;
    } rows[] = {
        {3, {4, no, no, asked + "STATUS; GET #; STATUS; !refused; !refused; result 13; value 0"}},
        {1, {4, no, anArray, asked + second + "!container; result 10; value 1"}},
        {777, {4, anArray, no, asked + "GET #; STATUS; !container; !refused; result 13; value 0"}},
        {777, {4, no, three, asked + second + "result 0; value 2"}},
    };
    for (const auto& row : rows)
        checkReading(row.reading, reader(&Module::GetKvUIMode, row.before), "GetKvUIMode", 0x800f);
}

TEST_CASE("the version is asked once, for one value, and its bad container names another method") {
    const std::string get = "GET # contype " + std::to_string(TWON_ONEVALUE) + "; ";
    const std::string asGetUnit = "! Invalid container type in TScanModule::GetUnit; ";
    const Reading rows[] = {
        {4, no, three, get + "result 0; value 3"},
        {5, no, give(enumeration(TWTY_UINT16, {1, 2, 258}, 2)), get + "result 0; value 258"},
        {4, no, no, get + "STATUS; !refused; result 13; value 0"},
        {4, no, aRange, get + asGetUnit + "result 10; value 0"},
        {2, no, no, "!sequence; value 777"},
    };
    for (const Reading& row : rows)
        checkReading(row, reader(&Module::GetKvVersion), "GetKvVersion", 0x8001);
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
    for (const Reading& row : rows)
        checkReading(row, reader(&Module::GetMaxResForKvDescreeing), "GetMaxResForKvDescreeing", 0x800b);
}

TEST_CASE("a block of the host's goes to the source as it is") {
    const struct {
        const char* method;
        int (WINAPI* Module::*call)(void*);
        TW_UINT16 type, message;
        std::string sent;
    } rows[] = {
        {"SetKvAutoExposureMode", &Module::SetKvAutoExposureMode, 0x8001, MSG_SET, "0x8001 SET; "},
        {"GetKvDefaultRgbMatrix", &Module::GetKvDefaultRgbMatrix, 0x8002, MSG_GETDEFAULT,
         "0x8002 GETDEFAULT; "},
        {"SetKvRgbResponse", &Module::SetKvRgbResponse, DAT_RGBRESPONSE, MSG_SET, "0x0108 SET; "},
        {"GetKvRgbResponse", &Module::GetKvRgbResponse, DAT_RGBRESPONSE, MSG_GET, "0x0108 GET; "},
    };
    for (const auto& row : rows) {
        for (const int state : {1, 2, 4, 5}) {
            char block[16] = "host's";
            StageIn stage(state);
            Answer answer = state == 5 ? failWith(TWCC_BADCAP) : succeed();
            answer.act = [&](TW_MEMREF data) { std::strcpy(static_cast<char*>(data), "source's"); };
            stage->manager.answer({DG_IMAGE, row.type, row.message}, answer);
            std::string record = "DG 2 DAT " + row.sent;
            record += state == 5 ? "STATUS; !failure; result 6; value source's" : "result 0; value source's";
            if (state == 1) record = "!manager; value host's";
            // Kept: the response curve needs no open source.
            if (state == 2 && row.type != DAT_RGBRESPONSE) record = "!sequence; value host's";
            checkCall(*stage, record, row.method,
                      [&] { return resultText((stage->module.*row.call)(block), block); });
        }
    }
}
