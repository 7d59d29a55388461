// Capability values in and out of the TWAIN standard's containers.
#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "scanmodule/twain_types.h"
#include "settings/Settings.h"

namespace vscan {

TW_FIX32 toFix32(double value);

struct RangeValues {
    double minimum = 0;
    double maximum = 0;
    double step = 1;
    double standard = 0;  // the default
    double current = 0;
};

// Containers in movable global memory for the host, which frees them; null when memory is short.
HGLOBAL makeOneValue(TW_UINT16 itemType, double value);
HGLOBAL makeEnumeration(TW_UINT16 itemType, const std::vector<double>& items, std::size_t current,
                        std::size_t standard);
HGLOBAL makeRange(TW_UINT16 itemType, const RangeValues& range);
HGLOBAL makeArray(TW_UINT16 itemType, const std::vector<double>& items);

// What a host wants set: the value, and what it wants to be offered from then on.
struct ProposedValue {
    double value = 0;
    std::vector<double> items;                        // of an enumeration
    std::optional<std::pair<double, double>> bounds;  // of a range
};
// Nothing when the container is damaged, of a kind that can't be set, or of another item type.
std::optional<ProposedValue> readContainer(const TW_CAPABILITY& capability, TW_UINT16 itemType);

// Makes a good answer odd.
void spoilContainer(TW_CAPABILITY& capability, OddContainers fault);

}  // namespace vscan
