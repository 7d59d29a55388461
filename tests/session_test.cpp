// The session: manager and source opened, enabled, disabled and closed, with every failure on the way.
#include <doctest.h>

#include <algorithm>

#include "Stage.h"

namespace {

// What opening asks a source that knows no capability.
const Lines openingQueries = refused("GET ICAP_BRIGHTNESS") + refused("GETCURRENT ICAP_BRIGHTNESS") +
                             refused("GET ICAP_CONTRAST") + refused("GETCURRENT ICAP_CONTRAST") +
                             refused("GET ICAP_HIGHLIGHT") + refused("GETCURRENT ICAP_HIGHLIGHT") +
                             refused("GET ICAP_SHADOW") + refused("GETCURRENT ICAP_SHADOW") +
                             refused("GET ICAP_THRESHOLD") + refused("GETCURRENT ICAP_THRESHOLD") +
                             Lines{"SET ICAP_XFERMECH one UINT16 2"} + refused("GETCURRENT ICAP_XFERMECH") +
                             refused("GET ICAP_XFERMECH");

std::string sourceName(Stage& stage) {
    char name[34] = "untouched";
    CHECK(stage.module.GetDSProductName(name) == 0);
    return name;
}

bool isEnabled(const RecordingHost& host) {
    return IsWindowEnabled(host.window()) != FALSE;
}

}  // namespace

TEST_CASE("opening goes through the manager and asks the source what it can") {
    Stage stage;
    CHECK(stage.module.OpenDS(stage.host.window(), "Some Host") == 0);
    CHECK(stage.manager.calls() == Lines{"OPENDSM", "GETDEFAULT", "OPENDS"} + openingQueries);
    CHECK(stage.manager.state() == 4);
    CHECK(stage.manager.parent() == stage.host.window());
    CHECK(std::string(stage.manager.application().ProductName) == "Some Host");
    CHECK(sourceName(stage) == "Plain Source");
    CHECK(stage.windows.memoryComplaints() == Lines{});
}

TEST_CASE("a host that names neither window nor product is the desktop's and the module's") {
    Stage stage;
    CHECK(stage.module.OpenDS(nullptr, nullptr) == 0);
    CHECK(stage.manager.parent() == GetDesktopWindow());
    CHECK(std::string(stage.manager.application().ProductName) == "VORN Scan Module");
    CHECK(stage.viewer.warnings().front() == "Invalid parent window handle in TScanModule::OpenDS");
}

TEST_CASE("a product name is cut to what TWAIN has room for") {
    Stage stage;
    CHECK(stage.module.OpenDS(stage.host.window(), "123456789 123456789 123456789 123456789 ") == 0);
    CHECK(std::string(stage.manager.application().ProductName) == "123456789 123456789 123456789 123");
    CHECK(std::string(stage.manager.application().ProductFamily) == "VORN Scan Module");
}

TEST_CASE("opening an open source does nothing but take the new parent") {
    Stage stage;
    const RecordingHost other;
    stage.open();
    CHECK(stage.module.OpenDS(other.window(), "Another Host") == 0);
    CHECK(stage.manager.takeCalls() == Lines{});
    CHECK(stage.viewer.warnings() == Lines{"DS is already open in TScanModule::OpenDS"});
    stage.module.EnableDS(FALSE, FALSE);
    CHECK(stage.manager.userInterface().hParent == other.window());
    CHECK(std::string(stage.manager.application().ProductName) == "Test Host");
}

TEST_CASE("opening while the source is enabled is refused, after parent and name were taken") {
    Stage stage;
    const RecordingHost other;
    stage.enable();
    CHECK(stage.module.OpenDS(other.window(), "Another Host") == 11);
    CHECK(stage.manager.calls() == Lines{});
    CHECK(stage.viewer.warnings() ==
          Lines{"Sequence error in TScanModule::OpenDSM", "OpenDSM returns failure in TScanModule::OpenDS"});
    stage.module.DisableDS();
    CHECK(stage.manager.userInterface().hParent == other.window());
    CHECK(std::string(stage.manager.application().ProductName) == "Another Host");
}

