// Byte and channel exchanges in place: both paths, every shape of a strip, nothing touched outside it.
#include "transfer/StripConversion.h"

#include <doctest.h>

#include <algorithm>
#include <vector>

#include "support/GuardedBuffer.h"

namespace {

using Bytes = std::vector<uint8_t>;

constexpr std::pair<size_t, void (*)(const StripRows&, ConversionPath)> exchanges[] = {
    {2, swapSampleBytes16}, {3, swapRedBlue24}, {6, reversePixels48}};
constexpr size_t margin = 64;

// What memory must hold afterwards, worked out for each byte on its own.
Bytes expected(const Bytes& before, size_t pixelBytes, const StripRows& strip) {
    Bytes after = before;
    for (size_t at = 0; strip.bytesPerRow != 0 && at < strip.size; ++at) {
        const uint64_t row = at / strip.bytesPerRow;
        const uint64_t columns = std::min<uint64_t>(strip.columns, strip.bytesPerRow / pixelBytes);
        const uint64_t endOfRow = row * strip.bytesPerRow + columns * pixelBytes;
        if (row >= strip.rows || at >= endOfRow || endOfRow > strip.size) continue;
        const size_t inPixel = at % strip.bytesPerRow % pixelBytes;
        after[margin + at] = before[margin + at + pixelBytes - 1 - 2 * inPixel];
    }
    return after;
}

// Runs all exchanges by all paths, with the strip at the very end of accessible memory.
void check(StripRows strip) {
    for (const auto& [pixelBytes, run] : exchanges)
        for (const ConversionPath path : {ConversionPath::Plain, fastestConversionPath()}) {
            CAPTURE(pixelBytes);
            CAPTURE(strip.bytesPerRow);
            const GuardedBuffer memory(margin + strip.size);
            uint8_t value = 1;  // no two bytes near each other are the same
            for (size_t i = 0; i < memory.size(); ++i)
                memory.data()[i] = value = static_cast<uint8_t>(value * 5 + 17);
            const Bytes before(memory.data(), memory.data() + memory.size());
            strip.bytes = memory.data() + margin;
            run(strip, path);
            // One assertion for all bytes, so that no failure prints thousands.
            CHECK(
                (Bytes(memory.data(), memory.data() + memory.size()) == expected(before, pixelBytes, strip)));
        }
}

}  // namespace

TEST_CASE("rows of every width and padding are converted whole at any address, and the rest left alone") {
    for (uint32_t rowBytes = 2; rowBytes <= 6 * 70; ++rowBytes)
        for (const uint32_t columns : {rowBytes / 6, rowBytes / 2}) {
            check({nullptr, rowBytes, rowBytes, 1, columns});
            check({nullptr, rowBytes * 3, rowBytes, 3, columns});
        }
}

TEST_CASE("a description that lies moves nothing outside the strip") {
    constexpr uint32_t most = 0xFFFFFFFF;
    const StripRows lies[] = {
        {nullptr, 600, 0, 10, 10},           // no row length
        {nullptr, 600, 60, most, 10},        // rows without end
        {nullptr, 599, 60, 10, 10},          // the last row is cut short
        {nullptr, 600, 61, 10, most},        // columns without end, and the row ends within a pixel
        {nullptr, 600, 60, 10, 0x80000001},  // bytes of a row that wrap around, for pixels of two bytes
        {nullptr, 600, 60, 10, 0x55555556},  // and of three and six
        {nullptr, 600, 0x80000000, 4, 10},   // the second row's offset wraps around
        {nullptr, 600, most, most, most},    // everything
        {nullptr, 600, 1, 600, 10},          // a row shorter than a pixel
        {nullptr, 600, 60, 0, 10},           // no rows
    };
    for (const StripRows& lie : lies)
        check(lie);
}
