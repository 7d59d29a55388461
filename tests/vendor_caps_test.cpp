// The maker's extensions, beyond what every getter and setter does: switches built in place, outputs after
// failure, unreadable answers, the getters with rules of their own, and the operations outside capabilities.
#include <doctest.h>

#include <cstdio>
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
    int (WINAPI* Module::*get)(unsigned short*);
};

const Getter getters[] = {
    {"GetKvUnSharpMask", 0x800e, &Module::GetKvUnSharpMask},
    {"GetClearPage", CAP_CLEARPAGE, &Module::GetClearPage},
    {"GetPIMFlag", 0x8010, &Module::GetPIMFlag},
    {"GetKvLUT1", 0x8007, &Module::GetKvLUT1},
    {"GetKvLUT2", 0x8008, &Module::GetKvLUT2},
    {"GetKvCC", 0x8009, &Module::GetKvCC},
};

const std::string refusal = "! CapNegotiate returns failure in @";
const std::string badContainer = "! Invalid container type in @";

Lines bracketed(const std::string& name, const Lines& lines) {
    return Lines{"Coming " + name} + lines + Lines{"Leaving " + name};
}

// The trace of a negotiation with everything below it.
Lines tracedAvailability() {
    const Lines loaded = bracketed("TScanModule::IsTWAINLoaded", {"TScanModule::IsTWAINLoaded returns TRUE"});
    return bracketed("TScanModule::IsTWAINAvailable",
                     2 * loaded + Lines{"TScanModule::IsTWAINAvailable returns TRUE"});
}
Lines tracedNegotiation() {
    return bracketed("TScanModule::CapNegotiate", tracedAvailability());
}

// What a 16-bit getter gives and writes; the number behind its output has to stay.
Lines readValue(Module& module, int (WINAPI* Module::*get)(unsigned short*), unsigned short before) {
    unsigned short values[] = {before, 0xabcd};
    const int result = (module.*get)(values);
    Lines lines = {resultLine(result), "value " + std::to_string(values[0])};
    if (values[1] != 0xabcd) lines.push_back("wrote more than 16 bits");
    return lines;
}

Lines numberLines(int result, double value) {
    char text[40];
    std::snprintf(text, sizeof text, "value %g", value);
    return {resultLine(result), text};
}

}  // namespace

