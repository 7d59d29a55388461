// Byte and channel exchanges in place, from the order in which sources send strips to that of a Windows DIB.
// Pure. Nothing outside the strip's bytes is touched, whatever its description says: columns count up to the
// end of their row, and rows as far as they lie within the strip.
#pragma once

#include <cstddef>
#include <cstdint>

// A strip as it lies in memory.
struct StripRows {
    uint8_t* bytes;
    size_t size;           // bytes that may be touched
    uint32_t bytesPerRow;  // from one row to the next
    uint32_t rows;
    uint32_t columns;  // pixels of a row
};

// How a strip is converted. The bytes that come out are the same; Ssse3 needs a processor that has it.
enum class ConversionPath { Plain, Ssse3 };
// The best that the processor has. Under virtualisation the question is a slow one.
ConversionPath fastestConversionPath();

// Exchanges the two bytes of every sample of 16-bit gray.
void swapSampleBytes16(const StripRows& strip, ConversionPath path);
// Exchanges red and blue of 24-bit pixels.
void swapRedBlue24(const StripRows& strip, ConversionPath path);
// Reverses the six bytes of 48-bit pixels: red and blue change places, and the bytes of each sample.
void reversePixels48(const StripRows& strip, ConversionPath path);
