#include "RawCapability.h"

#include <cmath>
#include <cstddef>
#include <cstring>

namespace smscan {

namespace {

enum Message : uint16_t { messageGet = 1, messageSet = 6 };
enum ContainerKind : uint16_t { kindEnumeration = 4, kindOneValue = 5, kindRange = 6, kindAny = 0xffff };
enum ItemType : uint16_t { Int8, Int16, Int32, Uint8, Uint16, Uint32, Bool, Fix32, itemTypes };

// As the TWAIN standard lays them out.
#pragma pack(push, 2)
struct Capability {
    uint16_t id;
    uint16_t containerKind;
    HGLOBAL container;
};

struct OneValue {
    uint16_t itemType;
    uint32_t item;
};

// The items stand behind it.
struct Enumeration {
    uint16_t itemType;
    uint32_t count;
    uint32_t currentIndex;
    uint32_t defaultIndex;
};

struct Range {
    uint16_t itemType;
    uint32_t lowest;
    uint32_t highest;
    uint32_t step;
    uint32_t standard;
    uint32_t current;
};
#pragma pack(pop)

// A container that is locked, and freed when it goes.
class Container {
public:
    explicit Container(HGLOBAL handle)
        : handle_(handle),
          bytes_(handle ? static_cast<const uint8_t*>(GlobalLock(handle)) : nullptr),
          size_(bytes_ ? GlobalSize(handle) : 0) {}
    Container(const Container&) = delete;
    Container& operator=(const Container&) = delete;
    ~Container() {
        if (bytes_) GlobalUnlock(handle_);
        if (handle_) GlobalFree(handle_);
    }

    // False when the block ends before the record does.
    template <class Record>
    bool read(size_t offset, Record& record) const {
        if (size_ < offset || size_ - offset < sizeof record) return false;
        std::memcpy(&record, bytes_ + offset, sizeof record);
        return true;
    }

private:
    HGLOBAL handle_;
    const uint8_t* bytes_;
    size_t size_;
};

double numberOf(uint16_t itemType, uint32_t bits) {
    switch (itemType) {
        case Int8:
            return static_cast<int8_t>(bits);
        case Int16:
            return static_cast<int16_t>(bits);
        case Int32:
            return static_cast<int32_t>(bits);
        case Uint8:
            return static_cast<uint8_t>(bits);
        case Fix32:
            return static_cast<int16_t>(bits) + (bits >> 16) / 65536.0;
        case Uint32:
            return bits;
        default:
            return static_cast<uint16_t>(bits);
    }
}

std::optional<double> itemAt(const Container& container, uint16_t itemType, uint32_t index) {
    static constexpr size_t itemBytes[itemTypes] = {1, 2, 4, 1, 2, 4, 2, 4};
    const uint64_t offset = sizeof(Enumeration) + uint64_t{itemBytes[itemType]} * index;
    uint32_t bits = 0;
    if (offset > SIZE_MAX) return std::nullopt;
    for (size_t i = 0; i < itemBytes[itemType]; ++i) {
        uint8_t byte = 0;
        if (!container.read(static_cast<size_t>(offset) + i, byte)) return std::nullopt;
        bits |= uint32_t{byte} << (8 * i);
    }
    return numberOf(itemType, bits);
}

std::optional<CapabilityAnswer> readEnumeration(const Container& container, const Enumeration& head) {
    CapabilityAnswer answer;
    for (uint32_t i = 0; i < head.count; ++i) {
        const std::optional<double> item = itemAt(container, head.itemType, i);
        if (!item) return std::nullopt;
        answer.choices.push_back(*item);
    }
    if (head.currentIndex >= head.count) return std::nullopt;
    answer.current = answer.choices[head.currentIndex];
    return answer;
}

std::optional<CapabilityAnswer> readContainer(const Container& container, uint16_t kind) {
    uint16_t itemType = itemTypes;
    if (!container.read(0, itemType) || itemType >= itemTypes) return std::nullopt;
    OneValue one{};
    Range range{};
    Enumeration enumeration{};
    if (kind == kindOneValue && container.read(0, one))
        return CapabilityAnswer{numberOf(itemType, one.item), {}, 0, 0};
    if (kind == kindRange && container.read(0, range))
        return CapabilityAnswer{numberOf(itemType, range.current),
                                {},
                                numberOf(itemType, range.lowest),
                                numberOf(itemType, range.highest)};
    if (kind == kindEnumeration && container.read(0, enumeration))
        return readEnumeration(container, enumeration);
    return std::nullopt;
}

}  // namespace

std::optional<CapabilityAnswer> askCapability(Negotiate negotiate, CapabilityId capability) {
    Capability request{capability, kindAny, nullptr};
    if (negotiate(messageGet, &request) != 0) return std::nullopt;
    return readContainer(Container(request.container), request.containerKind);
}

bool setCapability(Negotiate negotiate, CapabilityId capability, uint16_t value) {
    Capability request{capability, kindOneValue, GlobalAlloc(GHND, sizeof(OneValue))};
    auto* const one = static_cast<OneValue*>(GlobalLock(request.container));
    if (!one) return false;
    *one = {Uint16, value};
    GlobalUnlock(request.container);
    const bool set = negotiate(messageSet, &request) == 0;
    GlobalFree(request.container);
    return set;
}

std::optional<int> valueOnScale(const CapabilityAnswer& answer, int lowest, int highest) {
    const double span = answer.highest - answer.lowest;
    if (!(span > 0)) return std::nullopt;
    return static_cast<int>(
        std::lround(lowest + (answer.current - answer.lowest) * (highest - lowest) / span));
}

}  // namespace smscan