TEST_CASE("a manager that doesn't open") {
    Stage stage;
    stage.manager.answer(operation::openDsm, failWith(TWCC_LOWMEMORY));
    SUBCASE("its condition code comes back") {
        CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == TWCC_LOWMEMORY);
        CHECK(stage.manager.calls() == refused("OPENDSM"));
        CHECK(stage.viewer.warnings() == Lines{"DSM_Entry returns failure in TScanModule::OpenDSM",
                                               "OpenDSM returns failure in TScanModule::OpenDS"});
    }
    SUBCASE("one that has no condition code either counts as unknown failure") {
        stage.manager.answer(operation::status, failWith(TWCC_SEQERROR));
        CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == TWCC_BUMMER);
        CHECK(stage.manager.calls() == refused("OPENDSM"));
        CHECK(stage.viewer.warnings() == Lines{"DSM_Entry returns failure in TScanModule::OpenDSM",
                                               "DSM_Entry returns failure in TScanModule::GetTWAINStatusCode",
                                               "OpenDSM returns failure in TScanModule::OpenDS"});
    }
    CHECK(stage.manager.state() == 2);
    CHECK(stage.module.CloseDS() == 11);
}

TEST_CASE("a source that doesn't open leaves the manager closed and stays chosen") {
    Stage stage;
    stage.manager.answerNext(operation::openDs, failWith(TWCC_MAXCONNECTIONS));
    CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == TWCC_MAXCONNECTIONS);
    CHECK(stage.manager.takeCalls() == Lines{"OPENDSM", "GETDEFAULT", "OPENDS", "STATUS", "CLOSEDSM"});
    CHECK(stage.viewer.warnings() == Lines{"DSM_Entry returns failure in TScanModule::OpenDS"});
    CHECK(stage.manager.state() == 2);

    CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == 0);
    CHECK(stage.manager.calls() == Lines{"OPENDSM", "OPENDS"} + openingQueries);
}

TEST_CASE("without a default source the opening is tried all the same") {
    Stage stage;
    stage.manager.answer(operation::getDefault, failWith(TWCC_NODS));
    CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == 0);
    CHECK(stage.manager.calls() == Lines{"OPENDSM", "GETDEFAULT", "OPENDS"} + openingQueries);
}

TEST_CASE("a source that can't say its brightness for an operation error is unusable") {
    Stage stage;
    stage.manager.answer(operation::getCurrent(ICAP_BRIGHTNESS), failWith(TWCC_OPERATIONERROR));
    CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == TWCC_OPERATIONERROR);
    CHECK(stage.manager.calls() == Lines{"OPENDSM", "GETDEFAULT", "OPENDS"} + refused("GET ICAP_BRIGHTNESS") +
                                       refused("GETCURRENT ICAP_BRIGHTNESS") + Lines{"CLOSEDS", "CLOSEDSM"});
    CHECK(stage.manager.state() == 2);
    CHECK(sourceName(stage) == "");
}

TEST_CASE("an operation error of the first brightness message only does no harm") {
    Stage stage;
    stage.manager.answer(operation::get(ICAP_BRIGHTNESS), failWith(TWCC_OPERATIONERROR));
    CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == 0);
    CHECK(stage.manager.state() == 4);
}

TEST_CASE("an operation error of any other opening query does no harm") {
    Stage stage;
    for (TW_UINT16 capability : {ICAP_CONTRAST, ICAP_HIGHLIGHT, ICAP_SHADOW, ICAP_THRESHOLD, ICAP_XFERMECH})
        stage.manager.answer(operation::getCurrent(capability), failWith(TWCC_OPERATIONERROR));
    stage.manager.answer(operation::set(ICAP_XFERMECH), failWith(TWCC_OPERATIONERROR));
    CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == 0);
    CHECK(stage.manager.state() == 4);
}

