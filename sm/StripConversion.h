// Byte and channel exchanges in place, from the order in which sources send strips to that of a Windows DIB.
// Pure. Nothing outside the strip's bytes is touched, whatever its description says.
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

// Exchanges the two bytes of every sample of 16-bit gray.
void swapSampleBytes16(const StripRows& strip);
// Exchanges red and blue of 24-bit pixels.
void swapRedBlue24(const StripRows& strip);
// Reverses the six bytes of 48-bit pixels: red and blue change places, and the bytes of each sample.
void reversePixels48(const StripRows& strip);
