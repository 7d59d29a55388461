// The session: manager and source opened, enabled, disabled and closed, with every failure on the way.
#include <cstring>

#include "Script.h"

namespace {

struct Session {
    int state;                                               // in which it begins
    std::vector<std::pair<std::string, std::string>> steps;  // calls and what happens
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

// The journal of a call ends with its result, the state when that is a new one, the host's name when it isn't
// the usual one, and after CloseDS a source that is left.
void play(const Session& session) {
    StageIn stage(session.state);
    const RecordingHost other{"other"};
    SetWindowTextA(other.window(), "other");
    for (const TW_UINT16 tone : {ICAP_BRIGHTNESS, ICAP_CONTRAST, ICAP_HIGHLIGHT, ICAP_SHADOW, ICAP_THRESHOLD})
        stage->manager.answer(operation::get(tone), give(fix32Range(-100, 100, 1, 0)));
    stage->manager.answer(operation::getCurrent(ICAP_XFERMECH), give(oneValue(TWTY_UINT16, TWSX_MEMORY)));
    int state = stage->manager.state();
    for (const auto& [call, record] : session.steps) {
        CAPTURE(call);
        const std::string story = scripted(stage->manager, record), method = call.substr(0, call.find(' '));
        journal.push_back("result " + std::to_string(perform(*stage, other, call)));
        if (stage->manager.state() != state)
            journal.push_back("state " + std::to_string(state = stage->manager.state()));
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
        checkStory(*stage, story, method);
    }
}

void play(const std::vector<Session>& sessions) {
    for (const Session& session : sessions) {
        CAPTURE(&session - sessions.data());
        play(session);
    }
}

std::string failed(const std::string& method) {
    return "! DSM_Entry returns failure in TScanModule::" + method + "; ";
}

// A range that can't be had for an operation error.
std::string refusedRange(const std::string& name, const std::string& capability) {
    const std::string failure =
        " [5]; ! CapNegotiate returns failure in TScanModule::GetDS" + name + "Range; STATUS; ";
    return "GET ICAP_" + capability + failure + "GETCURRENT ICAP_" + capability + failure;
}

const std::string fromContrast =
    "GET ICAP_HIGHLIGHT; GET ICAP_SHADOW; GET ICAP_THRESHOLD; "
    "SET ICAP_XFERMECH one UINT16 2; GETCURRENT ICAP_XFERMECH; result 0; state 4";
const std::string queries = "GET ICAP_BRIGHTNESS; GET ICAP_CONTRAST; " + fromContrast;
const std::string opened = "OPENDSM; GETDEFAULT; OPENDS; " + queries;
const std::string closed = "CLOSEDS; CLOSEDSM; result 0; state 2";
const std::string leaves = "leaves Plain Source of Plain Family";
const std::string busy =
    "! Sequence error in TScanModule::OpenDSM; ! OpenDSM returns failure in @; result 11";

}  // namespace

TEST_CASE("opening and closing") {
    const std::string dsmFails = "! OpenDSM returns failure in @; result ",
                      isOpen = "! DS is already open in @; result 0";
    const std::string notClosed = failed("CloseDSM") + "STATUS; ", isClosed = "! DS is already closed in @; ";
    const std::string enabled = "ENABLEDS show 0 modal 0", name = "as 123456789_123456789_123456789_123";
    const std::string ofDesktop = std::string(opened).replace(0, 7, "!parent; OPENDSM of the desktop");
    play({
        {2,
         {{"OpenDS host 123456789_123456789_123456789_123456789", opened + "; " + name},
          {"CloseDS", closed + "; " + name},
          // Without a name and a window: the module's own, and the desktop.
          {"OpenDS -", ofDesktop},
          {"OpenDS", isOpen},
          {"EnableDS 0 0", enabled + "; result 0; state 5"}}},
        // A manager that doesn't open, also without a condition code.
        {2,
         {{"OpenDS", "OPENDSM [2]; " + failed("OpenDSM") + "STATUS; " + dsmFails + "2"},
          {"OpenDS", "OPENDSM [1]; " + failed("OpenDSM") + "STATUS [1]; " + failed("GetTWAINStatusCode") +
                         dsmFails + "1"},
          {"OpenDS", "OPENDSM [cancel]; " + failed("OpenDSM") + "STATUS; " + dsmFails + "1"},
          {"OpenDS", opened},
          {"OpenDS - Nobody", "!parent; " + isOpen},
          {"EnableDS 0 0", enabled + " of the desktop; result 0; state 5"}}},
        // A source that doesn't open stays chosen, until it is closed. No default does no harm.
        {2,
         {{"OpenDS", "OPENDSM; GETDEFAULT; OPENDS [4]; !failure; CLOSEDSM; result 4"},
          {"OpenDS", "OPENDSM; OPENDS [cancel]; !failure; CLOSEDSM; result 0"},
          {"OpenDS", "OPENDSM; OPENDS; " + queries},
          {"CloseDS", closed},
          {"OpenDS", "OPENDSM; GETDEFAULT [1]; OPENDS; " + queries}}},
        // A source that can't say its brightness for an operation error is unusable, no other query matters.
        {2,
         {{"OpenDS", "OPENDSM; GETDEFAULT; OPENDS; " + refusedRange("Brightness", "BRIGHTNESS") +
                         "CLOSEDS; CLOSEDSM; result 5"},
          {"OpenDS", "OPENDSM; GETDEFAULT; OPENDS; GET ICAP_BRIGHTNESS; " +
                         refusedRange("Contrast", "CONTRAST") + fromContrast}}},
        // A source that doesn't close stays open, a manager that doesn't is closed or used by the next call.
        {4,
         {{"CloseDS", "CLOSEDS [1]; !failure; result 1; " + leaves},
          {"CloseDS", "CLOSEDS [cancel]; !failure; result 0; " + leaves},
          {"CloseDS", "CLOSEDS; CLOSEDSM [1]; " + notClosed + "result 0; state 3"},
          {"CloseDS", isClosed + "CLOSEDSM; result 0; state 2"},
          {"CloseDS", "!sequence"},
          {"SelectDS", "OPENDSM; USERSELECT; CLOSEDSM [cancel]; " + notClosed + "result 0; state 3"},
          {"CloseDS", isClosed + "CLOSEDSM [1]; " + notClosed + "result 0"},
          {"OpenDS",
           "! Data Source Manager is already open in TScanModule::OpenDSM; GETDEFAULT; OPENDS; " + queries}}},
        // Out of sequence: only the parent is taken, from an enabled source's host the name too.
        {4,
         {{"OpenDS other Another", isOpen},
          {"EnableDS 0 0", enabled + " of other; result 0; state 5"},
          {"CloseDS", "!sequence; " + leaves},
          {"OpenDS host Another", busy},
          {"DisableDS", "DISABLEDS show 0 modal 1; result 0; state 4; as Another"}}},
        {1, {{"OpenDS", "!manager"}}},
    });
    for (const std::string call : {"EnableDS 1 1", "DisableDS", "CloseDS"})
        play({{2, {{call, "!sequence"}}}, {1, {{call, "!manager"}}}});
}

TEST_CASE("enabling and disabling, with and without a disabled parent") {
    const std::string modal = "host disabled; ENABLEDS show 1 modal 1", disabled = "DISABLEDS show 0 modal 1";
    play({
        // A source that changed the request is enabled all the same.
        {4,
         {{"EnableDS 1 0", "ENABLEDS show 1 modal 0; result 0; state 5"},
          {"EnableDS 0 1", "! DS is already enabled in @; result 0"},
          {"DisableDS", disabled + "; result 0; state 4"},
          {"DisableDS", "! DS is already disabled in @; result 0"},
          {"EnableDS 1 1", modal + " [check]; ! DSM_Entry returns check condition in @; result 0; state 5"},
          {"DisableDS", disabled + "; host enabled; result 0; state 4"}}},
        // One that isn't gives the parent back, when its reason is known.
        {4,
         {{"EnableDS 1 1", modal + " [5]; !failure; host enabled; result 5"},
          {"EnableDS 1 1", modal + " [cancel]; !failure; host enabled; result 0"}}},
        // One that can't be disabled gives it back by code 0 alone.
        {4,
         {{"EnableDS 1 1", modal + "; result 0; state 5"},
          {"DisableDS", disabled + " [1]; !failure; result 1"},
          {"DisableDS", disabled + " [cancel]; !failure; host enabled; result 0"},
          {"CloseDS", "!sequence; " + leaves}}},
        // The window that was disabled is the one that is enabled.
        {4,
         {{"EnableDS 1 1", modal + "; result 0; state 5"},
          {"OpenDS other", busy},
          {"DisableDS", disabled + " of other; host enabled; result 0; state 4"}}},
    });
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
    const TW_VERSION version = {1, 1, TWLG_USA, TWCY_USA, "Versi\xf3n 1.00"};
    const TW_IDENTITY expected = {
        0, version, 1, 5, DG_CONTROL | DG_IMAGE, "KAVRO", "VORN Scan Module", "VORN Scan Module"};
    CHECK(std::memcmp(&stage.manager.application(), &expected, sizeof expected) == 0);
    stage.forget();
    stage.module.EnableDS(TRUE, TRUE);
    CHECK(outline(stage) == "EnableDS('To disable parent window' 'Disable parent window OK')");
}