TEST_CASE("enabling and disabling, with and without a disabled parent") {
    Stage stage;
    stage.open();
    SUBCASE("modal: the parent is disabled meanwhile") {
        CHECK(stage.module.EnableDS(TRUE, TRUE) == 0);
        CHECK(stage.manager.calls() == Lines{"ENABLEDS show 1 modal 1"});
        CHECK_FALSE(isEnabled(stage.host));
        const Lines traces = stage.viewer.traces();
        CHECK(std::count(traces.begin(), traces.end(), "To disable parent window in TScanModule::EnableDS") ==
              1);
        CHECK(std::count(traces.begin(), traces.end(), "Disable parent window OK in TScanModule::EnableDS") ==
              1);
    }
    SUBCASE("not modal: the parent stays enabled") {
        CHECK(stage.module.EnableDS(TRUE, FALSE) == 0);
        CHECK(stage.manager.calls() == Lines{"ENABLEDS show 1 modal 0"});
        CHECK(isEnabled(stage.host));
    }
    SUBCASE("without the source's window") {
        CHECK(stage.module.EnableDS(FALSE, FALSE) == 0);
        CHECK(stage.manager.calls() == Lines{"ENABLEDS show 0 modal 0"});
    }
    CHECK(stage.viewer.warnings() == Lines{});
    CHECK(stage.manager.userInterface().hParent == stage.host.window());
    CHECK(stage.manager.state() == 5);

    stage.manager.forgetCalls();
    CHECK(stage.module.DisableDS() == 0);
    CHECK(stage.manager.calls() == Lines{"DISABLEDS show 0 modal 1"});
    CHECK(isEnabled(stage.host));
    CHECK(stage.manager.userInterface().hParent == stage.host.window());
    CHECK(stage.manager.state() == 4);
}

TEST_CASE("a source that changed the request is enabled all the same") {
    Stage stage;
    stage.open();
    stage.manager.answer(operation::enableDs, returnCode(TWRC_CHECKSTATUS));
    CHECK(stage.module.EnableDS(FALSE, TRUE) == 0);
    CHECK(stage.manager.calls() == Lines{"ENABLEDS show 0 modal 1"});
    CHECK(stage.viewer.warnings() == Lines{"DSM_Entry returns check condition in TScanModule::EnableDS"});
    CHECK_FALSE(isEnabled(stage.host));
    CHECK(stage.module.CloseDS() == 11);
}

TEST_CASE("a source that can't be enabled gives the parent back") {
    Stage stage;
    stage.open();
    stage.manager.answerNext(operation::enableDs, failWith(TWCC_OPERATIONERROR));
    CHECK(stage.module.EnableDS(TRUE, TRUE) == TWCC_OPERATIONERROR);
    CHECK(stage.manager.takeCalls() == refused("ENABLEDS show 1 modal 1"));
    CHECK(stage.viewer.warnings() == Lines{"DSM_Entry returns failure in TScanModule::EnableDS"});
    CHECK(isEnabled(stage.host));
    // Still state 4.
    CHECK(stage.module.EnableDS(TRUE, TRUE) == 0);
    CHECK(stage.manager.calls() == Lines{"ENABLEDS show 1 modal 1"});
}

TEST_CASE("a failing disable leaves the parent disabled unless the source sees no error") {
    Stage stage;
    stage.enable(true, true);
    SUBCASE("a real failure") {
        stage.manager.answer(operation::disableDs, failWith(TWCC_OPERATIONERROR));
        CHECK(stage.module.DisableDS() == TWCC_OPERATIONERROR);
        CHECK_FALSE(isEnabled(stage.host));
    }
    SUBCASE("condition code 0") {
        stage.manager.answer(operation::disableDs, failWith(TWCC_SUCCESS));
        CHECK(stage.module.DisableDS() == 0);
        CHECK(isEnabled(stage.host));
    }
    CHECK(stage.manager.calls() == refused("DISABLEDS show 0 modal 1"));
    CHECK(stage.viewer.warnings() == Lines{"DSM_Entry returns failure in TScanModule::DisableDS"});
    // Still state 5.
    CHECK(stage.module.CloseDS() == 11);
}

TEST_CASE("closing closes source and manager and forgets the choice") {
    Stage stage;
    stage.open();
    CHECK(stage.module.CloseDS() == 0);
    CHECK(stage.manager.takeCalls() == Lines{"CLOSEDS", "CLOSEDSM"});
    CHECK(stage.viewer.warnings() == Lines{});
    CHECK(stage.manager.state() == 2);
    CHECK(sourceName(stage) == "");
    CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == 0);
    CHECK(stage.manager.calls() == Lines{"OPENDSM", "GETDEFAULT", "OPENDS"} + openingQueries);
}

