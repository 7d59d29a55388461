#include "recording/HostMemory.h"

#include <cstring>

#include "recording/ContainerBytes.h"
#include "recording/RecordShapes.h"

namespace recording {

Bytes bytesAt(const void* memory, std::size_t count) {
    const auto* bytes = static_cast<const std::uint8_t*>(memory);
    if (!memory || IsBadReadPtr(memory, count)) return {};
    return {bytes, bytes + count};
}

Block globalBlock(HGLOBAL handle) {
    if (!handle) return {BlockKind::None, {}};
    const SIZE_T size = GlobalSize(handle);
    const auto* bytes = size ? static_cast<const std::uint8_t*>(GlobalLock(handle)) : nullptr;
    if (!bytes) return {BlockKind::Bad, {}};
    Block block{BlockKind::Present, {bytes, bytes + size}};
    GlobalUnlock(handle);
    return block;
}

Block containerOf(const Bytes& capabilityRecord) {
    TW_CAPABILITY capability{};
    if (capabilityRecord.size() == sizeof capability)
        std::memcpy(&capability, capabilityRecord.data(), sizeof capability);
    Block block = globalBlock(capability.hContainer);
    block.bytes = presentable(capability.Cap, {capability.ConType, std::move(block.bytes)});
    return block;
}

Question questionOf(const Triplet& triplet, const void* record) {
    Question question;
    if (!hostWrites(triplet)) return question;
    const Bytes bytes = bytesAt(record, recordSize(triplet));
    question.data = presentableQuestion(triplet, bytes);
    if (triplet.is(DG_CONTROL, DAT_CAPABILITY, MSG_SET)) question.block = containerOf(bytes);
    return question;
}

}  // namespace recording
