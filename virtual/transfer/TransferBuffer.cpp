#include "transfer/TransferBuffer.h"

#include <algorithm>

namespace vscan {

TransferBuffer::TransferBuffer(const TW_MEMORY& memory) {
    if (memory.Flags & TWMF_HANDLE) {
        const SIZE_T room = GlobalSize(memory.TheMem);
        if (room == 0) return;
        data_ = static_cast<std::uint8_t*>(GlobalLock(memory.TheMem));
        locked_ = data_ ? memory.TheMem : nullptr;
        size_ = std::min<std::size_t>(memory.Length, room);
    } else if (memory.Flags & TWMF_POINTER && memory.Length > 0 &&
               !IsBadWritePtr(memory.TheMem, memory.Length)) {
        data_ = static_cast<std::uint8_t*>(memory.TheMem);
        size_ = memory.Length;
    }
}

TransferBuffer::~TransferBuffer() {
    if (locked_) GlobalUnlock(locked_);
}

}  // namespace vscan
