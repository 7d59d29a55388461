// A TWAIN source manager without a mind of its own: hands every operation to the test program that loaded it.
#include <scanmodule/twain_types.h>

#include "TestDsmEntry.h"

extern "C" TW_UINT16 WINAPI DSM_Entry(pTW_IDENTITY origin, pTW_IDENTITY destination, TW_UINT32 group,
                                      TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) {
    const FARPROC found = GetProcAddress(GetModuleHandleA(nullptr), "TestDsmEntry");
    if (found == nullptr) return TWRC_FAILURE;
    const auto entry = reinterpret_cast<TestDsmEntryProc>(reinterpret_cast<void*>(found));
    return entry(origin, destination, group, argumentType, message, data);
}
