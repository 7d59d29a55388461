// Capability containers as a test writes them down: kind, bytes, and a text of what they hold.
#pragma once

#include <scanmodule/twain_types.h>

#include <cstdint>
#include <string>
#include <vector>

struct ContainerImage {
    TW_UINT16 conType = TWON_DONTCARE16;
    std::vector<uint8_t> bytes;
    bool hasHandle = true;

    // A block of global memory with these bytes, null when the image has no handle.
    HGLOBAL allocate() const;
};

// The raw 32 bits of the TW_FIX32 nearest to the value.
TW_UINT32 fix32(double value);

using Items = std::vector<TW_UINT32>;
ContainerImage oneValue(TW_UINT16 itemType, TW_UINT32 item);
ContainerImage enumeration(TW_UINT16 itemType, const Items& items, TW_UINT32 current = 0,
                           TW_UINT32 defaultIndex = 0);
ContainerImage array(TW_UINT16 itemType, const Items& items);
// Minimum, maximum, step, default and current value.
ContainerImage range(TW_UINT16 itemType, const Items& fields);
// Of TW_FIX32 values.
ContainerImage fix32Range(double min, double max, double step, double current);

// Any bytes under any kind.
ContainerImage rawContainer(TW_UINT16 conType, std::vector<uint8_t> bytes);
// The kind is set, the handle is null.
ContainerImage withoutHandle(TW_UINT16 conType);

// The container of a text: "one UINT16 4", "enum UINT16 [0 1 2] current 1 default 0", "array BOOL [1]",
// "range FIX32 -100 100 1 0 50" (in the order of range()). "nothing" has neither kind nor handle. A lying one
// ends with "count 4", the number of items that it claims, or "cut 13", the bytes of it that are there.
ContainerImage containerOf(const std::string& text);
// Such a text of a container.
std::string containerText(const TW_CAPABILITY& capability);
