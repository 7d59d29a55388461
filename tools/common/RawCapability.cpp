#include "common/RawCapability.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "twain/CapabilityItems.h"

namespace host {

using shared::itemNumber;
using shared::itemSize;

namespace {

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

    // False when the block ends before the bytes do.
    bool read(size_t offset, void* target, size_t count) const {
        if (size_ < offset || size_ - offset < count) return false;
        std::memcpy(target, bytes_ + offset, count);
        return true;
    }

private:
    HGLOBAL handle_;
    const uint8_t* bytes_;
    size_t size_;
};

constexpr size_t enumerationHead = offsetof(TW_ENUMERATION, ItemList);

std::optional<CapabilityAnswer> readEnumeration(const Container& container) {
    TW_ENUMERATION head{};
    if (!container.read(0, &head, enumerationHead)) return std::nullopt;
    CapabilityAnswer answer;
    const size_t size = itemSize(head.ItemType);
    for (TW_UINT32 i = 0; i < head.NumItems; ++i) {
        TW_UINT32 item = 0;
        if (!container.read(enumerationHead + size * i, &item, size)) return std::nullopt;
        answer.choices.push_back(itemNumber(head.ItemType, &item));
    }
    if (head.CurrentIndex >= head.NumItems) return std::nullopt;
    answer.current = answer.choices[head.CurrentIndex];
    return answer;
}

std::optional<CapabilityAnswer> readContainer(const Container& container, TW_UINT16 kind) {
    TW_UINT16 type = 0;
    if (!container.read(0, &type, sizeof type) || itemSize(type) == 0) return std::nullopt;
    TW_ONEVALUE one{};
    TW_RANGE range{};
    if (kind == TWON_ONEVALUE && container.read(0, &one, sizeof one))
        return CapabilityAnswer{itemNumber(type, &one.Item), {}, 0, 0};
    if (kind == TWON_RANGE && container.read(0, &range, sizeof range))
        return CapabilityAnswer{itemNumber(type, &range.CurrentValue),
                                {},
                                itemNumber(type, &range.MinValue),
                                itemNumber(type, &range.MaxValue)};
    return kind == TWON_ENUMERATION ? readEnumeration(container) : std::nullopt;
}

}  // namespace

std::optional<CapabilityAnswer> askCapability(Negotiate negotiate, TW_UINT16 capability) {
    TW_CAPABILITY request{capability, TWON_DONTCARE16, nullptr};
    if (negotiate(MSG_GET, &request) != 0) return std::nullopt;
    return readContainer(Container(request.hContainer), request.ConType);
}

std::vector<double> choicesOf(Negotiate negotiate, TW_UINT16 capability) {
    const auto answer = askCapability(negotiate, capability);
    return answer ? answer->choices : std::vector<double>{};
}

bool setCapability(Negotiate negotiate, TW_UINT16 capability, TW_UINT16 value) {
    TW_CAPABILITY request{capability, TWON_ONEVALUE, GlobalAlloc(GHND, sizeof(TW_ONEVALUE))};
    auto* const one = static_cast<TW_ONEVALUE*>(GlobalLock(request.hContainer));
    if (!one) return false;
    *one = {TWTY_UINT16, value};
    GlobalUnlock(request.hContainer);
    const bool set = negotiate(MSG_SET, &request) == 0;
    GlobalFree(request.hContainer);
    return set;
}

std::optional<int> valueOnScale(const CapabilityAnswer& answer, int lowest, int highest) {
    const double span = answer.highest - answer.lowest;
    if (!(span > 0)) return std::nullopt;
    return static_cast<int>(
        std::lround(lowest + (answer.current - answer.lowest) * (highest - lowest) / span));
}

}  // namespace host
