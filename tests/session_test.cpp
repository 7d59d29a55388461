// The session: manager and source opened, enabled, disabled and closed, with every failure on the way.
#include <doctest.h>

#include <cstring>

#include "Stage.h"

namespace {

// What opening asks a source that knows no capability.
Lines openingQueries() {
    Lines queries;
    for (const char* tone : {"BRIGHTNESS", "CONTRAST", "HIGHLIGHT", "SHADOW", "THRESHOLD"})
        queries += refused(std::string("GET ICAP_") + tone) + refused(std::string("GETCURRENT ICAP_") + tone);
    return queries + Lines{"SET ICAP_XFERMECH one UINT16 2"} + refused("GETCURRENT ICAP_XFERMECH") +
           refused("GET ICAP_XFERMECH");
}

const Lines opening = Lines{"OPENDSM", "GETDEFAULT", "OPENDS"};

Lines calls(Stage& stage) {
    return stage.manager.takeCalls();
}

std::string sourceName(Stage& stage) {
    char name[34] = "untouched";
    CHECK(stage.module.GetDSProductName(name) == 0);
    return name;
}

int openDs(Stage& stage) {
    return stage.module.OpenDS(stage.host.window(), nullptr);
}
int enableDs(Stage& stage) {
    return stage.module.EnableDS(TRUE, TRUE);
}
int disableDs(Stage& stage) {
    return stage.module.DisableDS();
}
int closeDs(Stage& stage) {
    return stage.module.CloseDS();
}

bool isEnabled(const RecordingHost& host) {
    return IsWindowEnabled(host.window()) != FALSE;
}

Lines warned(const std::string& words) {
    return {"! " + words};
}

}  // namespace

TEST_CASE("opening goes through the manager and asks the source what it can") {
    Stage stage;
    const char* const name = "123456789 123456789 123456789 123456789 ";
    CHECK(stage.module.OpenDS(stage.host.window(), name) == 0);
    CHECK(calls(stage) == opening + openingQueries());
    CHECK(stage.manager.state() == 4);
    CHECK(stage.manager.parent() == stage.host.window());
    CHECK(std::string(stage.manager.application().ProductName) == "123456789 123456789 123456789 123");
    CHECK(std::string(stage.manager.application().ProductFamily) == "VORN Scan Module");
    CHECK(sourceName(stage) == "Plain Source");
    CHECK(stage.windows.memoryComplaints() == Lines{});
}

TEST_CASE("a host that names neither window nor product is the desktop's and the module's") {
    Stage stage;
    CHECK(stage.module.OpenDS(nullptr, nullptr) == 0);
    CHECK(stage.manager.parent() == GetDesktopWindow());
    const TW_IDENTITY expected = {0,
                                  {1, 1, TWLG_USA, TWCY_USA, "Versi\xf3n 1.00"},
                                  1,
                                  5,
                                  DG_CONTROL | DG_IMAGE,
                                  "KAVRO",
                                  "VORN Scan Module",
                                  "VORN Scan Module"};
    CHECK(std::memcmp(&stage.manager.application(), &expected, sizeof expected) == 0);
    CHECK(stage.viewer.warnings().front() == "Invalid parent window handle in TScanModule::OpenDS");
}

TEST_CASE("opening an open source only takes the new parent, an enabled one's the name too") {
    Stage stage;
    const RecordingHost other, third;
    stage.open();
    CHECK(stage.module.OpenDS(other.window(), "Another Host") == 0);
    CHECK(stage.takeRecord() == warned("DS is already open in TScanModule::OpenDS"));
    CHECK(stage.module.EnableDS(FALSE, FALSE) == 0);
    CHECK(stage.manager.userInterface().hParent == other.window());
    CHECK(std::string(stage.manager.application().ProductName) == "Test Host");
    stage.forget();
    CHECK(stage.module.OpenDS(third.window(), "Another Host") == 11);
    CHECK(stage.takeRecord() == warned("Sequence error in TScanModule::OpenDSM") +
                                    warned("OpenDSM returns failure in TScanModule::OpenDS"));
    CHECK(stage.module.DisableDS() == 0);
    CHECK(stage.manager.userInterface().hParent == third.window());
    CHECK(std::string(stage.manager.application().ProductName) == "Another Host");
}

