// The session: manager and source opened, enabled, disabled and closed, with every failure on the way.
#include <cstring>

#include "Story.h"

namespace {

struct Step {
    std::string call, record;
    std::vector<std::pair<Operation, Answer>> answers = {};
};

struct Session {
    int state;  // in which it begins
    std::vector<Step> steps;
};

// "OpenDS other Name", "EnableDS 1 0"; "-" stands for null, and what isn't there too.
int perform(Stage& stage, const RecordingHost& other, const std::string& call) {
    std::istringstream words(call);
    std::string method, first, second;
    words >> method >> first >> second;
    const HWND parent = first == "other" ? other.window() : first == "-" ? nullptr : stage.host.window();
    if (method == "OpenDS") return stage.module.OpenDS(parent, second.empty() ? nullptr : second.c_str());
    if (method == "SelectDS") return stage.module.SelectDS(parent);
    if (method == "EnableDS") return stage.module.EnableDS(first == "1", second == "1");
    return method == "DisableDS" ? stage.module.DisableDS() : stage.module.CloseDS();
}

// The journal of a call ends with its result, the state when that is a new one, whose the window is that went
// with it and under which name when these aren't the usual ones, and after CloseDS a source that is left.
void play(const Session& session) {
    StageIn stage(session.state);
    const RecordingHost other{"other"};
    for (const TW_UINT16 tone : {ICAP_BRIGHTNESS, ICAP_CONTRAST, ICAP_HIGHLIGHT, ICAP_SHADOW, ICAP_THRESHOLD})
        stage->manager.answer(operation::get(tone), give(fix32Range(-100, 100, 1, 0)));
    stage->manager.answer(operation::getCurrent(ICAP_XFERMECH), give(oneValue(TWTY_UINT16, TWSX_MEMORY)));
    int state = stage->manager.state();
    for (const Step& step : session.steps) {
        CAPTURE(step.call);
        for (const auto& [operation, answer] : step.answers)
            stage->manager.answerNext(operation, answer);
        const std::string method = step.call.substr(0, step.call.find(' '));
        journal.push_back("result " + std::to_string(perform(*stage, other, step.call)));
        if (stage->manager.state() != state)
            journal.push_back("state " + std::to_string(state = stage->manager.state()));
        const void* const parent = method.find("able") != std::string::npos
                                       ? stage->manager.userInterface().hParent
                                       : stage->manager.parent();
        if (parent == other.window()) journal.push_back("other");
        if (parent == GetDesktopWindow()) journal.push_back("desktop");
        const std::string host = stage->manager.application().ProductName;
        if (host != "Test Host" && host != "VORN Scan Module" && !host.empty())
            journal.push_back("as " + host);
        char name[34] = "", family[34] = "";
        if (method == "CloseDS" && session.state != 1) {
            stage->module.GetDSProductName(name);
            stage->module.GetDSProductFamily(family);
        }
        if (name[0] != 0 || family[0] != 0)
            journal.push_back("leaves " + std::string(name) + " of " + family);
        checkStory(*stage, step.record, method);
    }
}

std::string failed(const std::string& method) {
    return "! DSM_Entry returns failure in TScanModule::" + method + "; ";
}

std::string refusedRange(const std::string& name, const std::string& capability) {
    const std::string failure =
        "! CapNegotiate returns failure in TScanModule::GetDS" + name + "Range; STATUS; ";
    return "GET ICAP_" + capability + "; " + failure + "GETCURRENT ICAP_" + capability + "; " + failure;
}

const std::string queries =
    "GET ICAP_BRIGHTNESS; GET ICAP_CONTRAST; GET ICAP_HIGHLIGHT; GET ICAP_SHADOW; GET ICAP_THRESHOLD; "
    "SET ICAP_XFERMECH one UINT16 2; GETCURRENT ICAP_XFERMECH; result 0; state 4";
const std::string opened = "OPENDSM; GETDEFAULT; OPENDS; " + queries;
const std::string closed = "CLOSEDS; CLOSEDSM; result 0; state 2";
const Answer refusal = failWith(TWCC_BUMMER), cancel = returnCode(TWRC_CANCEL);

}  // namespace

