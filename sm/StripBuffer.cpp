#include "StripBuffer.h"

#include <initializer_list>

bool allocateStripBuffer(const MethodTrace& trace, const StripBufferSizes& sizes, GlobalBuffer& buffer,
                         TracePoint at) {
    for (const uint32_t size : {sizes.preferred, sizes.min, sizes.max}) {
        buffer.Allocate(size);
        if (buffer.size() == 0) continue;
        trace::write(TraceLevel::Trace, at, "Memory buffer size = ", size, " in ", trace.method());
        return true;
    }
    trace.warn("Low Memory", at);
    return false;
}

TW_IMAGEMEMXFER makeStripRequest(void* buffer, uint32_t size) {
    TW_IMAGEMEMXFER request = {};
    request.Memory = {TWMF_APPOWNS | TWMF_POINTER, size, buffer};
    return request;
}
