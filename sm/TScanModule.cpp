#include "TScanModule.h"

#include "Resources.h"
#include "base/Names.h"

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

}  // namespace

TScanModule::TScanModule(HINSTANCE instance) : link_(instance) {
    trace::setUp();
    for (const char* line : {startBanner, startRule, startBlank})
        traceText(line);
    const MethodTrace trace{"TScanModule::TScanModule"};
    link_.application = makeIdentity(instance);
    host_.registerMessages();
    link_.load();
}

TScanModule::~TScanModule() {
    {
        const MethodTrace trace{"TScanModule::~TScanModule"};
        if (link_.isLoaded()) link_.unload();
    }
    for (const char* line : {endBlank, endBanner, endRule})
        traceText(line);
    trace::shutDown();
}

BOOL TScanModule::IsTWAINAvailable() {
    return link_.isAvailable();
}

TW_UINT16 TScanModule::CapNegotiate(TW_UINT16 message, TW_CAPABILITY* cap) {
    return negotiation_.exchange(message, *cap);
}
