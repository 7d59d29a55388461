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

// Tries the preferred size, the minimum, the maximum; reports low memory when none can be had. A buffer that
// has the size already is left as it is.
bool allocateStripBuffer(const Caller& caller, const StripBufferSizes& sizes, GlobalBuffer& buffer);

TW_IMAGEMEMXFER makeStripRequest(void* buffer, uint32_t size);
// Asks for a strip; bytes that it claims beyond the buffer are cut off. Its rows and columns may still lie.
TW_UINT16 fetchStrip(Link& link, TW_IMAGEMEMXFER& strip, uint32_t bufferSize);

// Where the rows and their length don't make up the bytes written, or a row isn't as long as one of a DIB,
// the number of rows follows from the bytes. True when it was looked at anew.
bool correctRows(TW_IMAGEMEMXFER& strip, int32_t dibRow);
