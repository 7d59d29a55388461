// Capital letters, digits and a few signs of five by seven dots.
#pragma once

#include <array>
#include <cstdint>

namespace vscan {

constexpr int glyphColumns = 5;
constexpr int glyphRows = 7;

// One byte a row, the leftmost dot in bit 4. Unknown characters are blank.
using Glyph = std::array<std::uint8_t, glyphRows>;
Glyph glyphOf(char character);

}  // namespace vscan
