#pragma once

#include <windows.h>

#include <cstdint>

// What a process holds at a moment.
struct ProcessCount {
    // Counts by itself what Windows counts for one (GetProcessHandleCount, GetGuiResources ...): Wine answers
    // 0.
    static ProcessCount now();

    uint32_t privateKib;  // committed memory that is no file's
    uint32_t heapBlocks;  // in use, of all heaps
    uint32_t heapKib;
    uint32_t handles, gdiObjects, userObjects;
};
