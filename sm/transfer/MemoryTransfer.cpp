// Memory transfer, pushed: a batch of images, strip by strip, to the host's handlers.
#include <cstring>

#include "TScanModule.h"

namespace {

constexpr uint32_t defaultBufferSize = 0x10000;
// What GetPendingCount says outside an XferEnd handler.
constexpr uint16_t noPendingCount = 9999;

bool isUncompressedDibType(const TW_IMAGEINFO& info) {
    return info.Compression == TWCP_NONE && info.PixelType >= TWPT_BW && info.PixelType <= TWPT_PALETTE;
}

// From the order of the source to that of a Windows DIB.
void convertStrip(const TW_IMAGEINFO& info, const TW_IMAGEMEMXFER& strip, const SmBufferDescriptor& buffer,
                  ConversionPath path) {
    if (info.Compression != TWCP_NONE || info.Planar) return;
    const StripRows rows = {static_cast<uint8_t*>(buffer.BufferPointer), buffer.BufferSize, strip.BytesPerRow,
                            strip.Rows, strip.Columns};
    // Kept: "TScanModuke", and "R,G" although red and blue change places.
    constexpr char swapBytes[] = "Swap hi-byte & lo-byte data in TScanModuke::DoMemXfer";
    constexpr char swapColors[] = "Swap R,G data in TScanModuke::DoMemXfer";
    if (info.PixelType == TWPT_GRAY && info.BitsPerPixel == 16) {
        traceText(swapBytes);
        swapSampleBytes16(rows, path);
    } else if (info.PixelType == TWPT_RGB && info.BitsPerPixel == 24) {
        traceText(swapColors);
        swapRedBlue24(rows, path);
    } else if (info.PixelType == TWPT_RGB && info.BitsPerPixel == 48) {
        traceText(swapColors);
        reversePixels48(rows, path);
    }
}

// One image's way to the host: announced, then pushed strip by strip.
class PushedImage {
public:
    PushedImage(TScanModule& module, Link& link, const Host& host, Transfers& transfers,
                const StripBufferSizes& sizes, GlobalBuffer& own)
        : module_(module), link_(link), host_(host), transfers_(transfers), sizes_(sizes), own_(own) {}

    // From the announcement to the last strip; gives what XferEnd reports.
    int32_t push(const MethodTrace& trace, const TW_IMAGEINFO& info) {
        TXferImageInfo& record = transfers_.records.memory;
        uint16_t unit = SM_UNIT_INCHES;
        module_.GetUnit(&unit);
        describeImage(record, info, unit);
        record.XferMech = SM_MECH_MEMORY;
        transfers_.area.buffer = SmBufferDescriptor{};
        record.Target.Buffer = &transfers_.area.buffer;
        trace.note("Send WM_XFERSTART");
        host_.tell(host_.xferStart, 0, &record);
        if (transfers_.cancelRequested(host_)) {
            trace.warn("AP cancel image xfer");
            return SM_XFEREND_CANCELLED_BY_HOST;
        }
        return pushStrips(trace, info);
    }

private:
    int32_t pushStrips(const MethodTrace& trace, const TW_IMAGEINFO& info) {
        int emptyStrips = 0;
        trace.note("Process memory buffer");
        own_.Free();
        SmBufferDescriptor buffer;
        if (!chooseBuffer(trace, buffer)) return TWCC_LOWMEMORY;
        trace.note("Do while-loop to get image data");
        for (;;) {
            TW_IMAGEMEMXFER strip = makeStripRequest(buffer.BufferPointer, buffer.BufferSize);
            trace.note("MSG_GET DAT_IMAGEMEMXFER");
            const TW_UINT16 code = fetchStrip(link_, strip, buffer.BufferSize);
            if (code == TWRC_CANCEL) {
                // Kept: lower case here only.
                trace.warn("image xfer canceled");
                return SM_XFEREND_CANCELLED_BY_SOURCE;
            }
            if (code != TWRC_SUCCESS && code != TWRC_XFERDONE) {
                trace.warn("Image xfer error");
                return link_.conditionCode();
            }
            if (isUncompressedDibType(info) && correctRows(strip, TScanModule::ImageBytesPerRow(&info))) {
                trace.warn("not 4-byte align");
            }
            fillStripRecord(info, strip);
            convertStrip(info, strip, buffer, transfers_.conversion);
            trace.note("Send WM_XFERDATA");
            // A block that was pulled meanwhile has cleared it.
            transfers_.area.buffer = buffer;
            host_.tell(host_.xferData, 0, &transfers_.records.strip);
            if (transfers_.cancelRequested(host_)) return SM_XFEREND_CANCELLED_BY_HOST;
            if (code == TWRC_XFERDONE) return SM_XFEREND_DONE;
            emptyStrips = strip.BytesWritten == 0 ? emptyStrips + 1 : 0;
            if (emptyStrips == mostEmptyStrips) {
                trace.warn(endlessStrips);
                return TWCC_BUMMER;
            }
            if (!chooseBuffer(trace, buffer)) return TWCC_LOWMEMORY;
        }
    }

