#include "capabilities/CapabilityContainers.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "capabilities/GlobalMemory.h"
#include "twain/CapabilityItems.h"

namespace vscan {

using shared::itemNumber;
using shared::itemSize;

namespace {

constexpr std::size_t oneValueSize = sizeof(TW_ONEVALUE);
constexpr std::size_t enumerationHeader = offsetof(TW_ENUMERATION, ItemList);
constexpr std::size_t arrayHeader = offsetof(TW_ARRAY, ItemList);

// An item's bits; for types below 32 bits the upper ones are zero.
TW_UINT32 toItem(TW_UINT16 itemType, double value) {
    if (itemType == TWTY_FIX32) {
        const TW_FIX32 fixed = toFix32(value);
        return static_cast<TW_UINT16>(fixed.Whole) | static_cast<TW_UINT32>(fixed.Frac) << 16;
    }
    const auto whole = static_cast<TW_UINT32>(std::llround(value));
    const std::size_t size = itemSize(itemType);
    return size == 4 ? whole : whole & ((1u << size * 8) - 1);
}

void putItems(std::uint8_t* list, TW_UINT16 itemType, const std::vector<double>& items) {
    const std::size_t size = itemSize(itemType);
    for (std::size_t i = 0; i < items.size(); ++i) {
        const TW_UINT32 item = toItem(itemType, items[i]);
        std::memcpy(list + i * size, &item, size);
    }
}

std::optional<ProposedValue> readEnumeration(const std::uint8_t* block, std::size_t size,
                                             TW_UINT16 itemType) {
    if (size < enumerationHeader) return std::nullopt;
    const auto* enumeration = reinterpret_cast<const TW_ENUMERATION*>(block);
    const std::size_t room = (size - enumerationHeader) / itemSize(itemType);
    if (enumeration->ItemType != itemType || enumeration->NumItems > room ||
        enumeration->CurrentIndex >= enumeration->NumItems)
        return std::nullopt;
    ProposedValue proposed;
    for (std::size_t i = 0; i < enumeration->NumItems; ++i)
        proposed.items.push_back(itemNumber(itemType, enumeration->ItemList + i * itemSize(itemType)));
    proposed.value = proposed.items[enumeration->CurrentIndex];
    return proposed;
}

}  // namespace

TW_FIX32 toFix32(double value) {
    // Larger numbers than the type holds become the largest.
    const double held = std::clamp(value, -32768.0, 32767.0 + 65535.0 / 65536);
    const auto bits = static_cast<std::int32_t>(std::llround(held * 65536));
    return {static_cast<TW_INT16>(bits >> 16), static_cast<TW_UINT16>(bits & 0xFFFF)};
}

HGLOBAL makeOneValue(TW_UINT16 itemType, double value) {
    return makeGlobal(oneValueSize, [&](std::uint8_t* block) {
        auto* one = reinterpret_cast<TW_ONEVALUE*>(block);
        one->ItemType = itemType;
        one->Item = toItem(itemType, value);
    });
}

HGLOBAL makeEnumeration(TW_UINT16 itemType, const std::vector<double>& items, std::size_t current,
                        std::size_t standard) {
    return makeGlobal(enumerationHeader + items.size() * itemSize(itemType), [&](std::uint8_t* block) {
        auto* enumeration = reinterpret_cast<TW_ENUMERATION*>(block);
        enumeration->ItemType = itemType;
        enumeration->NumItems = static_cast<TW_UINT32>(items.size());
        enumeration->CurrentIndex = static_cast<TW_UINT32>(current);
        enumeration->DefaultIndex = static_cast<TW_UINT32>(standard);
        putItems(block + enumerationHeader, itemType, items);
    });
}

HGLOBAL makeRange(TW_UINT16 itemType, const RangeValues& range) {
    return makeGlobal(sizeof(TW_RANGE), [&](std::uint8_t* block) {
        auto* target = reinterpret_cast<TW_RANGE*>(block);
        target->ItemType = itemType;
        target->MinValue = toItem(itemType, range.minimum);
        target->MaxValue = toItem(itemType, range.maximum);
        target->StepSize = toItem(itemType, range.step);
        target->DefaultValue = toItem(itemType, range.standard);
        target->CurrentValue = toItem(itemType, range.current);
    });
}

HGLOBAL makeArray(TW_UINT16 itemType, const std::vector<double>& items) {
    return makeGlobal(arrayHeader + items.size() * itemSize(itemType), [&](std::uint8_t* block) {
        auto* array = reinterpret_cast<TW_ARRAY*>(block);
        array->ItemType = itemType;
        array->NumItems = static_cast<TW_UINT32>(items.size());
        putItems(block + arrayHeader, itemType, items);
    });
}

std::optional<ProposedValue> readContainer(const TW_CAPABILITY& capability, TW_UINT16 itemType) {
    const GlobalLockedBlock block(capability.hContainer);
    if (!block.data()) return std::nullopt;
    if (capability.ConType == TWON_ENUMERATION) return readEnumeration(block.data(), block.size(), itemType);
    if (capability.ConType == TWON_ONEVALUE && block.size() >= oneValueSize) {
        const auto* one = reinterpret_cast<const TW_ONEVALUE*>(block.data());
        if (one->ItemType == itemType) return ProposedValue{itemNumber(itemType, &one->Item), {}, {}};
    }
    if (capability.ConType == TWON_RANGE && block.size() >= sizeof(TW_RANGE)) {
        const auto* range = reinterpret_cast<const TW_RANGE*>(block.data());
        // By value: the fields of a packed structure lie where they lie.
        const auto number = [&](TW_UINT32 item) { return itemNumber(itemType, &item); };
        if (range->ItemType == itemType)
            return ProposedValue{
                number(range->CurrentValue), {}, {{number(range->MinValue), number(range->MaxValue)}}};
    }
    return std::nullopt;
}

void spoilContainer(TW_CAPABILITY& capability, OddContainers fault) {
    constexpr TW_UINT16 nonsenseType = 0x00FF;
    constexpr TW_UINT32 beyond = 1000;
    constexpr SIZE_T stump = 3;
    if (fault == OddContainers::NoHandle) {
        GlobalFree(capability.hContainer);
        capability.hContainer = nullptr;
    } else if (fault == OddContainers::Truncated) {
        if (HGLOBAL shorter = GlobalReAlloc(capability.hContainer, stump, GMEM_MOVEABLE))
            capability.hContainer = shorter;
    } else if (fault == OddContainers::Array) {
        GlobalFree(capability.hContainer);
        capability.ConType = TWON_ARRAY;
        capability.hContainer = makeArray(TWTY_UINT16, {0, 1});
    } else {
        const GlobalLockedBlock block(capability.hContainer);
        if (!block.data()) return;
        auto* enumeration = reinterpret_cast<TW_ENUMERATION*>(block.data());
        if (fault == OddContainers::ItemType) enumeration->ItemType = nonsenseType;
        if (capability.ConType != TWON_ENUMERATION) return;
        if (fault == OddContainers::Index) enumeration->CurrentIndex = enumeration->DefaultIndex = beyond;
        if (fault == OddContainers::Count) enumeration->NumItems += beyond;
    }
}

}  // namespace vscan
