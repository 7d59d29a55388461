// What smIsDSEvent makes of the host's messages and of the source's notifications.
#include "BatchStage.h"
#include "OneShotStage.h"
#include "Script.h"

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
            MSG message = {};
            const auto say = [&, said = notification](TW_EVENT& event) {
                CHECK(event.pEvent == &message);
                CHECK(std::exchange(event.TWMessage, said) == MSG_NULL);
            };
            stage.manager.answer(operation::processEvent, fill<TW_EVENT>(say, code));
            CHECK((stage.module.IsDSEvent(&message) != FALSE) == (code == TWRC_DSEVENT));
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
        const std::string close = closes ? "CLOSEDS; CLOSEDSM; " : "CLOSEDS [1]; !failure; ";
        const std::string story = scripted(stage.manager, "PROCESSEVENT; DISABLEDS show 0 modal 1; " + close);
        CHECK(stage.deliver(MSG_CLOSEDSREQ));
        checkStory(stage, story + "ScanToFileDSClosed", "CloseDS");
        if (!closes) stage.module.CloseDS();
    }
}

TEST_CASE("transfer ready runs the transfer inside the call, unless the host suite's setting is 2") {
    const std::string folder = temporaryFolder(), taken = "[Settings]\r\nSuppressTWAIN=2\r\n";
    const std::tuple<std::string, std::string, bool> rows[] = {
        {taken, folder, true},
        {"[Settings]\r\nSuppressTWAIN=1\r\n", folder, false},
        {"[Other]\r\nSuppressTWAIN=2\r\n", folder, false},
        // The folder is used as it stands in the registry.
        {taken, folder.substr(0, folder.size() - 1), false},
    };
    for (const auto& [settings, text, suppressed] : rows) {
        CAPTURE(settings);
        const HostDataFolder data(settings, text);
        BatchStage stage({grayPage()});
        CHECK(stage.deliver(MSG_XFERREADY));
        CHECK(stage.host.messages().empty() == suppressed);
        CHECK((outline(stage) == "IsDSEvent capturing MSG_XFERREADY()") == suppressed);
    }
    // One-shot scans aren't asked.
    const HostDataFolder data(taken);
    OneShotStage stage({grayPage()});
    CHECK(stage.scan() == 0);
}
