#include "base/GlobalBuffer.h"

#include <utility>

void GlobalBuffer::Allocate(uint32_t size) {
    Free();
    if (size == 0) return;
    handle_ = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, size);
    if (handle_ == nullptr) return;
    pointer_ = GlobalLock(handle_);
    if (pointer_ == nullptr) {
        Free();
        return;
    }
    size_ = size;
}

void GlobalBuffer::Free() {
    if (handle_ != nullptr) {
        GlobalUnlock(handle_);
        GlobalFree(handle_);
    }
    handle_ = nullptr;
    pointer_ = nullptr;
    size_ = 0;
}

void GlobalBuffer::swap(GlobalBuffer& other) {
    std::swap(size_, other.size_);
    std::swap(handle_, other.handle_);
    std::swap(pointer_, other.pointer_);
}
