#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace smscan {

struct BmpColor {
    uint8_t blue;
    uint8_t green;
    uint8_t red;
    uint8_t zero;
};

// A BMP file's picture: 1, 4 or 8 bits with a palette, or 24 bits.
struct BmpFormat {
    int width = 0;
    int bits = 0;
    int xDotsPerInch = 0;  // 0: not known
    int yDotsPerInch = 0;
    std::vector<BmpColor> palette;
};

// Bytes of one row, padded to a multiple of 4.
int64_t bmpRowBytes(int width, int bits);

// Dots per inch as BMP files count: dots per metre, rounded.
int dotsPerMetre(int dotsPerInch);

// File header, info header and palette. topDown writes a negative height: the first row comes first.
std::vector<uint8_t> bmpHeader(const BmpFormat& format, int height, bool topDown);

// Evenly spaced grays, first black; or first white.
std::vector<BmpColor> grayPalette(int bits, bool whiteFirst);

}  // namespace smscan
