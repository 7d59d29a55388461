#include "capabilities/Containers.h"

#include <cstddef>
#include <cstring>

#include "base/Trace.h"

namespace {

constexpr uint32_t listOffset = offsetof(TW_ENUMERATION, ItemList);

template <class Value>
Value readAt(const LockedBlock& block, uint32_t offset) {
    Value value;
    std::memcpy(&value, block.data() + offset, sizeof value);
    return value;
}

// A field that lies outside every block.
constexpr uint32_t nowhere = ~uint32_t{0} - sizeof(TW_UINT32);

TW_UINT16 refuse(const Caller& caller, const LockedContainer& container, TW_UINT16 lockFailure) {
    if (container.exists() && container.block().data() == nullptr) {
        caller.warn("Lock memory error");
        return lockFailure;
    }
    // Kept: an item type that is none is refused without a word.
    if (container.itemWidth() != 0 || container.block().size() < sizeof(TW_UINT16))
        caller.warn("Invalid memory");
    return TWCC_BADVALUE;
}

// What all extractors share: the item at an offset of the block. `lockFailure` is the result of a failed
// lock.
TW_UINT16 extract(const MethodTrace& trace, const LockedContainer& container, TW_UINT32* out,
                  TW_UINT16 lockFailure, uint32_t offset, TracePoint at = TracePoint::here()) {
    *out = 0;
    const uint32_t width = container.itemWidth();
    const LockedBlock& block = container.block();
    if (width == 0 || offset + width > block.size()) return refuse({trace, at}, container, lockFailure);
    switch (width) {
        case sizeof(TW_UINT8):
            *out = readAt<TW_UINT8>(block, offset);
            break;
        case sizeof(TW_UINT16):
            *out = readAt<TW_UINT16>(block, offset);
            break;
        default:
            *out = readAt<TW_UINT32>(block, offset);
    }
    return TWCC_SUCCESS;
}

// The shared end of the builders: fills the freshly allocated block.
template <class Filler>
TW_UINT16 build(const Caller& caller, TW_CAPABILITY* cap, TW_UINT16 containerKind, uint32_t size,
                Filler fill) {
    cap->hContainer = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, size);
    if (cap->hContainer == nullptr) {
        caller.warn("Memory alloc error");
        return TWCC_LOWMEMORY;
    }
    cap->ConType = containerKind;
    void* block = GlobalLock(cap->hContainer);
    if (block == nullptr) {
        caller.warn("Lock memory error");
        // Kept: the freed handle stays in hContainer; no caller frees after a failed build.
        GlobalFree(cap->hContainer);
        return TWCC_LOWMEMORY;
    }
    fill(block);
    GlobalUnlock(cap->hContainer);
    return TWCC_SUCCESS;
}

}  // namespace

int64_t truncated(double value) {
    constexpr double limit = 9.2e18;
    return value > -limit && value < limit ? static_cast<int64_t>(value) : 0;
}

double fix32ToNumber(TW_FIX32 value) {
    return value.Whole + value.Frac / 65536.0;
}

TW_FIX32 numberToFix32(float value) {
    return {static_cast<TW_INT16>(truncated(value)),
            static_cast<TW_UINT16>(truncated(value * 65536.0 + 0.5))};
}

TW_FIX32 fix32FromBits(TW_UINT32 bits) {
    return {static_cast<TW_INT16>(bits & 0xFFFF), static_cast<TW_UINT16>(bits >> 16)};
}

TW_UINT32 fix32ToBits(TW_FIX32 value) {
    return static_cast<TW_UINT16>(value.Whole) | static_cast<TW_UINT32>(value.Frac) << 16;
}

uint32_t ItemSize(TW_UINT16 itemType) {
    switch (itemType) {
        case TWTY_INT8:
        case TWTY_UINT8:
            return 1;
        case TWTY_INT16:
        case TWTY_UINT16:
        case TWTY_BOOL:
            return 2;
        default:
            return 4;
    }
}

