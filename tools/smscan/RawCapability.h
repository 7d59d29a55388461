#pragma once

#include <scanmodule/twain_types.h>
#include <windows.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace smscan {

// The capabilities that the module can't read back, or has no setter for, numbered as in the TWAIN standard.
enum CapabilityId : unsigned short {
    CapabilityUnits = 0x0102,
    CapabilityAutoFeed = 0x1007,
    CapabilityIndicators = 0x100b,
    CapabilityLightPath = 0x111e,
    CapabilityThreshold = 0x1123,
    CapabilityDraftScan = KV_DRAFTSCAN,
    CapabilityExposureMode = KV_EXPOSUREMODE,
    CapabilityDescreening = KV_DESCREENING,
};

// smCapNegotiate.
using Negotiate = int(WINAPI*)(unsigned short message, void* capability);

struct CapabilityAnswer {
    double current = 0;
    std::vector<double> choices;  // of an enumeration
    double lowest = 0;            // of a range; equal for other containers
    double highest = 0;
};

// What the source says of a capability; nothing when it doesn't answer, or in a form that can't be read.
std::optional<CapabilityAnswer> askCapability(Negotiate negotiate, CapabilityId capability);

// False when the source refuses the value.
bool setCapability(Negotiate negotiate, CapabilityId capability, uint16_t value);

// Where the present value stands on a scale that is laid over the source's range; nothing without a range.
std::optional<int> valueOnScale(const CapabilityAnswer& answer, int lowest, int highest);

}  // namespace smscan
