// Memory transfer, pushed: a batch of images, strip by strip, to the host's handlers.
#include <cstring>

#include "GlobalBuffer.h"
#include "StripBuffer.h"
#include "StripConversion.h"
#include "TScanModule.h"
#include "TransferRecords.h"

namespace {

constexpr uint32_t defaultBufferSize = 0x10000;
// What GetPendingCount says outside an XferEnd handler.
constexpr uint16_t noPendingCount = 9999;

bool isUncompressedDibType(const TW_IMAGEINFO& info) {
    return info.Compression == TWCP_NONE && info.PixelType >= TWPT_BW && info.PixelType <= TWPT_PALETTE;
}

void correctRows(const MethodTrace& trace, const TW_IMAGEINFO& info, TW_IMAGEMEMXFER& strip) {
    if (!isUncompressedDibType(info)) return;
    const uint64_t dibBytes = static_cast<uint64_t>(TScanModule::ImageBytesPerRow(&info)) * strip.Rows;
    const uint64_t bytes = static_cast<uint64_t>(strip.BytesPerRow) * strip.Rows;
    if (bytes == strip.BytesWritten && dibBytes == strip.BytesWritten) return;
    trace.warn("not 4-byte align");
    strip.Rows = strip.BytesPerRow != 0 ? strip.BytesWritten / strip.BytesPerRow : 0;
}

void fillStripRecord(TXferStripInfo& record, const TW_IMAGEINFO& info, const TW_IMAGEMEMXFER& strip) {
    std::memcpy(&record, &transferRecords.memory, offsetof(TXferStripInfo, BytesPerRow));
    record.BytesPerRow = strip.BytesPerRow;
    record.Columns = strip.Columns;
    record.Rows = strip.Rows;
    record.XOffset = strip.XOffset;
    record.YOffset = strip.YOffset;
    record.BytesWritten = strip.BytesWritten;
    record.DibAligned = isUncompressedDibType(info) &&
                        strip.BytesPerRow == static_cast<uint32_t>(TScanModule::ImageBytesPerRow(&info));
    record.Buffer = &transferArea.buffer;
}

// From the order of the source to that of a Windows DIB.
void convertStrip(const TW_IMAGEINFO& info, const TW_IMAGEMEMXFER& strip, const SmBufferDescriptor& buffer) {
    if (info.Compression != TWCP_NONE || info.Planar) return;
    const StripRows rows = {static_cast<uint8_t*>(buffer.BufferPointer), buffer.BufferSize, strip.BytesPerRow,
                            strip.Rows, strip.Columns};
    // Kept: "TScanModuke", and "R,G" although red and blue change places.
    constexpr char swapBytes[] = "Swap hi-byte & lo-byte data in TScanModuke::DoMemXfer";
    constexpr char swapColors[] = "Swap R,G data in TScanModuke::DoMemXfer";
    if (info.PixelType == TWPT_GRAY && info.BitsPerPixel == 16) {
        traceText(swapBytes);
        swapSampleBytes16(rows);
    } else if (info.PixelType == TWPT_RGB && info.BitsPerPixel == 24) {
        traceText(swapColors);
        swapRedBlue24(rows);
    } else if (info.PixelType == TWPT_RGB && info.BitsPerPixel == 48) {
        traceText(swapColors);
        reversePixels48(rows);
    }
}

}  // namespace

int32_t TScanModule::GetMemXferSize(uint32_t* min, uint32_t* max, uint32_t* preferred) {
    const MethodTrace trace{"TScanModule::GetMemXferSize"};
    if (const int32_t refused = checkReady(trace)) return refused;
    TW_SETUPMEMXFER setup = {};
    if (callSource(DG_CONTROL, DAT_SETUPMEMXFER, MSG_GET, &setup) != TWRC_SUCCESS) {
        *min = *max = *preferred = defaultBufferSize;
        return callFailed(trace);
    }
    *min = setup.MinBufSize;
    *max = setup.MaxBufSize;
    *preferred = setup.Preferred;
    if (*min == 0) {
        trace.warn("min == 0, Adjust it");
        *min = defaultBufferSize;
    }
    if (*max == 0) {
        trace.warn("max == 0, Adjust it");
        *max = defaultBufferSize;
    }
    if (*preferred == 0 || *preferred < *min || *preferred > *max) {
        trace.warn("illegal preferred size, Adjust it");
        *preferred = *min;
    }
    trace::write(TraceLevel::Trace, TracePoint::here(), "Mem Xfer Size min = ", *min, " max = ", *max,
                 "preferred = ", *preferred, " in TScanModule::GetMemXferSize");
    return 0;
}

TW_UINT16 TScanModule::fetchStrip(TW_IMAGEMEMXFER& strip, uint32_t bufferSize) {
    const TW_UINT16 code = callSource(DG_IMAGE, DAT_IMAGEMEMXFER, MSG_GET, &strip);
    // A strip that claims more than the buffer holds lies.
    if (strip.BytesWritten > bufferSize) strip.BytesWritten = bufferSize;
    return code;
}

