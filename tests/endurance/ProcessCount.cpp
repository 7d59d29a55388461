#include "ProcessCount.h"

#include <algorithm>

namespace {

uint64_t privateBytes() {
    uint64_t bytes = 0;
    MEMORY_BASIC_INFORMATION region;
    for (const uint8_t* place = nullptr; VirtualQuery(place, &region, sizeof region) != 0;) {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE) bytes += region.RegionSize;
        const uint8_t* const next = static_cast<const uint8_t*>(region.BaseAddress) + region.RegionSize;
        if (next <= place) break;
        place = next;
    }
    return bytes;
}

void countHeaps(ProcessCount& count) {
    constexpr DWORD mostHeaps = 64;
    HANDLE heaps[mostHeaps];
    const DWORD heapCount = std::min(GetProcessHeaps(mostHeaps, heaps), mostHeaps);
    uint64_t bytes = 0;
    for (DWORD i = 0; i < heapCount; ++i) {
        PROCESS_HEAP_ENTRY entry = {};
        HeapLock(heaps[i]);
        while (HeapWalk(heaps[i], &entry)) {
            if (!(entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)) continue;
            ++count.heapBlocks;
            bytes += entry.cbData;
        }
        HeapUnlock(heaps[i]);
    }
    count.heapKib = static_cast<uint32_t>(bytes >> 10);
}

// The highest place in a table of handles that new objects get. Free places are taken first, so it rises by
// as many as are lost.
template <class Make, class Remove>
uint32_t highestPlace(Make make, Remove remove) {
    constexpr int objectCount = 64;
    decltype(make()) objects[objectCount];
    uint32_t highest = 0;
    for (auto& object : objects) {
        object = make();
        highest = std::max(highest, static_cast<uint32_t>(reinterpret_cast<uintptr_t>(object)) & 0xFFFF);
    }
    for (const auto object : objects)
        remove(object);
    return highest;
}

}  // namespace

ProcessCount ProcessCount::now() {
    ProcessCount count{};
    countHeaps(count);
    count.privateKib = static_cast<uint32_t>(privateBytes() >> 10);
    constexpr uint32_t handleStep = 4;
    count.handles =
        highestPlace([] { return CreateEventA(nullptr, FALSE, FALSE, nullptr); }, CloseHandle) / handleStep;
    count.gdiObjects = highestPlace([] { return CreateSolidBrush(0); }, DeleteObject);
    count.userObjects = highestPlace(CreateMenu, DestroyMenu);
    return count;
}
