// The names of the capabilities that the virtual scanner has, for settings and messages.
#pragma once

#include <optional>
#include <string>

namespace vscan {

// The KAVRO extensions.
enum : int {
    KvVersion = 0x8001,
    KvDraftScan = 0x8004,
    KvExposureMode = 0x8005,
    KvLut1 = 0x8007,
    KvLut2 = 0x8008,
    KvColorCorrection = 0x8009,
    KvDescreening = 0x800A,
    KvDescreeningLimit = 0x800B,
    KvUnsharpMask = 0x800E,
    KvUiMode = 0x800F,
    KvPimFlag = 0x8010
};

// "ICAP_UNITS", or the number in hexadecimal when the capability has no name here.
std::string capabilityName(int capability);
// From a name, in any case, or a number, decimal or 0x...
std::optional<int> capabilityFromText(const std::string& text);

}  // namespace vscan
