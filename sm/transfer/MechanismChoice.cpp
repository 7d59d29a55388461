// How a batch begins when the source is ready: which mechanism its images come by.
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
    transfers_.forgetPulled();
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