// The descriptor as the host's handler left it decides where the next strip goes: the host's memory, else the
// module's own.
bool TScanModule::chooseStripBuffer(const MethodTrace& trace, const StripBufferSizes& sizes,
                                    GlobalBuffer& own) {
    SmBufferDescriptor& descriptor = transferArea.buffer;
    if (descriptor.BufferSize != 0 && descriptor.BufferPointer != nullptr) return true;
    if (own.size() == 0 && !allocateStripBuffer(trace, sizes, own)) return false;
    descriptor = {own.size(), own.data()};
    return true;
}

// One image's strips; gives what XferEnd reports.
int32_t TScanModule::pushStrips(const MethodTrace& trace, const TW_IMAGEINFO& info,
                                const StripBufferSizes& sizes, GlobalBuffer& own) {
    static TXferStripInfo record = {};
    SmBufferDescriptor& descriptor = transferArea.buffer;
    trace.note("Process memory buffer");
    own.Free();
    if (!chooseStripBuffer(trace, sizes, own)) return TWCC_LOWMEMORY;
    trace.note("Do while-loop to get image data");
    for (;;) {
        TW_IMAGEMEMXFER strip = makeStripRequest(descriptor.BufferPointer, descriptor.BufferSize);
        trace.note("MSG_GET DAT_IMAGEMEMXFER");
        const TW_UINT16 code = fetchStrip(strip, descriptor.BufferSize);
        if (code == TWRC_CANCEL) {
            // Kept: lower case here only.
            trace.warn("image xfer canceled");
            return SM_XFEREND_CANCELLED_BY_SOURCE;
        }
        if (code != TWRC_SUCCESS && code != TWRC_XFERDONE) {
            trace.warn("Image xfer error");
            return GetTWAINStatusCode();
        }
        correctRows(trace, info, strip);
        fillStripRecord(record, info, strip);
        convertStrip(info, strip, descriptor);
        trace.note("Send WM_XFERDATA");
        tellHost(xferData_, 0, &record);
        if (cancelRequested()) return SM_XFEREND_CANCELLED_BY_HOST;
        if (code == TWRC_XFERDONE) return SM_XFEREND_DONE;
        if (!chooseStripBuffer(trace, sizes, own)) return TWCC_LOWMEMORY;
    }
}

// One image from its announcement to the last strip; gives what XferEnd reports.
int32_t TScanModule::pushImage(const MethodTrace& trace, const TW_IMAGEINFO& info,
                               const StripBufferSizes& sizes, GlobalBuffer& own) {
    TXferImageInfo& record = transferRecords.memory;
    fillImageRecord(record, info);
    record.XferMech = SM_MECH_MEMORY;
    transferArea.buffer = SmBufferDescriptor{};
    record.Target.Buffer = &transferArea.buffer;
    trace.note("Send WM_XFERSTART");
    tellHost(xferStart_, 0, &record);
    if (cancelRequested()) {
        trace.warn("AP cancel image xfer");
        return SM_XFEREND_CANCELLED_BY_HOST;
    }
    return pushStrips(trace, info, sizes, own);
}

void TScanModule::DoMemXfer() {
    const MethodTrace trace{"TScanModule::DoMemXfer"};
    GlobalBuffer own;
    int32_t result;
    uint16_t pending;
    // Kept: once cleared it stays so for the rest of the batch, no later image gets an XferEnd.
    bool reportsEnd = true;
    int undescribed = 0;
    pendingCount_ = noPendingCount;
    do {
        StripBufferSizes sizes = {};
        GetMemXferSize(&sizes.min, &sizes.max, &sizes.preferred);
        clearCancel();
        TW_IMAGEINFO info = {};
        if (getImageInfo(&info) == TWRC_SUCCESS) {
            result = pushImage(trace, info, sizes, own);
            undescribed = 0;
        } else {
            trace.warn("Error in get DAT_IMAGEINFO");
            reportsEnd = false;
            ++undescribed;
            result = GetTWAINStatusCode();
        }
        EndThisXfer(&pending);
        pendingCount_ = pending;
        if (reportsEnd) tellHost(xferEnd_, static_cast<WPARAM>(result), &transferRecords.memory);
        pendingCount_ = noPendingCount;
        if (result == TWCC_OPERATIONERROR) {
            EndAllXfer();
            tellHost(closeDSReq_, 0);
            break;
        }
        if (cancelAll_ != 0 || undescribed == mostUndescribedImages) {
            EndAllXfer();
            break;
        }
    } while (pending != 0);
    // Wakes the host's message loop.
    PostMessageA(parent_, WM_NULL, 0, 0);
    if (ui_.showUI == 0 || result == TWCC_OPERATIONERROR) {
        // Kept: "SM_" here, and after an operation error the request's second time.
        trace.note("Send SM_CLOSEDSREQ");
        tellHost(closeDSReq_, 0);
    }
}
