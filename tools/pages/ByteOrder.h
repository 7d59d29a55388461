// Numbers as bytes, in the order that a file wants.
#pragma once

#include <cstdint>
#include <vector>

namespace pages {

using Bytes = std::vector<std::uint8_t>;

inline void appendBigEndian(Bytes& bytes, std::uint32_t value, int count) {
    for (int i = count - 1; i >= 0; --i)
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

inline void appendLittleEndian(Bytes& bytes, std::uint32_t value, int count) {
    for (int i = 0; i < count; ++i)
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

}  // namespace pages