LockedContainer::LockedContainer(const TW_CAPABILITY& cap)
    : kind_(cap.ConType), exists_(cap.hContainer != nullptr), block_(cap.hContainer) {
    if (block_.size() < sizeof(TW_UINT16)) return;
    const auto itemType = readAt<TW_UINT16>(block_, 0);
    if (itemType <= TWTY_FIX32) itemWidth_ = ItemSize(itemType);
    if (kind_ != TWON_ENUMERATION || block_.size() < listOffset) return;
    listLength_ = readAt<TW_UINT32>(block_, offsetof(TW_ENUMERATION, NumItems));
    holdsList_ = listOffset + static_cast<uint64_t>(listLength_) * itemWidth_ <= block_.size();
}

TW_UINT16 ExtractOneValue(const LockedContainer& container, TW_UINT32* out) {
    const MethodTrace trace{"ExtractOneValue"};
    // Kept: a failed lock is 10 here and 2 in the other extractors.
    return extract(trace, container, out, TWCC_BADVALUE, offsetof(TW_ONEVALUE, Item));
}

TW_UINT16 ExtractEnumerationNumItems(const LockedContainer& container, TW_UINT32* out) {
    const MethodTrace trace{"ExtractEnumerationNumItems"};
    const uint32_t offset = container.holdsList() ? offsetof(TW_ENUMERATION, NumItems) : nowhere;
    return extract(trace, container, out, TWCC_LOWMEMORY, offset);
}

TW_UINT16 ExtractEnumerationValue(const LockedContainer& container, TW_UINT32* out, int32_t index) {
    const MethodTrace trace{"ExtractEnumerationValue"};
    uint32_t offset = nowhere;
    if (container.holdsList()) {
        uint32_t place = static_cast<uint32_t>(index);
        if (index == enumerationCurrent) {
            place = readAt<TW_UINT32>(container.block(), offsetof(TW_ENUMERATION, CurrentIndex));
        } else if (index == enumerationDefault) {
            place = readAt<TW_UINT32>(container.block(), offsetof(TW_ENUMERATION, DefaultIndex));
        }
        if (place < container.listLength()) offset = listOffset + place * container.itemWidth();
    }
    return extract(trace, container, out, TWCC_LOWMEMORY, offset);
}

TW_UINT16 ExtractRangeValue(const LockedContainer& container, TW_UINT32* out, int32_t selector) {
    const MethodTrace trace{"ExtractRangeValue"};
    const auto offset = [selector]() -> uint32_t {
        switch (selector) {
            case rangeMin:
                return offsetof(TW_RANGE, MinValue);
            case rangeMax:
                return offsetof(TW_RANGE, MaxValue);
            case rangeStep:
                return offsetof(TW_RANGE, StepSize);
            case rangeDefault:
                return offsetof(TW_RANGE, DefaultValue);
            default:
                return offsetof(TW_RANGE, CurrentValue);
        }
    };
    return extract(trace, container, out, TWCC_LOWMEMORY, offset());
}

TW_UINT16 BuildupOneValue(TW_CAPABILITY* cap, TW_UINT16 itemType, TW_UINT32 item) {
    const MethodTrace trace{"BuildupOneValue"};
    return build(trace, cap, TWON_ONEVALUE, sizeof(TW_ONEVALUE), [&](void* block) {
        const TW_ONEVALUE container = {itemType, item};
        std::memcpy(block, &container, sizeof container);
    });
}

TW_UINT16 BuildupEnumeration(TW_CAPABILITY* cap, TW_UINT16 itemType, TW_UINT32 numItems,
                             TW_UINT32 currentIndex, TW_UINT32 defaultIndex, const void* items) {
    const MethodTrace trace{"BuildupEnumeration"};
    const uint32_t listSize = ItemSize(itemType) * numItems;
    // Kept: 16, two bytes more than the header has; sources see the block's size.
    constexpr uint32_t headerSize = 16;
    return build(trace, cap, TWON_ENUMERATION, listSize + headerSize, [&](void* block) {
        const TW_ENUMERATION header = {itemType, numItems, currentIndex, defaultIndex, {}};
        std::memcpy(block, &header, listOffset);
        if (listSize != 0) std::memcpy(static_cast<uint8_t*>(block) + listOffset, items, listSize);
    });
}
