// What pushed and pulled memory transfer share: the buffer's sizes, its allocation, and the request for a
// strip.
#pragma once

#include <scanmodule/twain_types.h>

#include <cstdint>

#include "GlobalBuffer.h"
#include "Trace.h"

// Bytes, as the source wants them.
struct StripBufferSizes {
    uint32_t min;
    uint32_t max;
    uint32_t preferred;
};

// Tries the preferred size, the minimum, the maximum; reports low memory when none can be had.
bool allocateStripBuffer(const MethodTrace& trace, const StripBufferSizes& sizes, GlobalBuffer& buffer,
                         TracePoint at = TracePoint::here());

TW_IMAGEMEMXFER makeStripRequest(void* buffer, uint32_t size);