TEST_CASE("a source that doesn't close stays open") {
    Stage stage;
    stage.open();
    stage.manager.answerNext(operation::closeDs, failWith(TWCC_BUMMER));
    CHECK(stage.module.CloseDS() == TWCC_BUMMER);
    CHECK(stage.manager.takeCalls() == refused("CLOSEDS"));
    CHECK(stage.viewer.warnings() == Lines{"DSM_Entry returns failure in TScanModule::CloseDS"});
    CHECK(sourceName(stage) == "Plain Source");
    CHECK(stage.module.CloseDS() == 0);
    CHECK(stage.manager.calls() == Lines{"CLOSEDS", "CLOSEDSM"});
}

TEST_CASE("a manager that doesn't close is closed by the next call") {
    Stage stage;
    stage.open();
    stage.manager.answerNext(operation::closeDsm, failWith(TWCC_BUMMER));
    CHECK(stage.module.CloseDS() == 0);
    CHECK(stage.manager.takeCalls() == Lines{"CLOSEDS", "CLOSEDSM", "STATUS"});
    CHECK(stage.viewer.warnings() == Lines{"DSM_Entry returns failure in TScanModule::CloseDSM"});
    CHECK(sourceName(stage) == "");
    stage.viewer.forget();
    SUBCASE("by another close") {
        CHECK(stage.module.CloseDS() == 0);
        CHECK(stage.manager.calls() == Lines{"CLOSEDSM"});
        CHECK(stage.viewer.warnings() == Lines{"DS is already closed in TScanModule::CloseDS"});
        CHECK(stage.module.CloseDS() == 11);
    }
    SUBCASE("or used by another open") {
        CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == 0);
        CHECK(stage.manager.calls() == Lines{"GETDEFAULT", "OPENDS"} + openingQueries);
        CHECK(stage.viewer.warnings().front() ==
              "Data Source Manager is already open in TScanModule::OpenDSM");
    }
}

// One row: a call in a state it isn't made for.
TEST_CASE("calls out of sequence ask nothing of the source") {
    struct Row {
        std::string name;
        int state;
        int (*call)(Stage&);
        int result;
        const char* warning;
    };
    const auto enable = [](Stage& stage) { return stage.module.EnableDS(FALSE, FALSE); };
    const auto disable = [](Stage& stage) { return stage.module.DisableDS(); };
    const auto close = [](Stage& stage) { return stage.module.CloseDS(); };
    const Row rows[] = {
        {"enable, nothing open", 2, enable, 11, "Sequence error in TScanModule::EnableDS"},
        {"enable, enabled", 5, enable, 0, "DS is already enabled in TScanModule::EnableDS"},
        {"disable, nothing open", 2, disable, 11, "Sequence error in TScanModule::DisableDS"},
        {"disable, disabled", 4, disable, 0, "DS is already disabled in TScanModule::DisableDS"},
        {"close, nothing open", 2, close, 11, "Sequence error in TScanModule::CloseDS"},
        {"close, enabled", 5, close, 11, "Sequence error in TScanModule::CloseDS"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        Stage stage;
        stage.bringTo(row.state);
        CHECK(row.call(stage) == row.result);
        CHECK(stage.manager.calls() == Lines{});
        CHECK(stage.viewer.warnings() == Lines{row.warning});
    }
}

TEST_CASE("without a manager every call of the session says so") {
    const ManagerFile missing(ManagerFile::Kind::Missing);
    Stage stage;
    stage.forget();
    struct Row {
        std::string method;
        int (*call)(Stage&);
    };
    const Row rows[] = {
        {"OpenDS", [](Stage& s) { return s.module.OpenDS(s.host.window(), nullptr); }},
        {"EnableDS", [](Stage& s) { return s.module.EnableDS(TRUE, TRUE); }},
        {"DisableDS", [](Stage& s) { return s.module.DisableDS(); }},
        {"CloseDS", [](Stage& s) { return s.module.CloseDS(); }},
    };
    for (const Row& row : rows) {
        CAPTURE(row.method);
        stage.viewer.forget();
        CHECK(row.call(stage) == -1);
        CHECK(stage.viewer.warnings() ==
              Lines{"LoadLibrary fails in TScanModule::LoadTWAIN",
                    std::string("TWAIN is not available in TScanModule::") + row.method});
    }
    CHECK(stage.manager.calls() == Lines{});
    CHECK(isEnabled(stage.host));
}
