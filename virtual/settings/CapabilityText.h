// Capabilities as settings name them.
#pragma once

#include <optional>
#include <string>

namespace vscan {

// "ICAP_UNITS", or the number in hexadecimal when the capability has no name here.
std::string capabilityName(int capability);
// From a name, in any case, or a number, decimal or 0x...
std::optional<int> capabilityFromText(const std::string& text);

}  // namespace vscan
