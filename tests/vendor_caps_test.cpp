// The maker's extensions, beyond what every getter and setter does: outputs after failure, the getters with
// rules of their own, and the operations outside capabilities.
#include <array>

#include "CallRecord.h"

TEST_CASE("the UI mode is mapped after each attempt, also when it failed") {
    const struct {
        std::string call, record;
    } rows[] = {
        {"GetKvUIMode 3", "GETCURRENT #; !refused; GET # -> fail 13; !refused; result 13; value 0"},
        {"GetKvUIMode 1",
         "GETCURRENT #; !refused; GET # -> array UINT16 [7]; !container; result 10; value 1"},
    };
    Stages stages;
    for (const auto& row : rows)
        checkCall(stages.in(4), row.call, row.record, KV_UIMODE);
}

TEST_CASE("the version is asked once, for one value, and its bad container names another method") {
    const std::string get = "GET # contype " + std::to_string(TWON_ONEVALUE);
    const std::string asGetUnit = "! Invalid container type in TScanModule::GetUnit; ";
    const std::string rows[] = {
        get + " -> one UINT16 3; result 0; value 3",
        get + " -> fail 13; !refused; result 13; value 0",
        get + " -> check; !refused; result 0; value 0",
        get + " -> range UINT16 0 9 1 0 7; " + asGetUnit + "result 10; value 0",
        "state 5; " + get + " -> enum UINT16 [1 2 258] current 2; result 0; value 258",
        "state 2; !sequence; value 777",
        "state 1; !manager; value 777",
    };
    checkCalls(rows, "GetKvVersion", KV_VERSION);
}

TEST_CASE("the highest resolution for descreening is a TW_FIX32, asked once") {
    const std::string rows[] = {
        "GET # -> one FIX32 300.5; result 0; value 300.5",
        "GET # -> fail 13; !refused; result 13; value 777",
        "GET # -> range FIX32 0 9 1 0 7; !container; result 10; value 777",
        "state 5; GET # -> enum FIX32 [75 600] current 1; result 0; value 600",
        "state 2; !sequence; value 777",
    };
    checkCalls(rows, "GetMaxResForKvDescreeing", KV_DESCREENINGLIMIT);
}

TEST_CASE("a block of the host's goes to the source as it is") {
    const std::string early = "!sequence; value before", done = "%; result 0; value source's";
    const struct {
        std::string method, sent, withoutSource;
    } operations[] = {
        {"SetKvAutoExposureMode", "DG 2 DAT 0x8001 SET", early},
        {"GetKvDefaultRgbMatrix", "DG 2 DAT 0x8002 GETDEFAULT", early},
        // Kept: the response curve needs no open source.
        {"SetKvRgbResponse", "DG 2 DAT 0x0108 SET", done},
        {"GetKvRgbResponse", "DG 2 DAT 0x0108 GET", done},
    };
    Stages stages;
    for (const auto& operation : operations) {
        const std::string rows[] = {
            done,
            "state 5; % -> fail 6; !failure; result 6; value before",
            "state 5; % -> check; !failure; result 0; value before",
            "state 2; " + operation.withoutSource,
            "state 1; !manager; value before",
        };
        for (const std::string& row : rows) {
            Stage& stage = stages.forRow(row);
            stage.manager.answerLine(operation.sent, copy(std::array<char, 9>{"source's"}));
            checkCall(stage, operation.method, filled(row, '%', operation.sent));
        }
    }
}
