#pragma once

#include <scanmodule/twain_types.h>
#include <windows.h>

#include <string>
#include <vector>

#include "common/RawCapability.h"

namespace smview {

// All that a source tells of one capability, in words.
struct CapabilityFacts {
    TW_UINT16 id = 0;
    TW_UINT16 itemType = 0;  // 0xffff if it doesn't answer
    std::string name;        // "ICAP_UNITS", "0x8005"
    std::string type;        // "UINT16"
    std::string container;   // "enumeration"
    std::string current;
    std::string offered;     // "0, 1, 2", "50 to 600 step 1 (200)"; empty if it doesn't say
    std::string operations;  // "get, set, reset"; empty if it doesn't say
    std::string problem;     // why there is nothing else
};

// What the source says that it has (CAP_SUPPORTEDCAPS), else all that have a name.
std::vector<TW_UINT16> offeredCapabilities(host::Negotiate negotiate);

CapabilityFacts describeCapability(host::Negotiate negotiate, TW_UINT16 id);

// What a source makes of a change. The module tells no condition code of these operations.
struct ChangeResult {
    bool taken;
    std::string words;  // empty when it was taken as it was meant
};

// Sets it to the value that a text says, in the item type that the source answers with: a number, "on",
// "off", or for types that hold texts the text.
ChangeResult setCapability(host::Negotiate negotiate, const CapabilityFacts& facts, const std::string& text);

// Sets it back to what the source has by itself.
ChangeResult resetCapability(host::Negotiate negotiate, TW_UINT16 id);

}  // namespace smview
