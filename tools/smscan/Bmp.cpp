#include "Bmp.h"

namespace smscan {

namespace {

constexpr int fileHeaderBytes = 14;
constexpr int infoHeaderBytes = 40;

class LittleEndianWriter {
public:
    explicit LittleEndianWriter(std::vector<uint8_t>& bytes) : bytes_(bytes) {}
    void word(uint32_t value) { append(value, 2); }
    void dword(uint32_t value) { append(value, 4); }

private:
    void append(uint32_t value, int count) {
        for (int i = 0; i < count; ++i)
            bytes_.push_back(static_cast<uint8_t>(value >> (8 * i)));
    }
    std::vector<uint8_t>& bytes_;
};

}  // namespace

int64_t bmpRowBytes(int width, int bits) {
    return (static_cast<int64_t>(width) * bits + 31) / 32 * 4;
}

int dotsPerMetre(int dotsPerInch) {
    return static_cast<int>(dotsPerInch / 0.0254 + 0.5);
}

std::vector<uint8_t> bmpHeader(const BmpFormat& format, int height, bool topDown) {
    const uint32_t offset =
        static_cast<uint32_t>(fileHeaderBytes + infoHeaderBytes + format.palette.size() * 4);
    const uint32_t imageBytes = static_cast<uint32_t>(bmpRowBytes(format.width, format.bits) * height);
    std::vector<uint8_t> bytes;
    bytes.reserve(offset);
    LittleEndianWriter writer(bytes);
    writer.word(0x4d42);  // "BM"
    writer.dword(offset + imageBytes);
    writer.dword(0);
    writer.dword(offset);
    writer.dword(infoHeaderBytes);
    writer.dword(static_cast<uint32_t>(format.width));
    writer.dword(static_cast<uint32_t>(topDown ? -height : height));
    writer.word(1);  // planes
    writer.word(static_cast<uint32_t>(format.bits));
    writer.dword(0);  // uncompressed
    writer.dword(imageBytes);
    writer.dword(static_cast<uint32_t>(dotsPerMetre(format.xDotsPerInch)));
    writer.dword(static_cast<uint32_t>(dotsPerMetre(format.yDotsPerInch)));
    writer.dword(static_cast<uint32_t>(format.palette.size()));
    writer.dword(0);
    for (const BmpColor& color : format.palette)
        bytes.insert(bytes.end(), {color.blue, color.green, color.red, color.zero});
    return bytes;
}

std::vector<BmpColor> grayPalette(int bits, bool whiteFirst) {
    const int count = 1 << bits;
    std::vector<BmpColor> palette;
    for (int i = 0; i < count; ++i) {
        const int step = whiteFirst ? count - 1 - i : i;
        const uint8_t gray = static_cast<uint8_t>(step * 255 / (count - 1));
        palette.push_back({gray, gray, gray, 0});
    }
    return palette;
}

}  // namespace smscan
