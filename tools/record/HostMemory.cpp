#include "record/HostMemory.h"

#include <algorithm>

namespace record {

recording::Bytes bytesAt(const void* memory, std::size_t count) {
    const auto* bytes = static_cast<const std::uint8_t*>(memory);
    if (!memory || IsBadReadPtr(memory, count)) return {};
    return {bytes, bytes + count};
}

recording::Bytes readableBytesAt(const void* memory, std::size_t most) {
    MEMORY_BASIC_INFORMATION region{};
    if (!memory || !VirtualQuery(memory, &region, sizeof region)) return {};
    const auto* end = static_cast<const std::uint8_t*>(region.BaseAddress) + region.RegionSize;
    const auto room = static_cast<std::size_t>(end - static_cast<const std::uint8_t*>(memory));
    return bytesAt(memory, std::min(room, most));
}

recording::Block globalBlock(HGLOBAL handle) {
    if (!handle) return {recording::BlockKind::None, {}};
    const SIZE_T size = GlobalSize(handle);
    const auto* bytes = size ? static_cast<const std::uint8_t*>(GlobalLock(handle)) : nullptr;
    if (!bytes) return {recording::BlockKind::Bad, {}};
    recording::Block block{recording::BlockKind::Present, {bytes, bytes + size}};
    GlobalUnlock(handle);
    return block;
}

}  // namespace record
