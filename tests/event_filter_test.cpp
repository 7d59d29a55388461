// What smIsDSEvent makes of the host's messages and of the source's notifications.
#include <doctest.h>

#include "Stage.h"

namespace {

Lines bracket(const std::string& notification) {
    const std::string capturing = " TScanModule::IsDSEvent capturing MSG_" + notification;
    return {"Coming" + capturing, "Leaving" + capturing};
}

// A transfer was begun: the source was asked for its mechanism.
bool transferBegan(const Stage& stage) {
    return !stage.manager.calls().with("GETCURRENT ICAP_XFERMECH").empty();
}

}  // namespace

TEST_CASE("below state 5 every message is the host's, at no cost") {
    for (int state : {2, 4}) {
        Stage stage;
        stage.bringTo(state);
        CHECK_FALSE(stage.deliver(MSG_XFERREADY));
        CHECK(stage.manager.calls() == Lines{});
        CHECK(stage.viewer.rawLines() == Lines{});
    }
}

TEST_CASE("the source sees the message, its return code alone decides, its notification always counts") {
    Stage stage;
    stage.enable();
    const TW_UINT16 notifications[] = {MSG_NULL, MSG_CLOSEDSREQ, 0x0103};
    for (TW_UINT16 notification : notifications) {
        for (TW_UINT16 code : {TWRC_DSEVENT, TWRC_NOTDSEVENT, TWRC_SUCCESS, TWRC_FAILURE, TWRC_CANCEL}) {
            TW_UINT16 initialMessage = 1;
            stage.manager.answer(operation::processEvent,
                                 Answer{code, TWCC_BUMMER, {}, [&](TW_MEMREF data) {
                                            initialMessage = static_cast<TW_EVENT*>(data)->TWMessage;
                                            static_cast<TW_EVENT*>(data)->TWMessage = notification;
                                        }});
            MSG message = {};
            message.message = WM_TIMER;
            CHECK((stage.module.IsDSEvent(&message) != FALSE) == (code == TWRC_DSEVENT));
            CHECK(stage.manager.calls() == Lines{"PROCESSEVENT"});
            CHECK(stage.manager.eventMessage() == &message);
            CHECK(initialMessage == MSG_NULL);
            const bool asksToClose = notification == MSG_CLOSEDSREQ;
            CHECK(stage.viewer.traces() == (asksToClose ? bracket("CLOSEDSREQ") : Lines{}));
            CHECK(stage.host.takeMessages() == (asksToClose ? Lines{"CloseDSReq"} : Lines{}));
            stage.forget();
        }
    }
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

TEST_CASE(
    "transfer ready runs the transfer inside the call, but for the value 2 of the host suite's setting") {
    using Ending = HostDataFolder::Ending;
    struct Row {
        std::string settings;
        bool suppressed;
        Ending ending = Ending::Backslash;
    };
    const Row rows[] = {
        {"[Settings]\r\nSuppressTWAIN=2\r\n", true},
        {"[Settings]\r\nSuppressTWAIN=1\r\n", false},
        {"[Other]\r\nSuppressTWAIN=2\r\n", false},
        // The folder is used as it stands in the registry.
        {"[Settings]\r\nSuppressTWAIN=2\r\n", false, Ending::WithoutBackslash},
    };
    for (const Row& row : rows) {
        CAPTURE(row.settings);
        const HostDataFolder folder(row.settings, row.ending);
        Stage stage;
        stage.enable();
        stage.manager.answer(operation::imageInfo, failWith(TWCC_SEQERROR));
        CHECK(stage.deliver(MSG_XFERREADY));
        // Without an image the transfer driver ends with a message box.
        CHECK(transferBegan(stage) != row.suppressed);
        CHECK(stage.windows.messageBoxes.empty() == row.suppressed);
        CHECK(Lines{stage.viewer.traces().front(), stage.viewer.traces().back()} == bracket("XFERREADY"));
    }
}
