#include "ContainerImage.h"

#include "capabilities/CapabilityContainers.h"
#include "capabilities/GlobalMemory.h"

#include <cstring>

namespace {

struct ItemType {
    std::string name;
    uint32_t size;
};

// Frames, texts and unknown types count as 4 bytes.
ItemType typeOf(TW_UINT16 itemType) {
    static const ItemType types[] = {{"INT8", 1},   {"INT16", 2},  {"INT32", 4}, {"UINT8", 1},
                                     {"UINT16", 2}, {"UINT32", 4}, {"BOOL", 2},  {"FIX32", 4}};
    return itemType < std::size(types) ? types[itemType] : ItemType{"type " + std::to_string(itemType), 4};
}

ContainerImage image(TW_UINT16 conType, const void* record, size_t size) {
    const auto* const bytes = static_cast<const uint8_t*>(record);
    return {conType, {bytes, bytes + size}, true};
}

ContainerImage withItems(ContainerImage list, TW_UINT16 itemType, const Items& items) {
    for (const TW_UINT32& item : items) {
        const auto* const bytes = reinterpret_cast<const uint8_t*>(&item);
        list.bytes.insert(list.bytes.end(), bytes, bytes + typeOf(itemType).size);
    }
    return list;
}

// Reads a container, and only what lies inside its block.
class Reader {
public:
    explicit Reader(HGLOBAL handle) : block_(handle) {}

    bool has(size_t offset, size_t bytes) const { return offset + bytes <= block_.size(); }
    TW_UINT32 number(size_t offset, size_t bytes = 4) const {
        TW_UINT32 value = 0;
        if (has(offset, bytes)) std::memcpy(&value, block_.data() + offset, bytes);
        return value;
    }
    TW_UINT16 itemType() const { return static_cast<TW_UINT16>(number(0, 2)); }

    // A signed item reads as signed; a fraction that isn't a short decimal shows its 65536ths.
    std::string item(size_t offset, size_t size = 4) const {
        const TW_UINT32 bits = number(offset, size);
        if (itemType() == TWTY_FIX32) {
            const std::string whole = std::to_string(static_cast<int16_t>(bits & 0xffff));
            return bits >> 16 == 0 ? whole : whole + "+" + std::to_string(bits >> 16) + "/65536";
        }
        const uint32_t unusedBits = 32 - 8 * typeOf(itemType()).size;
        const TW_UINT32 shifted = bits << unusedBits;
        if (itemType() <= TWTY_INT32) return std::to_string(static_cast<int32_t>(shifted) >> unusedBits);
        return std::to_string(shifted >> unusedBits);
    }

    std::string list(size_t offset) const {
        const size_t size = typeOf(itemType()).size;
        std::string text = "[";
        for (TW_UINT32 left = number(2); left > 0; --left, offset += size) {
            if (!has(offset, size)) return text + " ... beyond the block";
            text += (text.size() > 1 ? " " : "") + item(offset, size);
        }
        return text + "]";
    }

private:
    vscan::GlobalLockedBlock block_;
};

}  // namespace

HGLOBAL ContainerImage::allocate() const {
    if (!hasHandle) return nullptr;
    if (bytes.empty()) return GlobalAlloc(GMEM_MOVEABLE, 0);
    return vscan::makeGlobal(bytes.size(),
                             [&](uint8_t* block) { std::memcpy(block, bytes.data(), bytes.size()); });
}

TW_UINT32 fix32(double value) {
    const TW_FIX32 fixed = vscan::toFix32(value);
    return static_cast<TW_UINT16>(fixed.Whole) | static_cast<TW_UINT32>(fixed.Frac) << 16;
}

ContainerImage oneValue(TW_UINT16 itemType, TW_UINT32 item) {
    const TW_ONEVALUE record = {itemType, item};
    return image(TWON_ONEVALUE, &record, sizeof record);
}

ContainerImage enumeration(TW_UINT16 itemType, const Items& items, TW_UINT32 current,
                           TW_UINT32 defaultIndex) {
    const TW_ENUMERATION head = {itemType, static_cast<TW_UINT32>(items.size()), current, defaultIndex, {}};
    return withItems(image(TWON_ENUMERATION, &head, offsetof(TW_ENUMERATION, ItemList)), itemType, items);
}

ContainerImage array(TW_UINT16 itemType, const Items& items) {
    const TW_ARRAY head = {itemType, static_cast<TW_UINT32>(items.size()), {}};
    return withItems(image(TWON_ARRAY, &head, offsetof(TW_ARRAY, ItemList)), itemType, items);
}

ContainerImage range(TW_UINT16 itemType, const RangeFields& f) {
    const TW_RANGE record = {itemType, f.min, f.max, f.step, f.defaultValue, f.current};
    return image(TWON_RANGE, &record, sizeof record);
}

ContainerImage fix32Range(double min, double max, double step, double current) {
    return range(TWTY_FIX32, {fix32(min), fix32(max), fix32(step), fix32(min), fix32(current)});
}

ContainerImage rawContainer(TW_UINT16 conType, std::vector<uint8_t> bytes) {
    return {conType, std::move(bytes), true};
}

ContainerImage withoutHandle(TW_UINT16 conType) {
    return {conType, {}, false};
}

std::string containerText(const TW_CAPABILITY& capability) {
    if (capability.hContainer == nullptr) return "no container";
    const Reader reader(capability.hContainer);
    if (!reader.has(0, 6)) return "bad container";
    const std::string type = typeOf(reader.itemType()).name + " ";
    switch (capability.ConType) {
        case TWON_ONEVALUE:
            return "one " + type + reader.item(2);
        case TWON_ENUMERATION:
            return "enum " + type + reader.list(offsetof(TW_ENUMERATION, ItemList)) + " current " +
                   std::to_string(reader.number(6)) + " default " + std::to_string(reader.number(10));
        case TWON_ARRAY:
            return "array " + type + reader.list(offsetof(TW_ARRAY, ItemList));
        case TWON_RANGE: {
            std::string text = "range " + type + reader.item(2);
            for (size_t offset = 6; offset <= 18; offset += 4)
                text += " " + reader.item(offset);
            return text;
        }
        default:
            return "kind " + std::to_string(capability.ConType);
    }
}
