// One kind of TWAIN operation: what a script answers and what a record names.
#pragma once

#include <scanmodule/twain_types.h>

#include <string>
#include <tuple>

struct Operation {
    TW_UINT32 group;
    TW_UINT16 argumentType;
    TW_UINT16 message;
    TW_UINT16 capability = 0;    // of a DAT_CAPABILITY operation
    const char* name = nullptr;  // in a record, where it is always the same

    friend bool operator<(const Operation& a, const Operation& b) {
        return std::tie(a.group, a.argumentType, a.message, a.capability) <
               std::tie(b.group, b.argumentType, b.message, b.capability);
    }
};

namespace operation {

constexpr Operation openDsm{DG_CONTROL, DAT_PARENT, MSG_OPENDSM, 0, "OPENDSM"};
constexpr Operation closeDsm{DG_CONTROL, DAT_PARENT, MSG_CLOSEDSM, 0, "CLOSEDSM"};
constexpr Operation getDefault{DG_CONTROL, DAT_IDENTITY, MSG_GETDEFAULT, 0, "GETDEFAULT"};
constexpr Operation getFirst{DG_CONTROL, DAT_IDENTITY, MSG_GETFIRST, 0, "GETFIRST"};
constexpr Operation getNext{DG_CONTROL, DAT_IDENTITY, MSG_GETNEXT, 0, "GETNEXT"};
constexpr Operation userSelect{DG_CONTROL, DAT_IDENTITY, MSG_USERSELECT, 0, "USERSELECT"};
constexpr Operation openDs{DG_CONTROL, DAT_IDENTITY, MSG_OPENDS, 0, "OPENDS"};
constexpr Operation closeDs{DG_CONTROL, DAT_IDENTITY, MSG_CLOSEDS, 0, "CLOSEDS"};
constexpr Operation enableDs{DG_CONTROL, DAT_USERINTERFACE, MSG_ENABLEDS};
constexpr Operation disableDs{DG_CONTROL, DAT_USERINTERFACE, MSG_DISABLEDS};
constexpr Operation status{DG_CONTROL, DAT_STATUS, MSG_GET, 0, "STATUS"};
constexpr Operation processEvent{DG_CONTROL, DAT_EVENT, MSG_PROCESSEVENT, 0, "PROCESSEVENT"};
constexpr Operation imageInfo{DG_IMAGE, DAT_IMAGEINFO, MSG_GET, 0, "IMAGEINFO"};
constexpr Operation imageLayoutSet{DG_IMAGE, DAT_IMAGELAYOUT, MSG_SET};
constexpr Operation palette{DG_IMAGE, DAT_PALETTE8, MSG_GET, 0, "PALETTE8"};
constexpr Operation setupFile{DG_CONTROL, DAT_SETUPFILEXFER, MSG_SET};
constexpr Operation setupMemory{DG_CONTROL, DAT_SETUPMEMXFER, MSG_GET, 0, "SETUPMEMXFER"};
constexpr Operation nativeTransfer{DG_IMAGE, DAT_IMAGENATIVEXFER, MSG_GET, 0, "IMAGENATIVEXFER"};
constexpr Operation fileTransfer{DG_IMAGE, DAT_IMAGEFILEXFER, MSG_GET, 0, "IMAGEFILEXFER"};
constexpr Operation memoryTransfer{DG_IMAGE, DAT_IMAGEMEMXFER, MSG_GET, 0, "IMAGEMEMXFER"};
constexpr Operation endTransfer{DG_CONTROL, DAT_PENDINGXFERS, MSG_ENDXFER, 0, "ENDXFER"};
constexpr Operation resetTransfers{DG_CONTROL, DAT_PENDINGXFERS, MSG_RESET, 0, "RESET"};

constexpr Operation capability(TW_UINT16 message, TW_UINT16 capability) {
    return {DG_CONTROL, DAT_CAPABILITY, message, capability};
}
constexpr Operation get(TW_UINT16 id) {
    return capability(MSG_GET, id);
}
constexpr Operation getCurrent(TW_UINT16 id) {
    return capability(MSG_GETCURRENT, id);
}
constexpr Operation set(TW_UINT16 id) {
    return capability(MSG_SET, id);
}

// The operation that DSM_Entry was called for.
Operation of(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data);

// "ICAP_UNITS"; unknown ones as numbers.
std::string capabilityName(TW_UINT16 id);

// One line for a record: "SET ICAP_UNITS one UINT16 1", "OPENDS", "ENABLEDS show 1 modal 0", "ENDXFER".
std::string text(const Operation& operation, TW_MEMREF data);

}  // namespace operation