TEST_CASE("a manager that doesn't open") {
    Stage stage;
    stage.forget();
    stage.manager.answer(operation::openDsm, failWith(TWCC_LOWMEMORY));
    const Lines failure = warned("DSM_Entry returns failure in TScanModule::OpenDSM");
    const Lines end = warned("OpenDSM returns failure in TScanModule::OpenDS");
    CHECK(openDs(stage) == TWCC_LOWMEMORY);
    CHECK(stage.takeRecord() == refused("OPENDSM") + failure + end);
    // One that has no condition code either counts as unknown failure.
    stage.manager.answer(operation::status, failWith(TWCC_SEQERROR));
    CHECK(openDs(stage) == TWCC_BUMMER);
    CHECK(stage.takeRecord() == refused("OPENDSM") + failure +
                                    warned("DSM_Entry returns failure in TScanModule::GetTWAINStatusCode") +
                                    end);
    CHECK(closeDs(stage) == 11);
}

TEST_CASE("a source that doesn't open leaves the manager closed and stays chosen") {
    Stage stage;
    stage.forget();
    stage.manager.answer(operation::getDefault, failWith(TWCC_NODS));  // its failure does no harm
    stage.manager.answerNext(operation::getDefault, Answer{TWRC_SUCCESS, 0, {}, [&](TW_MEMREF data) {
                                                               *static_cast<pTW_IDENTITY>(data) =
                                                                   stage.manager.defaultSource();
                                                           }});
    stage.manager.answerNext(operation::openDs, failWith(TWCC_MAXCONNECTIONS));
    CHECK(openDs(stage) == TWCC_MAXCONNECTIONS);
    CHECK(stage.takeRecord() ==
          opening + Lines{"STATUS", "CLOSEDSM"} + warned("DSM_Entry returns failure in TScanModule::OpenDS"));
    CHECK(openDs(stage) == 0);
    CHECK(calls(stage) == Lines{"OPENDSM", "OPENDS"} + openingQueries());
    CHECK(closeDs(stage) == 0);
    CHECK(openDs(stage) == 0);
    CHECK(calls(stage) == Lines{"CLOSEDS", "CLOSEDSM"} + opening + openingQueries());
}

TEST_CASE("a source that can't say its brightness for an operation error is unusable, no other query is") {
    Stage stage;
    const Answer error = failWith(TWCC_OPERATIONERROR);
    stage.manager.answerNext(operation::getCurrent(ICAP_BRIGHTNESS), error);
    CHECK(openDs(stage) == TWCC_OPERATIONERROR);
    CHECK(calls(stage) == opening + refused("GET ICAP_BRIGHTNESS") + refused("GETCURRENT ICAP_BRIGHTNESS") +
                              Lines{"CLOSEDS", "CLOSEDSM"});
    CHECK(sourceName(stage) == "");
    for (TW_UINT16 capability : {ICAP_CONTRAST, ICAP_HIGHLIGHT, ICAP_SHADOW, ICAP_THRESHOLD, ICAP_XFERMECH})
        stage.manager.answer(operation::getCurrent(capability), error);
    stage.manager.answer(operation::get(ICAP_BRIGHTNESS), error);
    stage.manager.answer(operation::set(ICAP_XFERMECH), error);
    CHECK(openDs(stage) == 0);
    CHECK(stage.manager.state() == 4);
}

TEST_CASE("enabling and disabling, with and without a disabled parent") {
    struct Row {
        BOOL show, modal;
        const char* call;
        TW_UINT16 code;
        const char* warning;
    };
    const Row rows[] = {
        {TRUE, TRUE, "ENABLEDS show 1 modal 1", TWRC_SUCCESS, nullptr},
        {TRUE, FALSE, "ENABLEDS show 1 modal 0", TWRC_SUCCESS, nullptr},
        {FALSE, FALSE, "ENABLEDS show 0 modal 0", TWRC_SUCCESS, nullptr},
        // A source that changed the request is enabled all the same.
        {FALSE, TRUE, "ENABLEDS show 0 modal 1", TWRC_CHECKSTATUS, "DSM_Entry returns check condition"},
    };
    Stage stage;
    stage.open();
    for (const Row& row : rows) {
        stage.manager.answer(operation::enableDs, returnCode(row.code));
        CHECK(stage.module.EnableDS(row.show, row.modal) == 0);
        const Lines noted = stage.viewer.traces().with("able parent window");
        CHECK(noted == row.modal * Lines{"To disable parent window in TScanModule::EnableDS",
                                         "Disable parent window OK in TScanModule::EnableDS"});
        CHECK(stage.takeRecord() ==
              Lines{row.call} + (row.warning == nullptr
                                     ? Lines{}
                                     : warned(row.warning + std::string(" in TScanModule::EnableDS"))));
        CHECK(isEnabled(stage.host) == (row.modal == FALSE));
        CHECK(stage.manager.userInterface().hParent == stage.host.window());
        CHECK(stage.manager.state() == 5);

        CHECK(disableDs(stage) == 0);
        CHECK(stage.takeRecord() == Lines{"DISABLEDS show 0 modal 1"});
        CHECK(isEnabled(stage.host));
        CHECK(stage.manager.userInterface().hParent == stage.host.window());
        CHECK(stage.manager.state() == 4);
    }
}

