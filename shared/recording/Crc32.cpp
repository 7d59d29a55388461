#include "recording/Crc32.h"

#include <array>

namespace recording {

namespace {

std::array<std::uint32_t, 256> makeTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t value = i;
        for (int bit = 0; bit < 8; ++bit)
            value = value & 1 ? 0xEDB88320u ^ value >> 1 : value >> 1;
        table[i] = value;
    }
    return table;
}

}  // namespace

std::uint32_t crc32(const std::uint8_t* bytes, std::size_t count) {
    static const std::array<std::uint32_t, 256> table = makeTable();
    std::uint32_t value = 0xFFFFFFFF;
    for (std::size_t i = 0; i < count; ++i)
        value = table[(value ^ bytes[i]) & 0xFF] ^ value >> 8;
    return ~value;
}

}  // namespace recording
