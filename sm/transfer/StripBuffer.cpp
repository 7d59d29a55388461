#include "transfer/StripBuffer.h"

#include <initializer_list>

bool allocateStripBuffer(const Caller& caller, const StripBufferSizes& sizes, GlobalBuffer& buffer) {
    for (const uint32_t size : {sizes.preferred, sizes.min, sizes.max}) {
        if (buffer.size() != size) buffer.Allocate(size);
        if (buffer.size() == 0) continue;
        trace::write(TraceLevel::Trace, caller.at(), "Memory buffer size = ", size, " in ", caller.method());
        return true;
    }
    caller.warn("Low Memory");
    return false;
}

TW_IMAGEMEMXFER makeStripRequest(void* buffer, uint32_t size) {
    TW_IMAGEMEMXFER request = {};
    request.Memory = {TWMF_APPOWNS | TWMF_POINTER, size, buffer};
    return request;
}

TW_UINT16 fetchStrip(Link& link, TW_IMAGEMEMXFER& strip, uint32_t bufferSize) {
    const TW_UINT16 code = link.source(DG_IMAGE, DAT_IMAGEMEMXFER, MSG_GET, &strip);
    // A strip that claims more than the buffer holds lies.
    if (strip.BytesWritten > bufferSize) strip.BytesWritten = bufferSize;
    return code;
}

bool correctRows(TW_IMAGEMEMXFER& strip, int32_t dibRow) {
    const uint64_t rows = strip.Rows;
    if (rows * strip.BytesPerRow == strip.BytesWritten && rows * dibRow == strip.BytesWritten) return false;
    strip.Rows = strip.BytesPerRow != 0 ? strip.BytesWritten / strip.BytesPerRow : 0;
    return true;
}
