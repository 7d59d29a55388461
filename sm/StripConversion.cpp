#include "StripConversion.h"

#include <algorithm>

namespace {

// Runs `convert` (first byte, pixels) over every row that lies within the strip.
template <class RowConverter>
void forEachRow(const StripRows& strip, uint32_t bytesPerPixel, RowConverter convert) {
    const size_t rowBytes =
        std::min<size_t>(static_cast<size_t>(strip.columns) * bytesPerPixel, strip.bytesPerRow);
    const size_t pixels = rowBytes / bytesPerPixel;
    if (pixels == 0) return;
    size_t offset = 0;
    for (uint32_t row = 0; row < strip.rows; ++row, offset += strip.bytesPerRow) {
        if (offset > strip.size || strip.size - offset < pixels * bytesPerPixel) return;
        convert(strip.bytes + offset, pixels);
    }
}

}  // namespace

void swapSampleBytes16(const StripRows& strip) {
    forEachRow(strip, 2, [](uint8_t* bytes, size_t pixels) {
        for (size_t i = 0; i < pixels; ++i, bytes += 2)
            std::swap(bytes[0], bytes[1]);
    });
}

void swapRedBlue24(const StripRows& strip) {
    forEachRow(strip, 3, [](uint8_t* bytes, size_t pixels) {
        for (size_t i = 0; i < pixels; ++i, bytes += 3)
            std::swap(bytes[0], bytes[2]);
    });
}

void reversePixels48(const StripRows& strip) {
    forEachRow(strip, 6, [](uint8_t* bytes, size_t pixels) {
        for (size_t i = 0; i < pixels; ++i, bytes += 6)
            std::reverse(bytes, bytes + 6);
    });
}
