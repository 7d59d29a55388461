// A picture in memory: what a page looks like once it has been scanned.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vscan {

// The pixel layouts that the scanner delivers.
enum class PixelKind { Bw1, Gray4, Gray8, Gray16, Palette4, Palette8, Rgb24, Rgb48 };

struct Color {
    std::uint8_t red = 0;
    std::uint8_t green = 0;
    std::uint8_t blue = 0;
};
inline bool operator==(const Color& a, const Color& b) {
    return a.red == b.red && a.green == b.green && a.blue == b.blue;
}
inline bool operator!=(const Color& a, const Color& b) {
    return !(a == b);
}

int bitsPerPixel(PixelKind kind);
int samplesPerPixel(PixelKind kind);
bool isGray(PixelKind kind);
bool isPalette(PixelKind kind);
bool isRgb(PixelKind kind);

// What a DIB or a BMP file can hold of it: 16-bit gray becomes 8 bit, 48-bit colour 24 bit.
PixelKind dibKind(PixelKind kind);

// Bytes of a row of `width` pixels, without padding.
std::size_t packedRowBytes(PixelKind kind, int width);
// The same, rounded up to a multiple of four.
std::size_t paddedRowBytes(PixelKind kind, int width);

// What the values of a kind of up to 8 bits stand for; empty for the others. `vanilla`: gray and 1-bit values
// count from white (0) down to black.
std::vector<Color> paletteOf(PixelKind kind, bool vanilla = false);

struct Picture {
    PixelKind kind = PixelKind::Rgb24;
    int width = 0;
    int height = 0;
    // Rows from top to bottom, packedRowBytes() each. Pixels narrower than a byte start at the high bit;
    // colour is red, green, blue; 16-bit samples have their high byte first.
    std::vector<std::uint8_t> pixels;
    std::vector<Color> palette;

    std::size_t rowBytes() const { return packedRowBytes(kind, width); }
    const std::uint8_t* row(int y) const { return pixels.data() + rowBytes() * static_cast<std::size_t>(y); }
    // The colour of a pixel in 8 bits a channel, through the palette where there is one.
    Color colorAt(int x, int y) const;
};

}  // namespace vscan
