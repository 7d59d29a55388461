#include "ContainerImage.h"

#include <cmath>
#include <cstring>

namespace {

void append(std::vector<uint8_t>& bytes, const void* data, size_t size) {
    bytes.resize(bytes.size() + size);
    std::memcpy(bytes.data() + bytes.size() - size, data, size);
}

void append16(std::vector<uint8_t>& bytes, TW_UINT16 value) {
    append(bytes, &value, sizeof value);
}
void append32(std::vector<uint8_t>& bytes, TW_UINT32 value) {
    append(bytes, &value, sizeof value);
}

void appendItems(std::vector<uint8_t>& bytes, TW_UINT16 itemType, const std::vector<TW_UINT32>& items) {
    for (TW_UINT32 item : items)
        append(bytes, &item, itemSize(itemType));
}

// Reads a locked block, and only what lies inside it.
class BlockReader {
public:
    explicit BlockReader(HGLOBAL handle)
        : handle_(handle),
          data_(static_cast<const uint8_t*>(GlobalLock(handle))),
          size_(GlobalSize(handle)) {}
    ~BlockReader() { GlobalUnlock(handle_); }
    BlockReader(const BlockReader&) = delete;
    BlockReader& operator=(const BlockReader&) = delete;

    bool has(size_t offset, size_t bytes) const { return data_ != nullptr && offset + bytes <= size_; }
    TW_UINT32 read(size_t offset, size_t bytes) const {
        TW_UINT32 value = 0;
        if (has(offset, bytes)) std::memcpy(&value, data_ + offset, bytes);
        return value;
    }

private:
    HGLOBAL handle_;
    const uint8_t* data_;
    size_t size_;
};

std::string typeName(TW_UINT16 itemType) {
    static const char* const names[] = {"INT8",   "INT16",  "INT32", "UINT8",
                                        "UINT16", "UINT32", "BOOL",  "FIX32"};
    if (itemType < std::size(names)) return names[itemType];
    return "type " + std::to_string(itemType);
}

// A signed item reads as signed; a fraction that isn't a short decimal shows its 65536ths.
std::string itemText(TW_UINT16 itemType, TW_UINT32 item) {
    if (itemType == TWTY_FIX32) {
        const std::string whole = std::to_string(static_cast<int16_t>(item & 0xffff));
        const TW_UINT32 fraction = item >> 16;
        return fraction == 0 ? whole : whole + "+" + std::to_string(fraction) + "/65536";
    }
    const uint32_t unusedBits = 32 - 8 * itemSize(itemType);
    const TW_UINT32 shifted = item << unusedBits;
    if (itemType <= TWTY_INT32) return std::to_string(static_cast<int32_t>(shifted) >> unusedBits);
    return std::to_string(shifted >> unusedBits);
}

std::string listText(const BlockReader& block, TW_UINT16 itemType, TW_UINT32 count, size_t offset) {
    std::string text = "[";
    for (TW_UINT32 i = 0; i < count; ++i) {
        const size_t at = offset + i * itemSize(itemType);
        if (!block.has(at, itemSize(itemType))) return text + " ... beyond the block";
        if (i > 0) text += " ";
        text += itemText(itemType, block.read(at, itemSize(itemType)));
    }
    return text + "]";
}

}  // namespace

HGLOBAL ContainerImage::allocate() const {
    if (!hasHandle) return nullptr;
    const HGLOBAL handle = GlobalAlloc(GMEM_MOVEABLE, bytes.size());
    if (bytes.empty() || handle == nullptr) return handle;
    std::memcpy(GlobalLock(handle), bytes.data(), bytes.size());
    GlobalUnlock(handle);
    return handle;
}

TW_UINT32 fix32(double value) {
    const auto scaled = static_cast<int64_t>(std::floor(value * 65536.0 + 0.5));
    return static_cast<TW_UINT32>((scaled >> 16) & 0xffff) | static_cast<TW_UINT32>(scaled & 0xffff) << 16;
}

double fix32Value(TW_UINT32 bits) {
    return static_cast<int16_t>(bits & 0xffff) + (bits >> 16) / 65536.0;
}

uint32_t itemSize(TW_UINT16 itemType) {
    constexpr uint32_t sizes[] = {1, 2, 4, 1, 2, 4, 2, 4};
    return itemType < std::size(sizes) ? sizes[itemType] : 4;
}

ContainerImage oneValue(TW_UINT16 itemType, TW_UINT32 item) {
    ContainerImage image{TWON_ONEVALUE, {}, true};
    append16(image.bytes, itemType);
    append32(image.bytes, item);
    return image;
}

ContainerImage enumeration(TW_UINT16 itemType, const std::vector<TW_UINT32>& items, TW_UINT32 current,
                           TW_UINT32 defaultIndex) {
    ContainerImage image{TWON_ENUMERATION, {}, true};
    append16(image.bytes, itemType);
    append32(image.bytes, static_cast<TW_UINT32>(items.size()));
    append32(image.bytes, current);
    append32(image.bytes, defaultIndex);
    appendItems(image.bytes, itemType, items);
    return image;
}

ContainerImage array(TW_UINT16 itemType, const std::vector<TW_UINT32>& items) {
    ContainerImage image{TWON_ARRAY, {}, true};
    append16(image.bytes, itemType);
    append32(image.bytes, static_cast<TW_UINT32>(items.size()));
    appendItems(image.bytes, itemType, items);
    return image;
}

ContainerImage range(TW_UINT16 itemType, const RangeFields& fields) {
    ContainerImage image{TWON_RANGE, {}, true};
    append16(image.bytes, itemType);
    for (TW_UINT32 field : {fields.min, fields.max, fields.step, fields.defaultValue, fields.current})
        append32(image.bytes, field);
    return image;
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
    const BlockReader block(capability.hContainer);
    if (!block.has(0, 6)) return "bad container";
    const auto type = static_cast<TW_UINT16>(block.read(0, 2));
    switch (capability.ConType) {
        case TWON_ONEVALUE:
            return "one " + typeName(type) + " " + itemText(type, block.read(2, 4));
        case TWON_ENUMERATION:
            return "enum " + typeName(type) + " " + listText(block, type, block.read(2, 4), 14) +
                   " current " + std::to_string(block.read(6, 4)) + " default " +
                   std::to_string(block.read(10, 4));
        case TWON_ARRAY:
            return "array " + typeName(type) + " " + listText(block, type, block.read(2, 4), 6);
        case TWON_RANGE: {
            std::string text = "range " + typeName(type);
            for (size_t offset = 2; offset <= 18; offset += 4)
                text += " " + itemText(type, block.read(offset, 4));
            return text;
        }
        default:
            return "kind " + std::to_string(capability.ConType);
    }
}
