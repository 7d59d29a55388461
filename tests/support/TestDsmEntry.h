// The entry that a test program exports for the scripted manager.
#pragma once

#include <scanmodule/twain_types.h>

// The C convention, so that the exported name is plain with every compiler.
using TestDsmEntryProc = TW_UINT16(__cdecl*)(pTW_IDENTITY origin, pTW_IDENTITY destination, TW_UINT32 group,
                                             TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data);
