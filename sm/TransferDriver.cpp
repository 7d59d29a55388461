// Runs one batch of transfers when the source is ready: picks the mechanism, then image by image tells the
// host, fetches, and ends the image.
#include <cstring>

#include "GlobalBuffer.h"
#include "TScanModule.h"
#include "TransferRecords.h"
#include "Units.h"

namespace {

// What an image may need beside its pixels.
constexpr uint64_t memoryHeadroom = 0x39000;

// Spaces at an end are part of a text.
const char* conditionText(TW_UINT16 code) {
    switch (code) {
        case TWCC_SUCCESS:
            return "TWCC_SUCCESS: It worked!\n";
        case TWCC_BUMMER:
            return "TWCC_BUMMER: Failure due to unknown causes\n";
        case TWCC_LOWMEMORY:
            return "TWCC_LOWMEMORY: Not enough memory to perform operation\n";
        case TWCC_NODS:
            return "TWCC_NODS: No Data Source\n";
        case TWCC_MAXCONNECTIONS:
            return "TWCC_MAXCONNECTIONS: DS is connected to max possible apps      \n";
        case TWCC_OPERATIONERROR:
            return "TWCC_OPERATIONERROR: DS or DSM reported error, app shouldn't   \n";
        case TWCC_BADCAP:
            return "TWCC_BADCAP: Unknown capability                        \n";
        case TWCC_BADPROTOCOL:
            return "TWCC_BADPROTOCOL: Unrecognized MSG DG DAT combination       \n";
        case TWCC_BADVALUE:
            return "TWCC_BADVALUE: Data parameter out of range               \n";
        case TWCC_SEQERROR:
            return "TWCC_SEQERROR: DG DAT MSG out of expected sequence       \n";
        case TWCC_BADDEST:
            return "TWCC_BADDEST: Unknown destination App/Src in DSM_Entry  \n";
        default:
            return "Unknown Value: Unknown Message\n";
    }
}

// Whether a container of mechanisms holds TWSX_FILE. The item type is not looked at: items count as 16-bit.
bool offersFile(const TW_CAPABILITY& cap) {
    const LockedBlock block{cap.hContainer};
    const auto isFile = [&](uint32_t offset) {
        TW_UINT16 item;
        if (offset + sizeof item > block.size()) return false;
        std::memcpy(&item, block.data() + offset, sizeof item);
        return item == TWSX_FILE;
    };
    if (cap.ConType == TWON_ONEVALUE) return isFile(offsetof(TW_ONEVALUE, Item));
    if (cap.ConType != TWON_ENUMERATION || block.size() < offsetof(TW_ENUMERATION, ItemList)) return false;
    TW_UINT32 count;
    std::memcpy(&count, block.data() + offsetof(TW_ENUMERATION, NumItems), sizeof count);
    const TW_UINT32 room = (block.size() - offsetof(TW_ENUMERATION, ItemList)) / sizeof(TW_UINT16);
    for (TW_UINT32 index = count < room ? count : room; index-- > 0;) {
        if (isFile(offsetof(TW_ENUMERATION, ItemList) + index * sizeof(TW_UINT16))) return true;
    }
    return false;
}

int16_t recordResolution(TW_FIX32 resolution, uint16_t unit) {
    // Kept: the factor that turns a length into inches is applied to the resolution as it stands.
    const auto scaled =
        static_cast<int16_t>(truncated(fix32ToNumber(resolution) * factorsOf(unit).recordFactor));
    return scaled < 0 ? -1 : scaled;
}

}  // namespace

void TScanModule::ProcessScanImage() {
    MethodTrace trace{"TScanModule::ProcessScanImage"};
    uint16_t mechanism = xferMech_;
    GetXferMech(&mechanism);
    if (CanUseFileXfer() && !HasEnoughMemFreeSpace()) {
        mechanism = SM_MECH_FILE;
    } else if (!HasEnoughMemFreeSpace()) {  // kept: asked a second time
        MessageBoxA(GetFocus(), "Insufficient memory or disk space.", nullptr, MB_OK);
        // Kept: nothing is transferred or ended, and this path writes no Leaving line.
        trace.omitLeaving();
        return;
    }
    switch (mechanism) {
        case SM_MECH_NATIVE:
            DoNativeXfer();
            break;
        case SM_MECH_FILE:
            DoFileXfer();
            break;
        default:
            DoMemXfer();
    }
    // An image that a handler pulled only in part is over with its batch.
    pulled_ = PulledImage{};
}

