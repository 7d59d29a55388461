#include "settings/CapabilityText.h"

#include <cstdio>

#include "settings/TextValues.h"
#include "twain/CapabilityNames.h"

namespace vscan {

using shared::namedCapabilities;
using shared::NamedCapability;

std::string capabilityName(int capability) {
    for (const NamedCapability& entry : namedCapabilities)
        if (entry.id == capability) return entry.name;
    char number[16];
    std::snprintf(number, sizeof number, "0x%04X", static_cast<unsigned>(capability));
    return number;
}

std::optional<int> capabilityFromText(const std::string& text) {
    for (const NamedCapability& entry : namedCapabilities)
        if (sameText(text, entry.name)) return entry.id;
    return wholeNumber(text, 0, 0xFFFF);
}

}  // namespace vscan
