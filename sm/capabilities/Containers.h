// The codec of the capability containers: builds the one sent with MSG_SET, reads single values out of the
// one a source gave. Stateless; never calls the source.
#pragma once

#include <scanmodule/twain_types.h>

#include <cstdint>

#include "base/GlobalBuffer.h"

// Truncates toward zero; what no 64-bit integer holds becomes 0.
int64_t truncated(double value);

// Exact.
double fix32ToNumber(TW_FIX32 value);
// Kept: the whole part is truncated and the fraction rounded, each on its own. 2.999999 becomes 2.0 and
// -1.5 becomes -1 + 0x8001/65536; sources have been tuned to what this sends.
TW_FIX32 numberToFix32(float value);

// A TW_FIX32 travels through a container's 32-bit item: Whole in the low half, Frac in the high half.
TW_FIX32 fix32FromBits(TW_UINT32 bits);
TW_UINT32 fix32ToBits(TW_FIX32 value);

// Bytes of one list item. Frames, strings and everything unknown count as 4: only scalars are supported.
uint32_t ItemSize(TW_UINT16 itemType);

// The container that a capability holds, locked once for all the values that are read out of it: a call takes
// a capability for it.
class LockedContainer {
public:
    LockedContainer(const TW_CAPABILITY& cap);

    TW_UINT16 kind() const { return kind_; }  // TWON_...
    bool exists() const { return exists_; }
    const LockedBlock& block() const { return block_; }
    // Bytes of an item; 0 when the block doesn't tell, or tells a type that is none.
    uint32_t itemWidth() const { return itemWidth_; }
    // Of an enumeration. A list that claims more items than its block holds is no list at all.
    bool holdsList() const { return holdsList_; }
    uint32_t listLength() const { return listLength_; }

private:
    const TW_UINT16 kind_;
    const bool exists_;
    const LockedBlock block_;
    uint32_t itemWidth_ = 0;
    bool holdsList_ = false;
    uint32_t listLength_ = 0;
};

// The extractors write the item's raw bits, at the item type's width and without sign extension, into *out
// (0 on every failure). Results: 0; 2 the block can't be locked; 10 no block, an item type above TWTY_FIX32,
// or a value that would lie outside the block.
TW_UINT16 ExtractOneValue(const LockedContainer& container, TW_UINT32* out);

// Kept: the count is read at the width of the item type, so a list of 256 8-bit items counts 0.
TW_UINT16 ExtractEnumerationNumItems(const LockedContainer& container, TW_UINT32* out);

// index: a place in the list, or one of these two.
enum EnumerationIndex { enumerationDefault = -1, enumerationCurrent = -2 };
TW_UINT16 ExtractEnumerationValue(const LockedContainer& container, TW_UINT32* out, int32_t index);

// Any other selector reads the current value.
enum RangeField { rangeMin = -1, rangeMax = -2, rangeStep = -3, rangeDefault = -4, rangeCurrent = -5 };
TW_UINT16 ExtractRangeValue(const LockedContainer& container, TW_UINT32* out, int32_t selector);

// The builders allocate the container, set ConType and hContainer and leave Cap alone. After result 0 the
// caller owns the handle; after result 2 (no memory) there is nothing to free, whatever hContainer holds.
TW_UINT16 BuildupOneValue(TW_CAPABILITY* cap, TW_UINT16 itemType, TW_UINT32 item);
TW_UINT16 BuildupEnumeration(TW_CAPABILITY* cap, TW_UINT16 itemType, TW_UINT32 numItems,
                             TW_UINT32 currentIndex, TW_UINT32 defaultIndex, const void* items);

// Frees the container that a capability holds at the end of the scope. Made only after a build or a
// negotiation succeeded; the source may have put another handle into the capability, so the handle is looked
// up then.
class ContainerOwner {
public:
    explicit ContainerOwner(const TW_CAPABILITY& cap) : cap_(cap) {}
    ~ContainerOwner() { GlobalFree(cap_.hContainer); }
    ContainerOwner(const ContainerOwner&) = delete;
    ContainerOwner& operator=(const ContainerOwner&) = delete;

private:
    const TW_CAPABILITY& cap_;
};