BOOL TScanModule::HasEnoughMemFreeSpace() {
    const MethodTrace trace{"TScanModule::HasEnoughMemFreeSpace"};
    TW_IMAGEINFO info = {};
    if (getImageInfo(&info) != TWRC_SUCCESS) return FALSE;
    // Unsigned, so that a source's nonsense wraps; a negative length wraps to the same bits.
    const auto widened = [](int32_t value) { return static_cast<uint64_t>(static_cast<int64_t>(value)); };
    const uint64_t bits = widened(info.BitsPerPixel) * widened(info.ImageWidth) * widened(info.ImageLength);
    // Kept: of a size that is negative or beyond 32 bits the low half is tried.
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT | GMEM_DISCARDABLE,
                                      static_cast<uint32_t>((bits >> 3) + memoryHeadroom));
    if (block == nullptr) return FALSE;
    GlobalFree(block);
    return TRUE;
}

BOOL TScanModule::CanUseFileXfer() {
    const MethodTrace trace{"TScanModule::CanUseFileXfer"};
    // No warning of its own when there is no manager.
    if (!IsTWAINAvailable()) return FALSE;
    TW_CAPABILITY cap = {ICAP_XFERMECH, TWON_DONTCARE16, nullptr};
    if (callSource(DG_CONTROL, DAT_CAPABILITY, MSG_GET, &cap) != TWRC_SUCCESS) {
        GetStatus();
        return FALSE;
    }
    const bool found = offersFile(cap);
    GlobalFree(cap.hContainer);
    traceText(found ? "Can Use File Xfer." : "Cannot Use File Xfer.");
    return found;
}

int32_t TScanModule::GetStatus() {
    const MethodTrace trace{"TScanModule::GetStatus"};
    TW_STATUS status = {};
    if (callSource(DG_CONTROL, DAT_STATUS, MSG_GET, &status) != TWRC_SUCCESS) return -1;
    traceText(conditionText(status.ConditionCode));
    return static_cast<int32_t>(status.ConditionCode | static_cast<uint32_t>(status.Reserved) << 16);
}

void TScanModule::fillImageRecord(TXferImageInfo& record, const TW_IMAGEINFO& info) {
    uint16_t unit = SM_UNIT_INCHES;
    GetUnit(&unit);
    record.XResolution = recordResolution(info.XResolution, unit);
    record.YResolution = recordResolution(info.YResolution, unit);
    record.ImageWidth = info.ImageWidth;
    record.ImageLength = info.ImageLength;
    record.SamplesPerPixel = info.SamplesPerPixel;
    std::memcpy(record.BitsPerSample, info.BitsPerSample, sizeof record.BitsPerSample);
    record.BitsPerPixel = info.BitsPerPixel;
    record.Planar = info.Planar;
    if (info.PixelType >= 0 && info.PixelType <= lastCodedValue) {
        record.PixelTypeFlag = static_cast<unsigned short>(1 << info.PixelType);
    }
    record.Compression = info.Compression;
}

// The batch of a native or file transfer. `resetTarget` readies the record's
// end for an image, `transferImage` fetches it and gives what XferEnd reports.
// Memory transfer has a frame of its own, which differs in the order and in what ends a batch.
template <class Preparer, class Transfer>
void TScanModule::runBatch(const MethodTrace& trace, TXferImageInfo& record, Preparer resetTarget,
                           Transfer transferImage, TracePoint at) {
    uint16_t pending;
    int undescribed = 0;
    do {
        clearCancel();
        TW_IMAGEINFO info = {};
        if (getImageInfo(&info) != TWRC_SUCCESS) {
            trace.warn("Error in get DAT_IMAGEINFO", at);
            ++undescribed;
        } else {
            undescribed = 0;
            fillImageRecord(record, info);
            resetTarget();
            trace.note("Send WM_XFERSTART", at);
            tellHost(xferStart_, 0, &record);
            int32_t result = SM_XFEREND_CANCELLED_BY_HOST;
            if (cancelRequested()) {
                trace.warn("AP cancel image xfer", at);
            } else {
                result = transferImage();
            }
            tellHost(xferEnd_, static_cast<WPARAM>(result), &record);
        }
        EndThisXfer(&pending);
        if (cancelAll_ != 0 || undescribed == mostUndescribedImages) {
            EndAllXfer();
            break;
        }
    } while (pending != 0);
    if (ui_.showUI == 0) {
        // Kept: file transfers write this line too, with this name.
        traceText("Send WM_CLOSEDSREQ in TScanModule::DoNativeXfer", at);
        tellHost(closeDSReq_, 0);
    }
}

