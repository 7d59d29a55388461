// What the block reader knows between two calls.
#pragma once

#include <cstdint>

#include "transfer/StripBuffer.h"

// An image that the host pulls block by block.
struct PulledImage {
    uint32_t bytesPerPixel;  // in the host's buffer, whatever the depth: 3 for RGB, else 1; 0: no image
    bool described;          // else nothing below is known
    int32_t width;           // pixels; not above 0 when the source doesn't know
    uint32_t bitsPerPixel;   // of the source's rows
    StripBufferSizes sizes;
    int emptyStrips;  // in a row
    bool showsMore;   // its strips let the host see what lies behind them
};
// What the block reader counts when an image is over.
constexpr uint32_t imageOver = 0xFFFFFFFF;