TEST_CASE("opening and closing") {
    const std::string notOpened = "OPENDSM; " + failed("OpenDSM") + "STATUS; ";
    const std::string notClosed = "CLOSEDSM; " + failed("CloseDSM") + "STATUS; ";
    const Session sessions[] = {
        {2,
         {{"OpenDS host 123456789_123456789_123456789_123456789",
           opened + "; as 123456789_123456789_123456789_123"},
          {"CloseDS", closed + "; as 123456789_123456789_123456789_123"},
          // Without a name and a window: the module's own, and the desktop.
          {"OpenDS -", "!parent; " + opened + "; desktop"},
          {"OpenDS", "! DS is already open in @; result 0; desktop"},
          {"EnableDS 0 0", "ENABLEDS show 0 modal 0; result 0; state 5"}}},
        // A manager that doesn't open, also without a condition code.
        {2,
         {{"OpenDS",
           notOpened + "! OpenDSM returns failure in @; result 2",
           {{operation::openDsm, failWith(TWCC_LOWMEMORY)}}},
          {"OpenDS",
           notOpened + failed("GetTWAINStatusCode") + "! OpenDSM returns failure in @; result 1",
           {{operation::openDsm, refusal}, {operation::status, refusal}}},
          {"OpenDS", notOpened + "! OpenDSM returns failure in @; result 1", {{operation::openDsm, cancel}}},
          {"OpenDS", opened},
          {"OpenDS - Nobody", "!parent; ! DS is already open in @; result 0"},
          {"EnableDS 0 0", "ENABLEDS show 0 modal 0; result 0; state 5; desktop"}}},
        // A source that doesn't open stays chosen, until it is closed. No default does no harm.
        {2,
         {{"OpenDS",
           "OPENDSM; GETDEFAULT; OPENDS; !failure; CLOSEDSM; result 4",
           {{operation::openDs, failWith(TWCC_MAXCONNECTIONS)}}},
          {"OpenDS", "OPENDSM; OPENDS; " + queries},
          {"CloseDS", closed},
          {"OpenDS", opened, {{operation::getDefault, refusal}}}}},
        // A source that can't say its brightness for an operation error is unusable, no other query matters.
        {2,
         {{"OpenDS",
           "OPENDSM; GETDEFAULT; OPENDS; " + refusedRange("Brightness", "BRIGHTNESS") +
               "CLOSEDS; CLOSEDSM; result 5",
           {{operation::get(ICAP_BRIGHTNESS), failWith(5)},
            {operation::getCurrent(ICAP_BRIGHTNESS), failWith(5)}}},
          {"OpenDS",
           std::string(opened).replace(opened.find("GET ICAP_C"), 19, refusedRange("Contrast", "CONTRAST")),
           {{operation::get(ICAP_CONTRAST), failWith(5)},
            {operation::getCurrent(ICAP_CONTRAST), failWith(5)}}}}},
        // A source that doesn't close stays open, a manager that doesn't is closed or used by the next call.
        {4,
         {{"CloseDS",
           "CLOSEDS; !failure; result 1; leaves Plain Source of Plain Family",
           {{operation::closeDs, refusal}}},
          {"CloseDS",
           "CLOSEDS; !failure; result 0; leaves Plain Source of Plain Family",
           {{operation::closeDs, cancel}}},
          {"CloseDS", "CLOSEDS; " + notClosed + "result 0; state 3", {{operation::closeDsm, refusal}}},
          {"CloseDS", "! DS is already closed in @; CLOSEDSM; result 0; state 2"},
          {"CloseDS", "!sequence"},
          {"SelectDS",
           "OPENDSM; USERSELECT; " + notClosed + "result 0; state 3",
           {{operation::closeDsm, refusal}}},
          {"CloseDS",
           "! DS is already closed in @; " + notClosed + "result 0",
           {{operation::closeDsm, refusal}}},
          {"OpenDS",
           "! Data Source Manager is already open in TScanModule::OpenDSM; GETDEFAULT; OPENDS; " + queries}}},
        // Out of sequence: only the parent is taken, from an enabled source's host the name too.
        {4,
         {{"OpenDS other Another", "! DS is already open in @; result 0"},
          {"EnableDS 0 0", "ENABLEDS show 0 modal 0; result 0; state 5; other"},
          {"CloseDS", "!sequence; leaves Plain Source of Plain Family"},
          {"OpenDS host Another",
           "! Sequence error in TScanModule::OpenDSM; ! OpenDSM returns failure in @; result 11"},
          {"DisableDS", "DISABLEDS show 0 modal 1; result 0; state 4; as Another"}}},
        {2, {{"EnableDS 1 1", "!sequence"}, {"DisableDS", "!sequence"}, {"CloseDS", "!sequence"}}},
        {1,
         {{"OpenDS", "!manager"},
          {"EnableDS 1 1", "!manager"},
          {"DisableDS", "!manager"},
          {"CloseDS", "!manager"}}},
    };
    for (const Session& session : sessions) {
        CAPTURE(&session - sessions);
        play(session);
    }
}

