// As much of a TWAIN manager as a source sees: calls that come out of its module, and its ear for notes.
#include <scanmodule/twain_types.h>

namespace {

TW_UINT16 note = MSG_NULL;

}  // namespace

extern "C" TW_UINT16 WINAPI DSM_Entry(pTW_IDENTITY source, pTW_IDENTITY host, TW_UINT32 group,
                                      TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF) {
    const bool known = source->Id == 7 && host->Id == 9 && group == DG_CONTROL && argumentType == DAT_NULL;
    if (known) note = message;
    return known ? TWRC_SUCCESS : TWRC_FAILURE;
}

extern "C" __declspec(dllexport) TW_UINT16
    __cdecl CallSource(DSENTRYPROC source, pTW_IDENTITY host, TW_UINT16 argumentType, TW_UINT16 message,
                       TW_MEMREF data) {
    return source(host, DG_CONTROL, argumentType, message, data);
}

// The last note that came.
extern "C" __declspec(dllexport) TW_UINT16 __cdecl LastNote() {
    return note;
}
