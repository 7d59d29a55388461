// The headers of Windows bitmaps, made byte by byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace shared {

struct BmpColor {
    std::uint8_t blue;
    std::uint8_t green;
    std::uint8_t red;
    std::uint8_t zero;
};

// An uncompressed picture: 1, 4 or 8 bits with a palette, or 24 bits.
struct BmpFormat {
    int width = 0;
    int bits = 0;
    double xDotsPerInch = 0;  // 0: not known
    double yDotsPerInch = 0;
    std::vector<BmpColor> palette;
};

constexpr std::size_t bmpFileHeaderBytes = 14;
constexpr std::uint16_t bmpSignature = 0x4d42;  // "BM"

// Bytes of one row, padded to a multiple of 4.
std::int64_t bmpRowBytes(int width, int bits);

// Dots per inch as bitmaps count: dots per metre, rounded.
int dotsPerMetre(double dotsPerInch);

// Info header and palette: how a DIB begins. topDown writes a negative height: the first row comes first.
std::vector<std::uint8_t> dibHeader(const BmpFormat& format, int height, bool topDown = false);

// What stands before a DIB in a BMP file. `pixelOffset` counts from the DIB's own beginning.
std::vector<std::uint8_t> bmpFileHeader(std::size_t pixelOffset, std::uint64_t dibBytes);

// Both: what stands before the pixels.
std::vector<std::uint8_t> bmpHeader(const BmpFormat& format, int height, bool topDown);

// Evenly spaced grays, first black; or first white.
std::vector<BmpColor> grayPalette(int bits, bool whiteFirst);

}  // namespace shared
