// All three exchanges are one: the bytes of every pixel (2, 3 or 6 of them) are put in the opposite order.
#include "transfer/StripConversion.h"

#include <tmmintrin.h>

#include <algorithm>

#if defined(_MSC_VER)
#include <intrin.h>
#define SSSE3_CODE
#else
// Only these functions may use SSSE3: the others have to run on every processor.
#define SSSE3_CODE __attribute__((target("ssse3")))
#endif

namespace {

// Converts the pixels of one row, `size` bytes in all.
using RowConverter = void (*)(uint8_t* bytes, size_t size);

template <size_t pixelBytes>
void reversePixels(uint8_t* bytes, size_t size) {
    for (; size >= pixelBytes; bytes += pixelBytes, size -= pixelBytes) {
        for (size_t i = 0; i < pixelBytes / 2; ++i)
            std::swap(bytes[i], bytes[pixelBytes - 1 - i]);
    }
}

// ---- SSSE3. Loads and stores are unaligned ones: rows start anywhere.

constexpr size_t registerBytes = 16;
constexpr uint8_t zeroByte = 0x80;  // in a shuffle order: this byte becomes 0

// A shuffle order that reverses each pixel of the first `count` bytes and puts them at `target`.
template <size_t pixelBytes, size_t count, size_t target>
struct ReversedPixels {
    alignas(registerBytes) uint8_t order[registerBytes] = {};

    constexpr ReversedPixels() {
        for (uint8_t& source : order)
            source = zeroByte;
        for (size_t i = 0; i < count; ++i) {
            const size_t inPixel = i % pixelBytes;
            order[target + i] = static_cast<uint8_t>(i - inPixel + pixelBytes - 1 - inPixel);
        }
    }
    SSSE3_CODE __m128i load() const { return _mm_load_si128(reinterpret_cast<const __m128i*>(order)); }
};

SSSE3_CODE inline __m128i loadShuffled(const uint8_t* bytes, __m128i order) {
    return _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)), order);
}

SSSE3_CODE inline void store(uint8_t* bytes, __m128i value) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes), value);
}

// Pixels that fill registers without a rest.
SSSE3_CODE void reversePairsSsse3(uint8_t* bytes, size_t size) {
    static constexpr ReversedPixels<2, registerBytes, 0> whole;
    constexpr size_t step = 4 * registerBytes;
    const __m128i order = whole.load();
    for (; size >= step; bytes += step, size -= step) {
        for (size_t at = 0; at < step; at += registerBytes)
            store(bytes + at, loadShuffled(bytes + at, order));
    }
    reversePixels<2>(bytes, size);
}

// Pixels of 3 or 6 bytes: four registers take 12 bytes each, which then close ranks to three full ones.
// Stores that never overlap what is loaded next are worth the joining: the processor would wait for such
// stores.
template <size_t pixelBytes>
SSSE3_CODE void reversePixelsSsse3(uint8_t* bytes, size_t size) {
    constexpr size_t part = 12;
    constexpr size_t step = 4 * part;
    constexpr size_t bytesRead = 3 * part + registerBytes;
    static_assert(part % pixelBytes == 0);
    static constexpr ReversedPixels<pixelBytes, part, 0> low;
    static constexpr ReversedPixels<pixelBytes, part, registerBytes - part> high;
    const __m128i toLow = low.load();
    const __m128i toHigh = high.load();
    for (; size >= bytesRead; bytes += step, size -= step) {
        const __m128i a = loadShuffled(bytes, toHigh);
        const __m128i b = loadShuffled(bytes + part, toLow);
        const __m128i c = loadShuffled(bytes + 2 * part, toHigh);
        const __m128i d = loadShuffled(bytes + 3 * part, toLow);
        // 12 bytes of a and 4 of b; the last 8 of b and 8 of c; the last 4 of c and 12 of d.
        store(bytes, _mm_alignr_epi8(b, a, 4));
        store(bytes + registerBytes, _mm_castps_si128(_mm_shuffle_ps(_mm_castsi128_ps(b), _mm_castsi128_ps(c),
                                                                     _MM_SHUFFLE(2, 1, 2, 1))));
        store(bytes + 2 * registerBytes, _mm_alignr_epi8(d, c, 12));
    }
    reversePixels<pixelBytes>(bytes, size);
}

bool processorHasSsse3() {
#if defined(_MSC_VER)
    constexpr int ssse3Bit = 1 << 9;
    int registers[4];
    __cpuid(registers, 1);
    return (registers[2] & ssse3Bit) != 0;
#else
    __builtin_cpu_init();
    return __builtin_cpu_supports("ssse3");
#endif
}

// Runs `convert` over every row that lies within the strip.
void forEachRow(const StripRows& strip, uint32_t pixelBytes, RowConverter convert) {
    const uint64_t columns = std::min(strip.columns, strip.bytesPerRow / pixelBytes);
    const uint64_t rowBytes = columns * pixelBytes;
    if (rowBytes == 0 || rowBytes > strip.size) return;
    const uint64_t wholeRows = (strip.size - rowBytes) / strip.bytesPerRow + 1;
    const auto rows = static_cast<size_t>(std::min<uint64_t>(strip.rows, wholeRows));
    for (size_t row = 0; row < rows; ++row)
        convert(strip.bytes + row * strip.bytesPerRow, static_cast<size_t>(rowBytes));
}

}  // namespace

ConversionPath fastestConversionPath() {
    return processorHasSsse3() ? ConversionPath::Ssse3 : ConversionPath::Plain;
}

void swapSampleBytes16(const StripRows& strip, ConversionPath path) {
    forEachRow(strip, 2, path == ConversionPath::Ssse3 ? reversePairsSsse3 : reversePixels<2>);
}

void swapRedBlue24(const StripRows& strip, ConversionPath path) {
    forEachRow(strip, 3, path == ConversionPath::Ssse3 ? reversePixelsSsse3<3> : reversePixels<3>);
}

void reversePixels48(const StripRows& strip, ConversionPath path) {
    forEachRow(strip, 6, path == ConversionPath::Ssse3 ? reversePixelsSsse3<6> : reversePixels<6>);
}
