#include "bmp/BmpHeader.h"

#include <cmath>

namespace shared {

namespace {

constexpr std::uint32_t infoHeaderBytes = 40;

class LittleEndianWriter {
public:
    explicit LittleEndianWriter(std::vector<std::uint8_t>& bytes) : bytes_(bytes) {}
    void word(std::uint32_t value) { append(value, 2); }
    void dword(std::uint32_t value) { append(value, 4); }

private:
    void append(std::uint32_t value, int count) {
        for (int i = 0; i < count; ++i)
            bytes_.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    }
    std::vector<std::uint8_t>& bytes_;
};

// Sizes in bitmaps have 32 bits.
std::uint32_t pixelBytes(const BmpFormat& format, int height) {
    return static_cast<std::uint32_t>(bmpRowBytes(format.width, format.bits) * height);
}

}  // namespace

std::int64_t bmpRowBytes(int width, int bits) {
    return (static_cast<std::int64_t>(width) * bits + 31) / 32 * 4;
}

int dotsPerMetre(double dotsPerInch) {
    return static_cast<int>(std::lround(dotsPerInch / 0.0254));
}

std::vector<std::uint8_t> dibHeader(const BmpFormat& format, int height, bool topDown) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(infoHeaderBytes + format.palette.size() * sizeof(BmpColor));
    LittleEndianWriter writer(bytes);
    writer.dword(infoHeaderBytes);
    writer.dword(static_cast<std::uint32_t>(format.width));
    writer.dword(static_cast<std::uint32_t>(topDown ? -height : height));
    writer.word(1);  // planes
    writer.word(static_cast<std::uint32_t>(format.bits));
    writer.dword(0);  // uncompressed
    writer.dword(pixelBytes(format, height));
    writer.dword(static_cast<std::uint32_t>(dotsPerMetre(format.xDotsPerInch)));
    writer.dword(static_cast<std::uint32_t>(dotsPerMetre(format.yDotsPerInch)));
    writer.dword(static_cast<std::uint32_t>(format.palette.size()));
    writer.dword(0);  // all colours matter
    for (const BmpColor& color : format.palette)
        bytes.insert(bytes.end(), {color.blue, color.green, color.red, color.zero});
    return bytes;
}

std::vector<std::uint8_t> bmpFileHeader(std::size_t pixelOffset, std::uint64_t dibBytes) {
    std::vector<std::uint8_t> bytes;
    bytes.reserve(bmpFileHeaderBytes);
    LittleEndianWriter writer(bytes);
    writer.word(bmpSignature);
    writer.dword(static_cast<std::uint32_t>(bmpFileHeaderBytes + dibBytes));
    writer.dword(0);
    writer.dword(static_cast<std::uint32_t>(bmpFileHeaderBytes + pixelOffset));
    return bytes;
}

std::vector<std::uint8_t> bmpHeader(const BmpFormat& format, int height, bool topDown) {
    const std::vector<std::uint8_t> dib = dibHeader(format, height, topDown);
    std::vector<std::uint8_t> bytes = bmpFileHeader(dib.size(), dib.size() + pixelBytes(format, height));
    bytes.insert(bytes.end(), dib.begin(), dib.end());
    return bytes;
}

std::vector<BmpColor> grayPalette(int bits, bool whiteFirst) {
    const int count = 1 << bits;
    std::vector<BmpColor> palette;
    for (int i = 0; i < count; ++i) {
        const int step = whiteFirst ? count - 1 - i : i;
        const auto gray = static_cast<std::uint8_t>(step * 255 / (count - 1));
        palette.push_back({gray, gray, gray, 0});
    }
    return palette;
}

}  // namespace shared
