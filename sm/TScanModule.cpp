#include "TScanModule.h"

#include "Names.h"
#include "Resources.h"

namespace {

constexpr char startBanner[] = "         <<<<< Start Scan Module Diagnostic >>>>>      ";
constexpr char startRule[] = "               ~~~~~~~~~~~~~~~~~~~~~~~~~~~~            ";
constexpr char startBlank[] = "                                                       ";
constexpr char endBlank[] = "                                                     ";
constexpr char endBanner[] = "         <<<<< End Scan Module Diagnostic >>>>>      ";
// Kept: two tildes fewer than the start rule, each rule is as wide as its banner's text.
constexpr char endRule[] = "               ~~~~~~~~~~~~~~~~~~~~~~~~~~            ";
static_assert(sizeof startBlank == 55 + 1 && sizeof endBlank == 53 + 1);

// What this module tells the manager about itself.
TW_IDENTITY makeIdentity(HINSTANCE instance) {
    TW_IDENTITY identity = {};
    char text[256] = "";
    char version[256] = "";
    LoadStringA(instance, IDS_VERSION_FORMAT, text, sizeof text);
    // Kept: the identity's own numbers, not those of the product's version; hosts and sources know them.
    wsprintfA(version, text, 1, 0);
    identity.Version = {1, 1, TWLG_USA, TWCY_USA, ""};
    lstrcpynA(identity.Version.Info, version, sizeof identity.Version.Info);
    identity.ProtocolMajor = 1;
    identity.ProtocolMinor = 5;
    identity.SupportedGroups = DG_CONTROL | DG_IMAGE;
    LoadStringA(instance, IDS_MANUFACTURER, text, sizeof text);
    lstrcpynA(identity.Manufacturer, text, sizeof identity.Manufacturer);
    lstrcpynA(identity.ProductFamily, moduleName, sizeof identity.ProductFamily);
    lstrcpynA(identity.ProductName, moduleName, sizeof identity.ProductName);
    return identity;
}

struct MessageRegistration {
    UINT* identifier;
    const char* name;
};

template <size_t count>
void registerMessages(const MessageRegistration (&messages)[count], TracePoint at = TracePoint::here()) {
    bool failed = false;
    for (const MessageRegistration& message : messages) {
        *message.identifier = RegisterWindowMessageA(message.name);
        if (*message.identifier == 0) failed = true;
    }
    if (failed) {
        trace::write(TraceLevel::Fatal, at, "RegisterWindowMessage fails, Scan Module may not work properly");
    }
}

}  // namespace

TScanModule::TScanModule(HINSTANCE instance) : instance_(instance), parent_(GetDesktopWindow()) {
    trace::setUp();
    for (const char* line : {startBanner, startRule, startBlank})
        traceText(line);
    const MethodTrace trace{"TScanModule::TScanModule"};
    appIdentity_ = makeIdentity(instance);
    registerMessages({{&closeDSReq_, SM_MESSAGE_CLOSEDSREQ},
                      {&xferStart_, SM_MESSAGE_XFERSTART},
                      {&xferData_, SM_MESSAGE_XFERDATA},
                      {&xferEnd_, SM_MESSAGE_XFEREND}});
    registerMessages({{&scanToFileGetName_, SM_MESSAGE_SCANTOFILEGETNAME},
                      {&scanToFileXferEnd_, SM_MESSAGE_SCANTOFILEXFEREND},
                      {&scanToFileDSClosed_, SM_MESSAGE_SCANTOFILEDSCLOSED}});
    LoadTWAIN();
}

TScanModule::~TScanModule() {
    {
        const MethodTrace trace{"TScanModule::~TScanModule"};
        if (IsTWAINLoaded()) UnloadTWAIN();
    }
    for (const char* line : {endBlank, endBanner, endRule})
        traceText(line);
    trace::shutDown();
}

TW_UINT16 TScanModule::callManager(TW_UINT16 argumentType, TW_UINT16 message, void* data) {
    if (loader_.entry == nullptr) return TWRC_FAILURE;
    return loader_.entry(&appIdentity_, nullptr, DG_CONTROL, argumentType, message, data);
}

TW_UINT16 TScanModule::callSource(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, void* data) {
    if (loader_.entry == nullptr) return TWRC_FAILURE;
    return loader_.entry(&appIdentity_, &dsIdentity_, group, argumentType, message, data);
}

TW_UINT16 TScanModule::askIdentity(TW_UINT16 message, TW_IDENTITY* identity) {
    const TW_UINT16 code = callManager(DAT_IDENTITY, message, identity);
    // A careless source fills its texts to the brim.
    for (TW_STR32* text : {&identity->Version.Info, &identity->Manufacturer, &identity->ProductFamily,
                           &identity->ProductName}) {
        (*text)[sizeof *text - 1] = '\0';
    }
    return code;
}

LRESULT TScanModule::tellHost(UINT message, WPARAM wParam, const void* lParam) {
    return SendMessageA(parent_, message, wParam, reinterpret_cast<LPARAM>(lParam));
}

int32_t TScanModule::checkAvailable(const MethodTrace& trace, TracePoint at) {
    if (IsTWAINAvailable()) return 0;
    trace.warn("TWAIN is not available", at);
    return SM_RESULT_NOT_AVAILABLE;
}

int32_t TScanModule::checkReady(const MethodTrace& trace, SessionState lowest, TracePoint at) {
    if (const int32_t refused = checkAvailable(trace, at)) return refused;
    return loader_.state >= static_cast<uint32_t>(lowest) ? 0 : sequenceError(trace, at);
}

int32_t TScanModule::sequenceError(const MethodTrace& trace, TracePoint at) {
    trace.warn("Sequence error", at);
    return TWCC_SEQERROR;
}

int32_t TScanModule::callFailed(const MethodTrace& trace, TracePoint at) {
    trace.warn("DSM_Entry returns failure", at);
    return GetTWAINStatusCode();
}

HWND TScanModule::validParent(const MethodTrace& trace, HWND parent, TracePoint at) {
    if (parent != nullptr) return parent;
    trace.warn("Invalid parent window handle", at);
    return GetDesktopWindow();
}