TEST_CASE("enabling and disabling, with and without a disabled parent") {
    const std::string modal = "host disabled; ENABLEDS show 1 modal 1; ";
    const Session sessions[] = {
        // A source that changed the request is enabled all the same.
        {4,
         {{"EnableDS 1 0", "ENABLEDS show 1 modal 0; result 0; state 5"},
          {"EnableDS 0 1", "! DS is already enabled in @; result 0"},
          {"DisableDS", "DISABLEDS show 0 modal 1; result 0; state 4"},
          {"DisableDS", "! DS is already disabled in @; result 0"},
          {"EnableDS 0 1",
           "host disabled; ENABLEDS show 0 modal 1; ! DSM_Entry returns check condition in @; result 0; "
           "state 5",
           {{operation::enableDs, returnCode(TWRC_CHECKSTATUS)}}},
          {"DisableDS", "DISABLEDS show 0 modal 1; host enabled; result 0; state 4"}}},
        // One that isn't gives the parent back, when its reason is known.
        {4,
         {{"EnableDS 1 1", modal + "!failure; host enabled; result 5", {{operation::enableDs, failWith(5)}}},
          {"EnableDS 1 1", modal + "!failure; host enabled; result 0", {{operation::enableDs, cancel}}}}},
        // One that can't be disabled gives it back by code 0 alone.
        {4,
         {{"EnableDS 1 1", modal + "result 0; state 5"},
          {"DisableDS", "DISABLEDS show 0 modal 1; !failure; result 1", {{operation::disableDs, refusal}}},
          {"DisableDS",
           "DISABLEDS show 0 modal 1; !failure; host enabled; result 0",
           {{operation::disableDs, cancel}}},
          {"CloseDS", "!sequence; leaves Plain Source of Plain Family"}}},
        // The window that was disabled is the one that is enabled.
        {4,
         {{"EnableDS 1 1", modal + "result 0; state 5"},
          {"OpenDS other",
           "! Sequence error in TScanModule::OpenDSM; ! OpenDSM returns failure in @; result 11"},
          {"DisableDS", "DISABLEDS show 0 modal 1; host enabled; result 0; state 4; other"}}},
    };
    for (const Session& session : sessions) {
        CAPTURE(&session - sessions);
        play(session);
    }
    // A window that the host disabled itself stays so.
    Stage stage;
    stage.enable(true, true);
    stage.module.DisableDS();
    stage.module.EnableDS(TRUE, FALSE);
    EnableWindow(stage.host.window(), FALSE);
    stage.module.DisableDS();
    CHECK_FALSE(IsWindowEnabled(stage.host.window()));
}

TEST_CASE("what a manager is told of the module, and what is noted of the parent") {
    Stage stage;
    CHECK(stage.module.OpenDS(stage.host.window(), nullptr) == 0);
    const TW_IDENTITY expected = {0,
                                  {1, 1, TWLG_USA, TWCY_USA, "Versi\xf3n 1.00"},
                                  1,
                                  5,
                                  DG_CONTROL | DG_IMAGE,
                                  "KAVRO",
                                  "VORN Scan Module",
                                  "VORN Scan Module"};
    CHECK(std::memcmp(&stage.manager.application(), &expected, sizeof expected) == 0);
    stage.forget();
    stage.module.EnableDS(TRUE, TRUE);
    CHECK(outline(stage) == "EnableDS('To disable parent window' 'Disable parent window OK')");
}
