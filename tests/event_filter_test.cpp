// What smIsDSEvent makes of the host's messages and of the source's notifications.
#include "BatchStage.h"
#include "OneShotStage.h"
#include "Story.h"

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
    BatchStage stage;
    const std::tuple<TW_UINT16, std::string, std::string> rows[] = {
        {MSG_NULL, "", ""},
        {MSG_CLOSEDSREQ, "CloseDSReq", "IsDSEvent capturing MSG_CLOSEDSREQ()"},
        {0x0103, "", ""},
        {MSG_XFERREADY,
         "GETCURRENT ICAP_XFERMECH; GET ICAP_XFERMECH; IMAGEINFO; IMAGEINFO; "
         "! Error in get DAT_IMAGEINFO in TScanModule::DoFileXfer; ENDXFER",
         "IsDSEvent capturing MSG_XFERREADY(ProcessScanImage("},
    };
    for (const auto& [notification, story, lines] : rows) {
        for (TW_UINT16 code : {TWRC_DSEVENT, TWRC_NOTDSEVENT, TWRC_SUCCESS, TWRC_FAILURE, TWRC_CANCEL}) {
            TW_UINT16 initialMessage = 1;
            stage.manager.answer(operation::processEvent,
                                 {code, TWCC_BUMMER, {}, [&, said = notification](TW_MEMREF data) {
                                      initialMessage =
                                          std::exchange(static_cast<TW_EVENT*>(data)->TWMessage, said);
                                  }});
            MSG message = {};
            message.message = WM_TIMER;
            CHECK((stage.module.IsDSEvent(&message) != FALSE) == (code == TWRC_DSEVENT));
            CHECK(stage.manager.eventMessage() == &message);
            CHECK(initialMessage == MSG_NULL);
            CHECK(outline(stage).substr(0, lines.size()) == lines);
            CHECK(outline(stage).empty() == lines.empty());
            checkStory(stage, "PROCESSEVENT; " + story);
        }
    }
    CHECK(stage.manager.state() == 5);
}

TEST_CASE("a host may close the source from its close request handler") {
    Stage stage;
    stage.enable();
    stage.host.onMessage = [&](const std::string&) {
        CHECK(stage.module.DisableDS() == 0);
        CHECK(stage.module.CloseDS() == 0);
    };
    CHECK(stage.deliver(MSG_CLOSEDSREQ));
    CHECK_FALSE(stage.deliver(MSG_CLOSEDSREQ));
    checkStory(stage, "PROCESSEVENT; CloseDSReq; DISABLEDS show 0 modal 1; CLOSEDS; CLOSEDSM");
}

TEST_CASE("a one-shot scan's source is closed by the module, which says so whatever comes of it") {
    OneShotStage stage;
    for (const bool closes : {false, true}) {
        stage.start();
        if (!closes) stage.manager.answerNext(operation::closeDs, failWith(TWCC_BUMMER));
        CHECK(stage.deliver(MSG_CLOSEDSREQ));
        checkStory(stage, std::string("PROCESSEVENT; DISABLEDS show 0 modal 1; CLOSEDS; ") +
                              (closes ? "CLOSEDSM; "
                                      : "! DSM_Entry returns failure in TScanModule::CloseDS; STATUS; ") +
                              "ScanToFileDSClosed");
        if (!closes) stage.module.CloseDS();
    }
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
        BatchStage stage({grayPage()});
        CHECK(stage.deliver(MSG_XFERREADY));
        CHECK(stage.host.messages().empty() == row.suppressed);
        CHECK((outline(stage) == "IsDSEvent capturing MSG_XFERREADY()") == row.suppressed);
    }
    // One-shot scans aren't asked.
    const HostDataFolder folder(rows[0].settings);
    OneShotStage stage({grayPage()});
    CHECK(stage.scan() == 0);
}