TEST_CASE("a switch is built in place, without lines of the codec, and sent as given") {
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
        CHECK((stage.module.*row.set)(2) == 0);
        CHECK(stage.viewer.traces() == bracketed(std::string("TScanModule::") + row.method,
                                                 tracedAvailability() + tracedNegotiation()));
        CHECK((stage.module.*row.set)(-1) == 0);
        CHECK(items == std::vector<TW_UINT32>{2, 0xffffffff});
        CHECK(stage.manager.calls().front() ==
              "SET " + operation::capabilityName(row.capability) + " one BOOL 2");
        CHECK(stage.windows.allocations == std::vector<SIZE_T>{6, 6});
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("a mode is built by the codec and sent as given") {
    Stage stage;
    stage.open();
    CHECK(stage.module.SetKvUIMode(2) == 0);
    CHECK(stage.viewer.traces() ==
          bracketed("TScanModule::SetKvUIMode",
                    tracedAvailability() + bracketed("BuildupOneValue", {}) + tracedNegotiation()));
    CHECK(stage.module.SetKvExposureMode(65535) == 0);
    CHECK(stage.manager.calls() == Lines{"SET CAP 0x800F one UINT16 2", "SET CAP 0x8005 one UINT16 65535"});
}

TEST_CASE("a switch that can't be built is not sent") {
    for (const Switch& row : switches) {
        CAPTURE(std::string(row.method));
        for (bool isLock : {false, true}) {
            CAPTURE(isLock);
            Stage stage;
            stage.open();
            if (isLock) {
                stage.windows.locksThatSucceed = 0;
            } else {
                stage.windows.largestAllocation = 6;
            }
            CHECK((stage.module.*row.set)(1) == 2);
            CHECK(stage.manager.calls() == Lines{});
            CHECK(stage.viewer.warnings().size() == 1);
            CHECK(stage.windows.ownedBlocks() == 0);
        }
    }
}

TEST_CASE("answers that can't be read leave the output as it was") {
    struct Row {
        const char* name;
        Answer current, get;
        Lines record;
    };
    const std::string oneUnread = "! Invalid memory in ExtractOneValue";
    const std::string listUnread = "! Invalid memory in ExtractEnumerationValue";
    ContainerImage overlong = enumeration(TWTY_UINT16, {7, 8, 9});
    overlong.bytes[2] = 4;
    const Answer no = failWith(TWCC_CAPUNSUPPORTED);
    const Row rows[] = {
        {"refused twice", no, no,
         Lines{"GETCURRENT #", "STATUS", "GET #", "STATUS", refusal, refusal, "result 13", "value 5"}},
        {"a range and an array", give(range(TWTY_UINT16, {0, 9, 1, 0, 7})), give(array(TWTY_UINT16, {7})),
         Lines{"GETCURRENT #", "GET #", badContainer, badContainer, "result 10", "value 5"}},
        {"no block", give(withoutHandle(TWON_ONEVALUE)), give(withoutHandle(TWON_ENUMERATION)),
         Lines{"GETCURRENT #", "GET #", oneUnread, listUnread, "result 10", "value 5"}},
        {"blocks too short", give(rawContainer(TWON_ONEVALUE, {4, 0, 7})),
         give(rawContainer(TWON_ENUMERATION, {4, 0, 1, 0, 0, 0})),
         Lines{"GETCURRENT #", "GET #", oneUnread, listUnread, "result 10", "value 5"}},
        {"a list longer than its block, an index past the end", give(overlong),
         give(enumeration(TWTY_UINT16, {7, 8, 9}, 3)),
         Lines{"GETCURRENT #", "GET #", listUnread, listUnread, "result 10", "value 5"}},
        {"a text and a frame", give(oneValue(TWTY_STR32, 7)), give(oneValue(TWTY_FRAME, 7)),
         Lines{"GETCURRENT #", "GET #", "result 10", "value 5"}},
        {"unreadable, then one value", give(withoutHandle(TWON_ONEVALUE)), give(oneValue(TWTY_UINT16, 7)),
         Lines{"GETCURRENT #", "GET #", oneUnread, "result 0", "value 7"}},
        {"more than 16 bits", give(oneValue(TWTY_INT32, 70000)), no,
         Lines{"GETCURRENT #", "result 0", "value 4464"}},
        {"a narrow list", give(enumeration(TWTY_INT8, {1, 0xff}, 1)), no,
         Lines{"GETCURRENT #", "result 0", "value 255"}},
    };
    for (const Getter& getter : getters) {
        CAPTURE(std::string(getter.method));
        for (const Row& row : rows) {
            CAPTURE(std::string(row.name));
            Stage stage;
            stage.open();
            stage.manager.answer(operation::getCurrent(getter.capability), row.current);
            stage.manager.answer(operation::get(getter.capability), row.get);
            const auto call = [&] { return readValue(stage.module, getter.get, 5); };
            CHECK(CallRecord::of(stage, call) ==
                  CallRecord(getter.method, getter.capability).expected(row.record));
        }
    }
}

TEST_CASE("the UI mode is mapped after each attempt, also when it failed") {
    const Answer no = failWith(TWCC_CAPUNSUPPORTED);
    const Answer anArray = give(array(TWTY_UINT16, {3}));
    const Answer mode3 = give(oneValue(TWTY_UINT16, 3));
    struct Row {
        const char* name;
        unsigned short before;
        Answer current, get;
        int result, mode;
    };
    const Row rows[] = {
        {"3 becomes 2 and that 0", 3, no, no, TWCC_CAPUNSUPPORTED, 0},
        {"1 stays", 1, no, anArray, TWCC_BADVALUE, 1},
        {"everything else is 0", 777, anArray, no, TWCC_CAPUNSUPPORTED, 0},
        {"an answer of the second message is mapped once", 777, no, mode3, 0, 2},
        {"an answer of the first message is mapped once", 777, mode3, no, 0, 2},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.name));
        Stage stage;
        stage.open();
        stage.manager.answer(operation::getCurrent(0x800f), row.current);
        stage.manager.answer(operation::get(0x800f), row.get);
        CHECK(readValue(stage.module, &Module::GetKvUIMode, row.before) ==
              Lines{resultLine(row.result), "value " + std::to_string(row.mode)});
    }
}

TEST_CASE("the version is asked once, for one value, and its bad container names another method") {
    const std::string get = "GET # contype " + std::to_string(TWON_ONEVALUE);
    const std::string asGetUnit = "! Invalid container type in TScanModule::GetUnit";
    struct Row {
        const char* name;
        Session session;
        Answer answer;
        Lines record;
    };
    const Row rows[] = {
        {"one value", Session::Open, give(oneValue(TWTY_UINT16, 258)), {get, "result 0", "value 258"}},
        {"a list", Session::Enabled, give(enumeration(TWTY_UINT16, {1, 2, 3}, 2)),
         Lines{get, "result 0", "value 3"}},
        {"refused", Session::Open, failWith(TWCC_BADCAP), {get, "STATUS", refusal, "result 6", "value 0"}},
        {"a range", Session::Open, give(range(TWTY_UINT16, {0, 9, 1, 0, 7})),
         Lines{get, asGetUnit, "result 10", "value 0"}},
        {"an array", Session::Open, give(array(TWTY_UINT16, {7})), {get, asGetUnit, "result 10", "value 0"}},
        {"no block", Session::Open, give(withoutHandle(TWON_ONEVALUE)),
         Lines{get, "! Invalid memory in ExtractOneValue", "result 10", "value 0"}},
        {"no source", Session::Closed, succeed(), withoutSource + Lines{"value 777"}},
        {"no manager", Session::NoManager, succeed(), withoutManager + Lines{"value 777"}},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.name));
        SessionStage stage(row.session);
        stage->manager.answer(operation::get(0x8001), row.answer);
        const auto call = [&] { return readValue(stage->module, &Module::GetKvVersion, 777); };
        CHECK(CallRecord::of(*stage, call) == CallRecord("GetKvVersion", 0x8001).expected(row.record));
    }
}

