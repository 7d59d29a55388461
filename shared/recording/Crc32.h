// The usual checksum of 32 bits (that of PNG and zip).
#pragma once

#include <cstddef>
#include <cstdint>

namespace recording {

std::uint32_t crc32(const std::uint8_t* bytes, std::size_t count);

}  // namespace recording
