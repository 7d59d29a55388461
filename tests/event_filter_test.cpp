// What smIsDSEvent makes of the host's messages and of the source's notifications.
#include <doctest.h>

#include "Stage.h"

namespace {

const std::string ready = "TScanModule::IsDSEvent capturing MSG_XFERREADY";
const std::string closeRequest = "TScanModule::IsDSEvent capturing MSG_CLOSEDSREQ";

// A transfer was begun: the source was asked for its mechanism.
bool transferBegan(const Stage& stage) {
    const Lines calls = stage.manager.calls();
    return calls.size() > 1 && calls[1] == "GETCURRENT ICAP_XFERMECH";
}

// Without an image the transfer driver ends with a message box, which is all these tests need of it.
void enableWithoutImage(Stage& stage) {
    stage.enable();
    stage.manager.answer(operation::imageInfo, failWith(TWCC_SEQERROR));
}

}  // namespace

TEST_CASE("below state 5 every message is the host's, at no cost") {
    for (int state : {2, 4}) {
        CAPTURE(state);
        Stage stage;
        stage.bringTo(state);
        CHECK_FALSE(stage.deliver(MSG_XFERREADY));
        CHECK(stage.manager.calls() == Lines{});
        CHECK(stage.viewer.rawLines() == Lines{});
    }
}

TEST_CASE("the source sees the message, and its return code alone decides") {
    for (TW_UINT16 code : {TWRC_DSEVENT, TWRC_NOTDSEVENT, TWRC_SUCCESS, TWRC_FAILURE, TWRC_CANCEL}) {
        CAPTURE(code);
        Stage stage;
        stage.enable();
        TW_UINT16 initialMessage = 1;
        stage.manager.answer(operation::processEvent, Answer{code, TWCC_BUMMER, {}, [&](TW_MEMREF data) {
                                                                 initialMessage =
                                                                     static_cast<TW_EVENT*>(data)->TWMessage;
                                                             }});
        MSG message = {};
        message.message = WM_TIMER;
        CHECK((stage.module.IsDSEvent(&message) != FALSE) == (code == TWRC_DSEVENT));
        CHECK(stage.manager.calls() == Lines{"PROCESSEVENT"});
        CHECK(stage.manager.eventMessage() == &message);
        CHECK(initialMessage == MSG_NULL);
        CHECK(stage.viewer.rawLines() == Lines{});
    }
}

TEST_CASE("an unknown notification is nobody's business") {
    Stage stage;
    stage.enable();
    CHECK(stage.deliver(0x0103));
    CHECK(stage.manager.calls() == Lines{"PROCESSEVENT"});
    CHECK(stage.host.messages() == Lines{});
    CHECK(stage.viewer.rawLines() == Lines{});
}

TEST_CASE("transfer ready runs the transfer inside the call") {
    Stage stage;
    enableWithoutImage(stage);
    CHECK(stage.deliver(MSG_XFERREADY));
    CHECK(transferBegan(stage));
    const Lines traces = stage.viewer.traces();
    CHECK(traces.front() == "Coming " + ready);
    CHECK(traces.back() == "Leaving " + ready);
}

TEST_CASE("a notification counts even when the call that brought it failed") {
    Stage stage;
    enableWithoutImage(stage);
    stage.manager.answer(operation::processEvent, Answer{TWRC_FAILURE, TWCC_BUMMER, {}, [](TW_MEMREF data) {
                                                             static_cast<TW_EVENT*>(data)->TWMessage =
                                                                 MSG_XFERREADY;
                                                         }});
    MSG message = {};
    CHECK(stage.module.IsDSEvent(&message) == FALSE);
    CHECK(transferBegan(stage));
    CHECK(stage.viewer.warnings().front() == "CapNegotiate returns failure in TScanModule::GetXferMech");
}

TEST_CASE("a close request is passed on and leaves the source enabled") {
    Stage stage;
    stage.enable();
    CHECK(stage.deliver(MSG_CLOSEDSREQ));
    CHECK(stage.manager.calls() == Lines{"PROCESSEVENT"});
    CHECK(stage.host.messages() == Lines{"CloseDSReq"});
    CHECK(stage.viewer.traces() == Lines{"Coming " + closeRequest, "Leaving " + closeRequest});
    CHECK(stage.manager.state() == 5);
}

TEST_CASE("a host may close the source from its close request handler") {
    Stage stage;
    stage.enable();
    stage.host.onCloseRequest = [&] {
        CHECK(stage.module.DisableDS() == 0);
        CHECK(stage.module.CloseDS() == 0);
    };
    CHECK(stage.deliver(MSG_CLOSEDSREQ));
    CHECK(stage.manager.state() == 2);
    CHECK_FALSE(stage.deliver(MSG_CLOSEDSREQ));
}

TEST_CASE("only the value 2 of the host suite's settings suppresses the transfer") {
    struct Row {
        std::string settings;
        bool suppressed;
    };
    const Row rows[] = {
        {"[Settings]\r\nSuppressTWAIN=2\r\n", true},  {"[Settings]\r\nSuppressTWAIN=1\r\n", false},
        {"[Settings]\r\nSuppressTWAIN=3\r\n", false}, {"[Settings]\r\nSuppressTWAIN=0\r\n", false},
        {"[Other]\r\nSuppressTWAIN=2\r\n", false},    {"", false},
    };
    for (const Row& row : rows) {
        CAPTURE(row.settings);
        const HostDataFolder folder(row.settings);
        Stage stage;
        enableWithoutImage(stage);
        CHECK(stage.deliver(MSG_XFERREADY));
        CHECK(transferBegan(stage) != row.suppressed);
        CHECK(stage.windows.messageBoxes.empty() == row.suppressed);
        if (row.suppressed) {
            CHECK(stage.manager.calls() == Lines{"PROCESSEVENT"});
            CHECK(stage.viewer.traces() == Lines{"Coming " + ready, "Leaving " + ready});
        }
    }
}

TEST_CASE("the host suite's folder is used as it stands in the registry") {
    const HostDataFolder folder("[Settings]\r\nSuppressTWAIN=2\r\n",
                                HostDataFolder::Ending::WithoutBackslash);
    Stage stage;
    enableWithoutImage(stage);
    CHECK(stage.deliver(MSG_XFERREADY));
    CHECK(transferBegan(stage));
}