TEST_CASE("the highest resolution for descreening is a TW_FIX32, asked once") {
    struct Row {
        const char* name;
        Session session;
        Answer answer;
        Lines record;
    };
    const Row rows[] = {
        {"one value", Session::Open, give(oneValue(TWTY_FIX32, fix32(300.5))),
         Lines{"GET #", "result 0", "value 300.5"}},
        {"a list", Session::Enabled, give(enumeration(TWTY_FIX32, {fix32(75), fix32(600)}, 1)),
         Lines{"GET #", "result 0", "value 600"}},
        {"refused", Session::Open, failWith(TWCC_BADCAP),
         Lines{"GET #", "STATUS", refusal, "result 6", "value 777"}},
        {"a range", Session::Open, give(fix32Range(1, 9, 1, 7)),
         Lines{"GET #", badContainer, "result 10", "value 777"}},
        {"no source", Session::Closed, succeed(), withoutSource + Lines{"value 777"}},
        {"no manager", Session::NoManager, succeed(), withoutManager + Lines{"value 777"}},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.name));
        SessionStage stage(row.session);
        stage->manager.answer(operation::get(0x800b), row.answer);
        const auto call = [&] {
            double resolution = 777;
            const int result = stage->module.GetMaxResForKvDescreeing(&resolution);
            return numberLines(result, resolution);
        };
        CHECK(CallRecord::of(*stage, call) ==
              CallRecord("GetMaxResForKvDescreeing", 0x800b).expected(row.record));
    }
}

namespace {

// Operations outside the capabilities: the host's block goes to the source untouched.
struct BlockCall {
    const char* method;
    int (WINAPI* Module::*call)(void*);
    Operation operation;
    const char* line;
    bool needsSource;
};

const BlockCall blockCalls[] = {
    {"SetKvAutoExposureMode", &Module::SetKvAutoExposureMode, Operation{DG_IMAGE, 0x8001, MSG_SET},
     "DG 2 DAT 0x8001 SET", true},
    {"GetKvDefaultRgbMatrix", &Module::GetKvDefaultRgbMatrix, Operation{DG_IMAGE, 0x8002, MSG_GETDEFAULT},
     "DG 2 DAT 0x8002 GETDEFAULT", true},
    {"SetKvRgbResponse", &Module::SetKvRgbResponse, Operation{DG_IMAGE, DAT_RGBRESPONSE, MSG_SET},
     "DG 2 DAT 0x0108 SET", false},
    {"GetKvRgbResponse", &Module::GetKvRgbResponse, Operation{DG_IMAGE, DAT_RGBRESPONSE, MSG_GET},
     "DG 2 DAT 0x0108 GET", false},
};

}  // namespace

TEST_CASE("a block of the host's goes to the source as it is") {
    for (const BlockCall& row : blockCalls) {
        CAPTURE(std::string(row.method));
        char block[] = "host's block";
        const Lines sent = {row.line, "result 0", "block source's"};
        const Lines refused = {row.line, "STATUS", "! DSM_Entry returns failure in @", "result 6",
                               "block host's block"};
        const Lines unsent = {"block host's block"};
        struct Case {
            const char* name;
            Session session;
            bool succeeds;
            Lines record;
        };
        const Case cases[] = {
            {"taken", Session::Open, true, sent},
            {"enabled", Session::Enabled, true, sent},
            {"refused", Session::Open, false, refused},
            {"no source", Session::Closed, true, row.needsSource ? withoutSource + unsent : sent},
            {"no manager", Session::NoManager, true, withoutManager + unsent},
        };
        for (const Case& one : cases) {
            CAPTURE(std::string(one.name));
            std::strcpy(block, "host's block");
            SessionStage stage(one.session);
            Answer answer = one.succeeds ? succeed() : failWith(TWCC_BADCAP);
            answer.act = [&](TW_MEMREF data) {
                CHECK(data == block);
                if (one.succeeds) std::strcpy(block, "source's");
            };
            stage->manager.answer(row.operation, answer);
            const auto call = [&] {
                const int result = (stage->module.*row.call)(block);
                return Lines{resultLine(result), std::string("block ") + block};
            };
            CHECK(CallRecord::of(*stage, call) == CallRecord(row.method).expected(one.record));
        }
    }
}
