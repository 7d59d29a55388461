#include "source/SourceIdentity.h"

#include "Version.h"

namespace vscan {

namespace {

void setText(TW_STR32& target, const std::string& text) {
    lstrcpynA(target, text.c_str(), static_cast<int>(sizeof target));
}

}  // namespace

void describeSource(const VirtualScannerSettings& settings, TW_IDENTITY& identity) {
    identity.Version.MajorNum = SCANMODULE_VERSION_MAJOR;
    identity.Version.MinorNum = SCANMODULE_VERSION_MINOR;
    identity.Version.Language = TWLG_USA;
    identity.Version.Country = TWCY_USA;
    setText(identity.Version.Info, SCANMODULE_VERSION_TEXT);
    identity.ProtocolMajor = 1;
    identity.ProtocolMinor = static_cast<TW_UINT16>(settings.protocolMinor);
    identity.SupportedGroups = DG_CONTROL | DG_IMAGE;
    setText(identity.Manufacturer, settings.manufacturer);
    setText(identity.ProductFamily, settings.productFamily);
    setText(identity.ProductName, settings.productName);
}

}  // namespace vscan
