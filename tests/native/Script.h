// The fuzzer's bytes as a script: what to do next. When they are used up every answer is 0, which always
// means the plain, honest one, so that whatever is under way comes to its end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

class Script {
public:
    Script() = default;
    Script(const uint8_t* bytes, size_t size) : next_(bytes), end_(bytes + size) {}

    bool isOver() const { return next_ == end_; }
    uint8_t byte() { return isOver() ? 0 : *next_++; }
    // Small ones, such as programs stumble over, or any.
    uint32_t number() {
        constexpr uint32_t awkward[] = {0xFFFFFFFF, 0xFFFFFFFE, 0x80000000, 0x7FFFFFFF, 0x10000, 0xFFFF,
                                        0x8000,     0x7FFF,     0x100,      0x101,      0x1000,  0x20000000,
                                        0x40000001, 0xAAAAAAAB, 4096,       65535 * 3};
        const uint8_t first = byte();
        if (first < 0xC0) return first;
        if (first < 0xD0) return awkward[first - 0xC0];
        uint32_t value = 0;
        fill(&value, first < 0xE0 ? 2 : 4);
        return value;
    }
    void fill(void* target, size_t size) {
        const size_t there = static_cast<size_t>(end_ - next_) < size ? end_ - next_ : size;
        if (there != 0) std::memcpy(target, next_, there);
        std::memset(static_cast<uint8_t*>(target) + there, 0, size - there);
        next_ += there;
    }
    std::string text(size_t size) {
        std::string text(size, '\0');
        fill(text.data(), size);
        return text;
    }

private:
    const uint8_t* next_ = nullptr;
    const uint8_t* end_ = nullptr;
};
