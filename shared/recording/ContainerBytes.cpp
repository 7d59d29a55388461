#include "recording/ContainerBytes.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstddef>
#include <cstring>

#include "twain/CapabilityItems.h"

namespace recording {

namespace {

constexpr std::size_t oneValueItem = offsetof(TW_ONEVALUE, Item);
constexpr std::size_t arrayList = offsetof(TW_ARRAY, ItemList);
constexpr std::size_t enumerationList = offsetof(TW_ENUMERATION, ItemList);

// Bytes of an item of any of the standard's types; 0 for none of them.
std::size_t roomOf(TW_UINT16 type) {
    if (const std::size_t number = shared::itemSize(type)) return number;
    constexpr std::size_t others[] = {16, 34, 66, 130, 256, 1026, 1024};  // a frame, then texts
    return type >= TWTY_FRAME && type - TWTY_FRAME < 7 ? others[type - TWTY_FRAME] : 0;
}

std::uint32_t word(const Bytes& bytes, std::size_t at, std::size_t size = 4) {
    std::uint32_t value = 0;
    if (at + size <= bytes.size()) std::memcpy(&value, bytes.data() + at, size);
    return value;
}

TW_UINT16 typeOf(const Bytes& bytes) {
    return bytes.size() < 2 ? TW_UINT16{0xFFFF} : static_cast<TW_UINT16>(word(bytes, 0, 2));
}

// The place of the items, and how many of them are really there.
struct List {
    std::size_t at = 0;
    std::size_t size = 0;
    std::size_t count = 0;
};

List listOf(const Container& container) {
    List list;
    list.size = roomOf(typeOf(container.bytes));
    if (container.kind == TWON_ONEVALUE) list.at = oneValueItem;
    if (container.kind == TWON_ARRAY) list.at = arrayList;
    if (container.kind == TWON_ENUMERATION) list.at = enumerationList;
    if (list.at == 0 || list.size == 0 || container.bytes.size() < list.at) return {};
    const std::size_t room = (container.bytes.size() - list.at) / list.size;
    const std::size_t claimed = container.kind == TWON_ONEVALUE ? 1 : word(container.bytes, 2);
    list.count = std::min(room, claimed);
    return list;
}

std::optional<Item> itemAt(const Container& container, std::size_t index) {
    const List list = listOf(container);
    if (index >= list.count) return std::nullopt;
    const auto begin = container.bytes.begin() + static_cast<std::ptrdiff_t>(list.at + index * list.size);
    return Item{typeOf(container.bytes), {begin, begin + static_cast<std::ptrdiff_t>(list.size)}};
}

std::optional<double> numberOf(const Item& item) {
    const std::size_t size = shared::itemSize(item.type);
    if (size == 0 || item.bytes.size() < size) return std::nullopt;
    return shared::itemNumber(item.type, item.bytes.data());
}

// A range's field, whose items all have 32 bits.
std::optional<Item> rangeField(const Container& container, std::size_t offset) {
    const TW_UINT16 type = typeOf(container.bytes);
    const std::size_t size = shared::itemSize(type);
    if (size == 0 || container.bytes.size() < sizeof(TW_RANGE)) return std::nullopt;
    const auto begin = container.bytes.begin() + static_cast<std::ptrdiff_t>(offset);
    return Item{type, {begin, begin + static_cast<std::ptrdiff_t>(size)}};
}

std::optional<Item> pointedTo(const Container& container, std::size_t indexAt, std::size_t rangeAt) {
    if (container.kind == TWON_ONEVALUE) return itemAt(container, 0);
    if (container.kind == TWON_RANGE) return rangeField(container, rangeAt);
    if (container.kind != TWON_ENUMERATION) return std::nullopt;
    return itemAt(container, word(container.bytes, indexAt));
}

// Capabilities whose texts name a device or a person: author, caption, serial number, printed text, what
// follows its number, and its preview.
bool isPersonal(TW_UINT16 capability) {
    constexpr TW_UINT16 personal[] = {0x1000, 0x1001, 0x1024, 0x102a, 0x102b, 0x104e};
    return std::find(std::begin(personal), std::end(personal), capability) != std::end(personal);
}

void maskText(std::uint8_t* text, std::size_t room) {
    for (std::size_t i = 0; i < room && text[i] != 0; ++i)
        text[i] = std::isdigit(text[i]) ? '0' : 'x';
}

}  // namespace

bool sameItem(const Item& a, const Item& b) {
    const auto x = numberOf(a), y = numberOf(b);
    constexpr double rounding = 0.001;  // of 16.16 fixed point numbers
    return x && y ? std::fabs(*x - *y) < rounding : a.bytes == b.bytes;
}

std::optional<Item> Container::current() const {
    return pointedTo(*this, offsetof(TW_ENUMERATION, CurrentIndex), offsetof(TW_RANGE, CurrentValue));
}

std::optional<Item> Container::standard() const {
    if (kind == TWON_ONEVALUE) return std::nullopt;
    return pointedTo(*this, offsetof(TW_ENUMERATION, DefaultIndex), offsetof(TW_RANGE, DefaultValue));
}

bool Container::offers(const Item& item) const {
    if (kind == TWON_RANGE) {
        const auto low = rangeField(*this, offsetof(TW_RANGE, MinValue));
        const auto high = rangeField(*this, offsetof(TW_RANGE, MaxValue));
        const auto value = numberOf(item);
        return low && high && value && *value >= *numberOf(*low) && *value <= *numberOf(*high);
    }
    const List list = listOf(*this);
    for (std::size_t i = 0; i < list.count; ++i)
        if (sameItem(*itemAt(*this, i), item)) return true;
    return false;
}

bool Container::setCurrent(const Item& item) {
    const auto put = [this](std::size_t at, const Bytes& value) {
        std::copy(value.begin(), value.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
    };
    const auto old = current();
    if (kind == TWON_ENUMERATION) {
        const List list = listOf(*this);
        for (std::uint32_t i = 0; i < list.count; ++i) {
            if (!sameItem(*itemAt(*this, i), item)) continue;
            std::memcpy(bytes.data() + offsetof(TW_ENUMERATION, CurrentIndex), &i, sizeof i);
            return true;
        }
        return false;
    }
    if (!old || old->type != item.type || old->bytes.size() != item.bytes.size()) return false;
    put(kind == TWON_RANGE ? offsetof(TW_RANGE, CurrentValue) : oneValueItem, item.bytes);
    return true;
}

std::size_t Container::claimed() const {
    const std::size_t size = roomOf(typeOf(bytes));
    if (size == 0) return 0;
    // Beyond any block the multiplication would overflow; nothing is cut of such a container.
    const std::size_t count = std::min<std::size_t>(word(bytes, 2), 0x7FFFFFFF / size / 2);
    switch (kind) {
        case TWON_ONEVALUE:
            return oneValueItem + std::max<std::size_t>(size, 4);
        case TWON_ARRAY:
            return arrayList + count * size;
        case TWON_ENUMERATION:
            return enumerationList + count * size;
        case TWON_RANGE:
            return sizeof(TW_RANGE);
        default:
            return 0;
    }
}

Container oneValueOf(const Item& item) {
    Container container{TWON_ONEVALUE, Bytes(oneValueItem + std::max<std::size_t>(item.bytes.size(), 4))};
    std::memcpy(container.bytes.data(), &item.type, sizeof item.type);
    std::copy(item.bytes.begin(), item.bytes.end(), container.bytes.begin() + oneValueItem);
    return container;
}

void cutText(std::uint8_t* text, std::size_t room) {
    std::fill(std::find(text, text + room, std::uint8_t{0}), text + room, std::uint8_t{0});
}

Bytes presentable(TW_UINT16 capability, const Container& container) {
    Container shown = container;
    if (const std::size_t claimed = shown.claimed(); claimed > 0 && claimed < shown.bytes.size())
        shown.bytes.resize(claimed);
    const TW_UINT16 type = typeOf(shown.bytes);
    const bool isText = type > TWTY_FRAME;
    const List list = listOf(shown);
    for (std::size_t i = 0; isText && i < list.count; ++i) {
        std::uint8_t* text = shown.bytes.data() + list.at + i * list.size;
        cutText(text, list.size);
        if (isPersonal(capability)) maskText(text, list.size);
    }
    const std::size_t itemSize = roomOf(type);
    const auto cutItem = [&](std::size_t at) {
        for (std::size_t i = at + itemSize; i < std::min(at + 4, shown.bytes.size()); ++i)
            shown.bytes[i] = 0;
    };
    if (shown.kind == TWON_ONEVALUE && itemSize > 0) cutItem(oneValueItem);
    if (shown.kind == TWON_RANGE && itemSize > 0)
        for (std::size_t at = offsetof(TW_RANGE, MinValue); at < sizeof(TW_RANGE); at += 4)
            cutItem(at);
    return shown.bytes;
}

}  // namespace recording
