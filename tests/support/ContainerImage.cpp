#include "ContainerImage.h"

#include "capabilities/CapabilityContainers.h"
#include "capabilities/GlobalMemory.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <map>
#include <sstream>
#include <stdexcept>

namespace {

const struct {
    const char* name;
    uint32_t size;
} types[] = {{"INT8", 1},   {"INT16", 2},  {"INT32", 4}, {"UINT8", 1},
             {"UINT16", 2}, {"UINT32", 4}, {"BOOL", 2},  {"FIX32", 4}};

// Frames, texts and unknown types count as 4 bytes.
uint32_t sizeOf(TW_UINT16 itemType) {
    return itemType < std::size(types) ? types[itemType].size : 4;
}

std::string nameOf(TW_UINT16 itemType) {
    return itemType < std::size(types) ? types[itemType].name : "type " + std::to_string(itemType);
}

TW_UINT16 typeNamed(const std::string& name) {
    const auto* const found =
        std::find_if(types, std::end(types), [&](auto& type) { return name == type.name; });
    if (found == std::end(types)) throw std::invalid_argument("no item type: " + name);
    return static_cast<TW_UINT16>(found - types);
}

void append(ContainerImage& image, const Items& numbers, size_t size) {
    for (const TW_UINT32& number : numbers) {
        const auto* const bytes = reinterpret_cast<const uint8_t*>(&number);
        image.bytes.insert(image.bytes.end(), bytes, bytes + size);
    }
}

// One values and ranges have 4 bytes for each number; the items of lists have their type's.
ContainerImage image(TW_UINT16 conType, TW_UINT16 itemType, const Items& numbers,
                     const Items& listItems = {}) {
    ContainerImage image{conType, {}, true};
    append(image, {itemType}, 2);
    append(image, numbers, 4);
    append(image, listItems, sizeOf(itemType));
    return image;
}

// A signed item reads as signed; a fraction shows its 65536ths.
std::string itemText(TW_UINT16 itemType, TW_UINT32 bits) {
    if (itemType == TWTY_FIX32) {
        const std::string whole = std::to_string(static_cast<int16_t>(bits & 0xffff));
        return bits >> 16 == 0 ? whole : whole + "+" + std::to_string(bits >> 16) + "/65536";
    }
    const uint32_t unusedBits = 32 - 8 * sizeOf(itemType);
    const TW_UINT32 shifted = bits << unusedBits;
    if (itemType <= TWTY_INT32) return std::to_string(static_cast<int32_t>(shifted) >> unusedBits);
    return std::to_string(shifted >> unusedBits);
}

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
    return image(TWON_ONEVALUE, itemType, {item});
}

ContainerImage enumeration(TW_UINT16 itemType, const Items& items, TW_UINT32 current,
                           TW_UINT32 defaultIndex) {
    return image(TWON_ENUMERATION, itemType, {static_cast<TW_UINT32>(items.size()), current, defaultIndex},
                 items);
}

ContainerImage array(TW_UINT16 itemType, const Items& items) {
    return image(TWON_ARRAY, itemType, {static_cast<TW_UINT32>(items.size())}, items);
}

ContainerImage range(TW_UINT16 itemType, const Items& fields) {
    return image(TWON_RANGE, itemType, fields);
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

ContainerImage containerOf(const std::string& text) {
    if (text == "nothing") return withoutHandle(TWON_DONTCARE16);
    std::string plain = text, kind, type, word;
    std::replace_if(
        plain.begin(), plain.end(), [](char c) { return c == '[' || c == ']'; }, ' ');
    std::istringstream words(plain);
    words >> kind >> type;
    const TW_UINT16 itemType = typeNamed(type);
    std::map<std::string, TW_UINT32> extras;
    Items items;
    while (words >> word) {
        if (std::isalpha(word[0]))
            words >> extras[word];
        else
            items.push_back(itemType == TWTY_FIX32 ? fix32(std::stod(word))
                                                   : static_cast<TW_UINT32>(std::stoll(word)));
    }
    ContainerImage made;
    if (kind == "one") made = image(TWON_ONEVALUE, itemType, items);
    if (kind == "range") made = range(itemType, items);
    if (kind == "array") made = array(itemType, items);
    if (kind == "enum") made = enumeration(itemType, items, extras["current"], extras["default"]);
    if (made.bytes.empty()) throw std::invalid_argument("no container: " + text);
    if (extras.count("count") != 0) std::memcpy(&made.bytes[2], &extras["count"], 4);
    if (extras.count("cut") != 0) made.bytes.resize(extras["cut"]);
    return made;
}

std::string containerText(const TW_CAPABILITY& capability) {
    if (capability.hContainer == nullptr) return "no container";
    const vscan::GlobalLockedBlock block(capability.hContainer);
    if (block.size() < sizeof(TW_ONEVALUE)) return "bad container";
    const auto has = [&](size_t offset, size_t size) { return offset + size <= block.size(); };
    const auto number = [&](size_t offset, size_t size = 4) {
        TW_UINT32 value = 0;
        if (has(offset, size)) std::memcpy(&value, block.data() + offset, size);
        return value;
    };
    const auto itemType = static_cast<TW_UINT16>(number(0, 2));
    const auto itemsText = [&](size_t offset, TW_UINT32 count, size_t size, const char* end = "") {
        std::string text;
        for (; count > 0; --count, offset += size) {
            if (!has(offset, size)) return text + " ... beyond the block";
            text += (text.empty() ? "" : " ") + itemText(itemType, number(offset, size));
        }
        return text + end;
    };
    const auto list = [&](size_t offset) {
        return "[" + itemsText(offset, number(2), sizeOf(itemType), "]");
    };
    const std::string type = nameOf(itemType) + " ";
    switch (capability.ConType) {
        case TWON_ONEVALUE:
            return "one " + type + itemsText(2, 1, 4);
        case TWON_RANGE:
            return "range " + type + itemsText(2, 5, 4);
        case TWON_ARRAY:
            return "array " + type + list(offsetof(TW_ARRAY, ItemList));
        case TWON_ENUMERATION:
            return "enum " + type + list(offsetof(TW_ENUMERATION, ItemList)) + " current " +
                   std::to_string(number(6)) + " default " + std::to_string(number(10));
        default:
            return "kind " + std::to_string(capability.ConType);
    }
}
