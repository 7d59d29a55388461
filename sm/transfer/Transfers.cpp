// Runs one batch of transfers when the source is ready: picks the mechanism, then image by image tells the
// host, fetches, and ends the image.
#include "transfer/Transfers.h"

#include <cstring>

#include "TScanModule.h"
#include "base/GlobalBuffer.h"

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

// The batch of a native or file transfer. Memory transfer has a frame of its own, which differs in the order
// and in what ends a batch.
class Batch {
public:
    Batch(TScanModule& module, Link& link, const Host& host, const UserInterface& ui, Transfers& transfers)
        : module_(module), link_(link), host_(host), ui_(ui), transfers_(transfers) {}

    // `resetTarget` readies the record's end for an image, `transferImage` fetches it and gives what XferEnd
    // reports.
    template <class Preparer, class Transfer>
    void run(const Caller& caller, TXferImageInfo& record, Preparer resetTarget, Transfer transferImage) {
        uint16_t pending;
        int undescribed = 0;
        do {
            transfers_.clearCancel();
            TW_IMAGEINFO info = {};
            if (link_.imageInfo(info) != TWRC_SUCCESS) {
                caller.warn("Error in get DAT_IMAGEINFO");
                ++undescribed;
            } else {
                undescribed = 0;
                uint16_t unit = SM_UNIT_INCHES;
                module_.GetUnit(&unit);
                describeImage(record, info, unit);
                resetTarget();
                runImage(caller, record, transferImage);
            }
            module_.EndThisXfer(&pending);
            if (undescribed == mostUndescribedImages) caller.warn(endlessImages);
            if (transfers_.allCancelled(host_) || undescribed == mostUndescribedImages) {
                module_.EndAllXfer();
                break;
            }
        } while (pending != 0);
        if (!ui_.showUI) {
            // Kept: file transfers write this line too, with this name.
            traceText("Send WM_CLOSEDSREQ in TScanModule::DoNativeXfer", caller.at());
            host_.tell(host_.closeDSReq, 0);
        }
    }

private:
    template <class Transfer>
    void runImage(const Caller& caller, const TXferImageInfo& record, Transfer transferImage) {
        caller.note("Send WM_XFERSTART");
        host_.tell(host_.xferStart, 0, &record);
        int32_t result = SM_XFEREND_CANCELLED_BY_HOST;
        if (transfers_.cancelRequested(host_)) {
            caller.warn("AP cancel image xfer");
        } else {
            result = transferImage();
        }
        host_.tell(host_.xferEnd, static_cast<WPARAM>(result), &record);
    }

    TScanModule& module_;
    Link& link_;
    const Host& host_;
    const UserInterface& ui_;
    Transfers& transfers_;
};

}  // namespace

void TScanModule::ProcessScanImage() {
    MethodTrace trace{"TScanModule::ProcessScanImage"};
    uint16_t mechanism = negotiation_.mechanism();
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
    transfers_.pulled = PulledImage{};
}

BOOL TScanModule::HasEnoughMemFreeSpace() {
    const MethodTrace trace{"TScanModule::HasEnoughMemFreeSpace"};
    TW_IMAGEINFO info = {};
    if (link_.imageInfo(info) != TWRC_SUCCESS) return FALSE;
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
    if (link_.source(DG_CONTROL, DAT_CAPABILITY, MSG_GET, &cap) != TWRC_SUCCESS) {
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
    if (link_.status(status) != TWRC_SUCCESS) return -1;
    traceText(conditionText(status.ConditionCode));
    return static_cast<int32_t>(status.ConditionCode | static_cast<uint32_t>(status.Reserved) << 16);
}

int32_t transferFailed(Link& link, const Caller& caller, TW_UINT16 code) {
    if (code == TWRC_CANCEL) {
        caller.warn("Image xfer canceled");
        return SM_XFEREND_CANCELLED_BY_SOURCE;
    }
    caller.warn("Image xfer error");
    return link.conditionCode();
}

void TScanModule::DoNativeXfer() {
    const MethodTrace trace{"TScanModule::DoNativeXfer"};
    TXferImageInfo& record = transfers_.records.native;
    const auto resetTarget = [&] {
        record.XferMech = SM_MECH_NATIVE;
        record.Target.Dib = nullptr;
    };
    const auto fetchDib = [&] {
        trace.note("MSG_GET DAT_IMAGENATIVEXFER");
        transfers_.area.dib = nullptr;
        const TW_UINT16 code = link_.source(DG_IMAGE, DAT_IMAGENATIVEXFER, MSG_GET, &transfers_.area.dib);
        if (code != TWRC_XFERDONE) return transferFailed(link_, trace, code);
        // Kept: the word "error" on success; log readers know it.
        trace.warn("MSG_GET DAT_IMAGENATIVEXFER error");
        if (record.Target.Dib != nullptr) {
            *record.Target.Dib = transfers_.area.dib;  // the host owns it from here on
        } else {
            GlobalFree(transfers_.area.dib);
        }
        return static_cast<int32_t>(SM_XFEREND_DONE);
    };
    Batch{*this, link_, host_, ui_, transfers_}.run(trace, record, resetTarget, fetchDib);
}

void TScanModule::DoFileXfer() {
    const MethodTrace trace{"TScanModule::DoFileXfer"};
    TXferImageInfo& record = transfers_.records.file;
    const auto resetTarget = [&] {
        record.XferMech = SM_MECH_FILE;
        record.Target.FileName = transfers_.area.fileName;
    };
    const auto writeFile = [&] {
        trace.note("MSG_SET DAT_SETUPFILEXFER");
        TW_SETUPFILEXFER setup = makeFileSetup(transfers_.area.fileName);
        if (link_.source(DG_CONTROL, DAT_SETUPFILEXFER, MSG_SET, &setup) != TWRC_SUCCESS) {
            trace.warn("MSG_SET DAT_SETUPFILEXFER error");
            return link_.conditionCode();
        }
        // Kept: no method's name in this one.
        traceText("Get image by DAT_IMAGEFILEXFER");
        const TW_UINT16 code = link_.source(DG_IMAGE, DAT_IMAGEFILEXFER, MSG_GET, nullptr);
        return code == TWRC_XFERDONE ? static_cast<int32_t>(SM_XFEREND_DONE)
                                     : transferFailed(link_, trace, code);
    };
    Batch{*this, link_, host_, ui_, transfers_}.run(trace, record, resetTarget, writeFile);
}

int32_t TScanModule::EndThisXfer(uint16_t* pendingCount) {
    const MethodTrace trace{"TScanModule::EndThisXfer"};
    *pendingCount = 0;
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    TW_PENDINGXFERS pending = {};
    if (link_.source(DG_CONTROL, DAT_PENDINGXFERS, MSG_ENDXFER, &pending) != TWRC_SUCCESS)
        return link_.operationFailed(trace);
    *pendingCount = pending.Count;
    return 0;
}

int32_t TScanModule::EndAllXfer() {
    const MethodTrace trace{"TScanModule::EndAllXfer"};
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    TW_PENDINGXFERS pending = {};
    return link_.request(trace, DG_CONTROL, DAT_PENDINGXFERS, MSG_RESET, &pending);
}

void TScanModule::CancelThisXfer() {
    const MethodTrace trace{"TScanModule::CancelThisXfer"};
    transfers_.cancelThis = true;
    transfers_.cancelAll = false;
}

int32_t TScanModule::CancelAllXfer() {
    const MethodTrace trace{"TScanModule::CancelAllXfer"};
    transfers_.cancelThis = true;
    transfers_.cancelAll = true;
    return 1;
}
