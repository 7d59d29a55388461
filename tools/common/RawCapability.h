#pragma once

#include <scanmodule/twain_types.h>
#include <windows.h>

#include <optional>
#include <vector>

namespace host {

// smCapNegotiate: for the capabilities that the module has no getter or no setter for.
using Negotiate = int(WINAPI*)(unsigned short message, void* capability);

struct CapabilityAnswer {
    double current = 0;
    std::vector<double> choices;  // of an enumeration
    double lowest = 0;            // of a range; equal for other containers
    double highest = 0;
};

// What the source says of a capability; nothing when it doesn't answer, or in a form that can't be read.
std::optional<CapabilityAnswer> askCapability(Negotiate negotiate, TW_UINT16 capability);

// What it has to choose from; empty when it doesn't tell, or not as a list.
std::vector<double> choicesOf(Negotiate negotiate, TW_UINT16 capability);

// False when the source refuses the value.
bool setCapability(Negotiate negotiate, TW_UINT16 capability, TW_UINT16 value);

// Where the present value stands on a scale that is laid over the source's range; nothing without a range.
std::optional<int> valueOnScale(const CapabilityAnswer& answer, int lowest, int highest);

}  // namespace host
