// What pushed and pulled memory transfer share: the buffer's sizes, its allocation, and the request for a
// strip.
#pragma once

#include <scanmodule/twain_types.h>

#include <cstdint>

#include "base/GlobalBuffer.h"
#include "base/Trace.h"
#include "link/Link.h"

// Bytes, as the source wants them.
struct StripBufferSizes {
    uint32_t min;
    uint32_t max;
    uint32_t preferred;
};

// Tries the preferred size, the minimum, the maximum; reports low memory when none can be had.
bool allocateStripBuffer(const Caller& caller, const StripBufferSizes& sizes, GlobalBuffer& buffer);

// An image that the host pulls block by block.
struct PulledImage {
    uint32_t bytesPerPixel;  // in the host's buffer, whatever the depth: 3 for RGB, else 1; 0: no image
    bool described;          // else nothing below is known
    int32_t width;           // pixels; not above 0 when the source doesn't know
    uint32_t bitsPerPixel;   // of the source's rows
    StripBufferSizes sizes;
    int emptyStrips;  // in a row
};
// What the block reader counts when an image is over.
constexpr uint32_t imageOver = 0xFFFFFFFF;

TW_IMAGEMEMXFER makeStripRequest(void* buffer, uint32_t size);
// Asks for a strip; what it claims beyond the buffer is cut off.
TW_UINT16 fetchStrip(Link& link, TW_IMAGEMEMXFER& strip, uint32_t bufferSize);
