// The maker's extensions, beyond what every getter and setter does: outputs after failure, the getters with
// rules of their own, and the operations outside capabilities.
#include <cstring>

#include "CallRecord.h"

namespace {

const Answer no = failWith(TWCC_CAPUNSUPPORTED), check = returnCode(TWRC_CHECKSTATUS);
const Answer three = give(oneValue(TWTY_UINT16, 3)), anArray = give(array(TWTY_UINT16, {7}));
const Answer aRange = give(range(TWTY_UINT16, {0, 9, 1, 0, 7}));

}  // namespace

TEST_CASE("the UI mode is mapped after each attempt, also when it failed") {
    const struct {
        unsigned short before;
        Reading reading;
    } rows[] = {
        {3, {4, no, no, "GETCURRENT #; !refused; GET #; !refused; result 13; value 0"}},
        {1, {4, no, anArray, "GETCURRENT #; !refused; GET #; !container; result 10; value 1"}},
        {777, {4, no, three, "GETCURRENT #; !refused; GET #; result 0; value 2"}},
    };
    Stages stages;
    for (const auto& row : rows)
        checkReading(stages.in(4), row.reading, reader(&Module::GetKvUIMode, row.before), "GetKvUIMode",
                     KV_UIMODE);
}

TEST_CASE("the version is asked once, for one value, and its bad container names another method") {
    const std::string get = "GET # contype " + std::to_string(TWON_ONEVALUE) + "; ";
    const std::string asGetUnit = "! Invalid container type in TScanModule::GetUnit; ";
    const Reading rows[] = {
        {4, no, three, get + "result 0; value 3"},
        {4, no, no, get + "!refused; result 13; value 0"},
        {4, no, check, get + "!refused; result 0; value 0"},
        {4, no, aRange, get + asGetUnit + "result 10; value 0"},
        {5, no, give(enumeration(TWTY_UINT16, {1, 2, 258}, 2)), get + "result 0; value 258"},
        {2, no, no, "!sequence; value 777"},
        {1, no, no, "!manager; value 777"},
    };
    checkReadings(rows, reader(&Module::GetKvVersion), "GetKvVersion", KV_VERSION);
}

TEST_CASE("the highest resolution for descreening is a TW_FIX32, asked once") {
    const Answer one = give(oneValue(TWTY_FIX32, fix32(300.5)));
    const Reading rows[] = {
        {4, no, one, "GET #; result 0; value 300.5"},
        {4, one, no, "GET #; !refused; result 13; value 777"},
        {4, one, aRange, "GET #; !container; result 10; value 777"},
        {5, no, give(enumeration(TWTY_FIX32, {fix32(75), fix32(600)}, 1)), "GET #; result 0; value 600"},
        {2, no, one, "!sequence; value 777"},
    };
    checkReadings(rows, reader(&Module::GetMaxResForKvDescreeing), "GetMaxResForKvDescreeing",
                  KV_DESCREENINGLIMIT);
}

TEST_CASE("a block of the host's goes to the source as it is") {
    const struct {
        const char* method;
        int (WINAPI* Module::*call)(void*);
        TW_UINT16 type, message;
        std::string sent;
    } operations[] = {
        {"SetKvAutoExposureMode", &Module::SetKvAutoExposureMode, 0x8001, MSG_SET, "0x8001 SET; "},
        {"GetKvDefaultRgbMatrix", &Module::GetKvDefaultRgbMatrix, 0x8002, MSG_GETDEFAULT,
         "0x8002 GETDEFAULT; "},
        {"SetKvRgbResponse", &Module::SetKvRgbResponse, DAT_RGBRESPONSE, MSG_SET, "0x0108 SET; "},
        {"GetKvRgbResponse", &Module::GetKvRgbResponse, DAT_RGBRESPONSE, MSG_GET, "0x0108 GET; "},
    };
    const struct {
        int state;
        Answer answer;
        std::string record;  // behind the operation
    } rows[] = {
        {4, succeed(), "result 0; value source's"},
        {5, failWith(TWCC_BADCAP), "!failure; result 6; value source's"},
        {5, check, "!failure; result 0; value source's"},
        {2, succeed(), "result 0; value source's"},
        {1, succeed(), "!manager; value host's"},
    };
    Stages stages;
    for (const auto& row : rows) {
        for (const auto& operation : operations) {
            char block[16] = "host's";
            Stage& stage = stages.in(row.state);
            Answer answer = row.answer;
            answer.act = [&](TW_MEMREF data) { std::strcpy(static_cast<char*>(data), "source's"); };
            stage.manager.answer({DG_IMAGE, operation.type, operation.message}, answer);
            std::string record = (row.state == 1 ? "" : "DG 2 DAT " + operation.sent) + row.record;
            // Kept: the response curve needs no open source.
            if (row.state == 2 && operation.type != DAT_RGBRESPONSE) record = "!sequence; value host's";
            checkCall(stage, record, operation.method,
                      [&] { return resultText((stage.module.*operation.call)(block), block); });
        }
    }
}