    // The descriptor as the host's handler left it decides where the next strip goes: the host's memory, else
    // the module's own.
    bool chooseBuffer(const MethodTrace& trace, SmBufferDescriptor& chosen) {
        SmBufferDescriptor& descriptor = transfers_.area.buffer;
        if (descriptor.BufferSize == 0 || descriptor.BufferPointer == nullptr) {
            if (own_.size() == 0 && !allocateStripBuffer(trace, sizes_, own_)) return false;
            descriptor = {own_.size(), own_.data()};
        }
        chosen = descriptor;
        return true;
    }

    void fillStripRecord(const TW_IMAGEINFO& info, const TW_IMAGEMEMXFER& strip) {
        TXferStripInfo& record = transfers_.records.strip;
        std::memcpy(&record, &transfers_.records.memory, offsetof(TXferStripInfo, BytesPerRow));
        record.BytesPerRow = strip.BytesPerRow;
        record.Columns = strip.Columns;
        record.Rows = strip.Rows;
        record.XOffset = strip.XOffset;
        record.YOffset = strip.YOffset;
        record.BytesWritten = strip.BytesWritten;
        record.DibAligned = isUncompressedDibType(info) &&
                            strip.BytesPerRow == static_cast<uint32_t>(TScanModule::ImageBytesPerRow(&info));
        record.Buffer = &transfers_.area.buffer;
    }

    TScanModule& module_;
    Link& link_;
    const Host& host_;
    Transfers& transfers_;
    const StripBufferSizes& sizes_;
    GlobalBuffer& own_;
};

}  // namespace

int32_t TScanModule::GetMemXferSize(uint32_t* min, uint32_t* max, uint32_t* preferred) {
    const MethodTrace trace{"TScanModule::GetMemXferSize"};
    if (const int32_t refused = link_.checkReady(trace)) return refused;
    TW_SETUPMEMXFER setup = {};
    if (link_.source(DG_CONTROL, DAT_SETUPMEMXFER, MSG_GET, &setup) != TWRC_SUCCESS) {
        *min = *max = *preferred = defaultBufferSize;
        return link_.operationFailed(trace);
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

void TScanModule::DoMemXfer() {
    const MethodTrace trace{"TScanModule::DoMemXfer"};
    GlobalBuffer own;
    int32_t result;
    uint16_t pending;
    // Kept: once cleared it stays so for the rest of the batch, no later image gets an XferEnd.
    bool reportsEnd = true;
    int undescribed = 0;
    transfers_.pendingCount = noPendingCount;
    do {
        StripBufferSizes sizes = {};
        GetMemXferSize(&sizes.min, &sizes.max, &sizes.preferred);
        transfers_.clearCancel();
        TW_IMAGEINFO info = {};
        if (link_.imageInfo(info) == TWRC_SUCCESS) {
            result = PushedImage{*this, link_, host_, transfers_, sizes, own}.push(trace, info);
            undescribed = 0;
        } else {
            trace.warn("Error in get DAT_IMAGEINFO");
            reportsEnd = false;
            ++undescribed;
            result = link_.conditionCode();
        }
        EndThisXfer(&pending);
        transfers_.pendingCount = pending;
        if (reportsEnd) host_.tell(host_.xferEnd, static_cast<WPARAM>(result), &transfers_.records.memory);
        transfers_.pendingCount = noPendingCount;
        if (result == TWCC_OPERATIONERROR) {
            EndAllXfer();
            host_.tell(host_.closeDSReq, 0);
            break;
        }
        if (undescribed == mostUndescribedImages) trace.warn(endlessImages);
        if (transfers_.allCancelled(host_) || undescribed == mostUndescribedImages) {
            EndAllXfer();
            break;
        }
    } while (pending != 0);
    // Wakes the host's message loop.
    PostMessageA(host_.window, WM_NULL, 0, 0);
    if (!ui_.showUI || result == TWCC_OPERATIONERROR) {
        // Kept: "SM_" here, and after an operation error the request's second time.
        trace.note("Send SM_CLOSEDSREQ");
        host_.tell(host_.closeDSReq, 0);
    }
}