int32_t TScanModule::transferFailed(const MethodTrace& trace, TW_UINT16 code, TracePoint at) {
    if (code == TWRC_CANCEL) {
        trace.warn("Image xfer canceled", at);
        return SM_XFEREND_CANCELLED_BY_SOURCE;
    }
    trace.warn("Image xfer error", at);
    return GetTWAINStatusCode();
}

void TScanModule::DoNativeXfer() {
    const MethodTrace trace{"TScanModule::DoNativeXfer"};
    TXferImageInfo& record = transferRecords.native;
    const auto resetTarget = [&] {
        record.XferMech = SM_MECH_NATIVE;
        record.Target.Dib = nullptr;
    };
    const auto fetchDib = [&] {
        trace.note("MSG_GET DAT_IMAGENATIVEXFER");
        transferArea.dib = nullptr;
        const TW_UINT16 code = callSource(DG_IMAGE, DAT_IMAGENATIVEXFER, MSG_GET, &transferArea.dib);
        if (code != TWRC_XFERDONE) return transferFailed(trace, code);
        // Kept: the word "error" on success; log readers know it.
        trace.warn("MSG_GET DAT_IMAGENATIVEXFER error");
        if (record.Target.Dib != nullptr) {
            *record.Target.Dib = transferArea.dib;  // the host owns it from here on
        } else {
            GlobalFree(transferArea.dib);
        }
        return static_cast<int32_t>(SM_XFEREND_DONE);
    };
    runBatch(trace, record, resetTarget, fetchDib);
}

void TScanModule::DoFileXfer() {
    const MethodTrace trace{"TScanModule::DoFileXfer"};
    TXferImageInfo& record = transferRecords.file;
    const auto resetTarget = [&] {
        record.XferMech = SM_MECH_FILE;
        record.Target.FileName = transferArea.fileName;
    };
    const auto writeFile = [&] {
        trace.note("MSG_SET DAT_SETUPFILEXFER");
        TW_SETUPFILEXFER setup = makeFileSetup(transferArea.fileName);
        if (callSource(DG_CONTROL, DAT_SETUPFILEXFER, MSG_SET, &setup) != TWRC_SUCCESS) {
            trace.warn("MSG_SET DAT_SETUPFILEXFER error");
            return GetTWAINStatusCode();
        }
        // Kept: no method's name in this one.
        traceText("Get image by DAT_IMAGEFILEXFER");
        const TW_UINT16 code = callSource(DG_IMAGE, DAT_IMAGEFILEXFER, MSG_GET, nullptr);
        return code == TWRC_XFERDONE ? static_cast<int32_t>(SM_XFEREND_DONE) : transferFailed(trace, code);
    };
    runBatch(trace, record, resetTarget, writeFile);
}

int32_t TScanModule::EndThisXfer(uint16_t* pendingCount) {
    const MethodTrace trace{"TScanModule::EndThisXfer"};
    *pendingCount = 0;
    if (const int32_t refused = checkAvailable(trace)) return refused;
    TW_PENDINGXFERS pending = {};
    if (callSource(DG_CONTROL, DAT_PENDINGXFERS, MSG_ENDXFER, &pending) != TWRC_SUCCESS)
        return callFailed(trace);
    *pendingCount = pending.Count;
    return 0;
}

int32_t TScanModule::EndAllXfer() {
    const MethodTrace trace{"TScanModule::EndAllXfer"};
    if (const int32_t refused = checkAvailable(trace)) return refused;
    TW_PENDINGXFERS pending = {};
    return callSource(DG_CONTROL, DAT_PENDINGXFERS, MSG_RESET, &pending) == TWRC_SUCCESS ? 0
                                                                                         : callFailed(trace);
}

void TScanModule::CancelThisXfer() {
    const MethodTrace trace{"TScanModule::CancelThisXfer"};
    cancelThis_ = 1;
    cancelAll_ = 0;
}

int32_t TScanModule::CancelAllXfer() {
    const MethodTrace trace{"TScanModule::CancelAllXfer"};
    cancelThis_ = 1;
    cancelAll_ = 1;
    return 1;
}
