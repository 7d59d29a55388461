// Where all that is random comes from: the same seed gives the same run, whatever the machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

class Dice {
public:
    explicit Dice(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15u) {}

    uint64_t next() {
        uint64_t mixed = state_ += 0x9E3779B97F4A7C15u;
        mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9u;
        mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EBu;
        return mixed ^ mixed >> 31;
    }
    // 0 to end - 1.
    uint32_t below(uint32_t end) { return static_cast<uint32_t>(next() % end); }
    bool inThousand(uint32_t cases) { return below(1000) < cases; }
    bool inHundred(uint32_t cases) { return below(100) < cases; }

    // Any number, the edges first of all.
    uint32_t any() {
        constexpr uint32_t edges[] = {0,          1,          2,          3,         0x7F,   0x80,
                                      0xFF,       0x100,      0x7FFF,     0x8000,    0xFFFF, 0x10000,
                                      0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF};
        if (inHundred(40)) return pick(edges);
        return static_cast<uint32_t>(next() >> (32 + below(32)));
    }
    template <class Value, size_t count>
    Value pick(const Value (&values)[count]) {
        return values[below(count)];
    }
    void fill(void* memory, size_t size) {
        auto* bytes = static_cast<uint8_t*>(memory);
        for (; size >= 8; size -= 8, bytes += 8) {
            const uint64_t random = next();
            std::memcpy(bytes, &random, 8);
        }
        for (; size > 0; --size)
            *bytes++ = static_cast<uint8_t>(next());
    }

private:
    uint64_t state_;
};