TEST_CASE("a source that can't be enabled gives the parent back, one that can't be disabled only by code 0") {
    Stage stage;
    stage.open();
    stage.manager.answerNext(operation::enableDs, failWith(TWCC_OPERATIONERROR));
    CHECK(enableDs(stage) == TWCC_OPERATIONERROR);
    CHECK(stage.takeRecord() ==
          refused("ENABLEDS show 1 modal 1") + warned("DSM_Entry returns failure in TScanModule::EnableDS"));
    CHECK(isEnabled(stage.host));
    CHECK(enableDs(stage) == 0);
    CHECK(stage.takeRecord() == Lines{"ENABLEDS show 1 modal 1"});
    for (TW_UINT16 code : {TWCC_OPERATIONERROR, TWCC_SUCCESS}) {
        stage.manager.answer(operation::disableDs, failWith(code));
        CHECK(disableDs(stage) == code);
        CHECK(isEnabled(stage.host) == (code == TWCC_SUCCESS));
        CHECK(stage.takeRecord() == refused("DISABLEDS show 0 modal 1") +
                                        warned("DSM_Entry returns failure in TScanModule::DisableDS"));
    }
    CHECK(closeDs(stage) == 11);
}

TEST_CASE(
    "a source that doesn't close stays open, a manager that doesn't is closed or used by the next call") {
    Stage stage;
    stage.open();
    stage.manager.answerNext(operation::closeDs, failWith(TWCC_BUMMER));
    CHECK(closeDs(stage) == TWCC_BUMMER);
    CHECK(stage.takeRecord() ==
          refused("CLOSEDS") + warned("DSM_Entry returns failure in TScanModule::CloseDS"));
    CHECK(sourceName(stage) == "Plain Source");
    for (const bool closes : {false, true}) {
        stage.forget();
        stage.manager.answerNext(operation::closeDsm, failWith(TWCC_BUMMER));
        CHECK(closeDs(stage) == 0);
        CHECK(stage.takeRecord() == Lines{"CLOSEDS"} + refused("CLOSEDSM") +
                                        warned("DSM_Entry returns failure in TScanModule::CloseDSM"));
        CHECK(sourceName(stage) == "");
        stage.forget();
        if (closes) {
            CHECK(closeDs(stage) == 0);
            CHECK(stage.takeRecord() ==
                  Lines{"CLOSEDSM"} + warned("DS is already closed in TScanModule::CloseDS"));
            CHECK(closeDs(stage) == 11);
        } else {
            CHECK(openDs(stage) == 0);
            CHECK(calls(stage) == Lines{"GETDEFAULT", "OPENDS"} + openingQueries());
            CHECK(stage.viewer.warnings().front() ==
                  "Data Source Manager is already open in TScanModule::OpenDSM");
        }
    }
}

TEST_CASE("calls out of sequence, or without a manager, ask nothing of the source") {
    struct Row {
        int state;
        int (*call)(Stage&);
        int result;
        const char* warning;
    };
    const Row rows[] = {
        {2, enableDs, 11, "Sequence error in TScanModule::EnableDS"},
        {5, enableDs, 0, "DS is already enabled in TScanModule::EnableDS"},
        {2, disableDs, 11, "Sequence error in TScanModule::DisableDS"},
        {4, disableDs, 0, "DS is already disabled in TScanModule::DisableDS"},
        {2, closeDs, 11, "Sequence error in TScanModule::CloseDS"},
        {5, closeDs, 11, "Sequence error in TScanModule::CloseDS"},
    };
    for (const Row& row : rows) {
        Stage stage;
        stage.bringTo(row.state);
        CHECK(row.call(stage) == row.result);
        CHECK(stage.takeRecord() == warned(row.warning));
    }
    const ManagerFile missing(ManagerFile::Kind::Missing);
    Stage stage;
    stage.forget();
    for (const auto& call : {openDs, enableDs, disableDs, closeDs})
        CHECK(call(stage) == -1);
    CHECK(stage.takeRecord() == withoutManager("OpenDS") + withoutManager("EnableDS") +
                                    withoutManager("DisableDS") + withoutManager("CloseDS"));
    CHECK(isEnabled(stage.host));
}
