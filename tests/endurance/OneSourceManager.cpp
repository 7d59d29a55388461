// The source manager of the endurance runs, with the virtual scanner as its only source. Wine's own keeps a
// block for each image announced and two each time it is loaded, which would hide losses of the module. The
// source stays loaded: its C++ runtime never closes its two semaphores.
#include "support/TestDsmEntry.h"

namespace {

DSENTRYPROC sourceEntry = nullptr;
TW_UINT16 announced = MSG_NULL;

TW_UINT16 openSource(pTW_IDENTITY origin, pTW_IDENTITY identity) {
    if (!sourceEntry) {
        const HMODULE source = LoadLibraryA("vscan.ds");
        const auto entry = source ? GetProcAddress(source, "DS_Entry") : nullptr;
        sourceEntry = reinterpret_cast<DSENTRYPROC>(reinterpret_cast<void*>(entry));
    }
    if (!sourceEntry) return TWRC_FAILURE;
    sourceEntry(origin, DG_CONTROL, DAT_IDENTITY, MSG_GET, identity);
    return sourceEntry(origin, DG_CONTROL, DAT_IDENTITY, MSG_OPENDS, identity);
}

TW_UINT16 manage(pTW_IDENTITY origin, TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) {
    if (argumentType == DAT_PARENT) return TWRC_SUCCESS;
    const auto identity = static_cast<pTW_IDENTITY>(data);
    switch (message) {
        case MSG_GETDEFAULT:
            lstrcpyA(identity->ProductName, "the only source");
            return TWRC_SUCCESS;
        case MSG_OPENDS:
            return openSource(origin, identity);
        case MSG_CLOSEDS:
            return sourceEntry(origin, DG_CONTROL, DAT_IDENTITY, message, identity);
        default:
            return TWRC_FAILURE;
    }
}

}  // namespace

extern "C" __declspec(dllexport) TW_UINT16
    __cdecl TestDsmEntry(pTW_IDENTITY origin, pTW_IDENTITY destination, TW_UINT32 group,
                         TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) {
    if (!destination) return manage(origin, argumentType, message, data);
    if (argumentType == DAT_NULL) {
        announced = message;
        PostThreadMessageA(GetCurrentThreadId(), WM_NULL, 0, 0);
        return TWRC_SUCCESS;
    }
    if (!sourceEntry) return TWRC_FAILURE;
    if (argumentType == DAT_EVENT && announced != MSG_NULL) {
        static_cast<TW_EVENT*>(data)->TWMessage = announced;
        announced = MSG_NULL;
        return TWRC_DSEVENT;
    }
    return sourceEntry(origin, group, argumentType, message, data);
}
