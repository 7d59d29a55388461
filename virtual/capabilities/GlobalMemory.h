// Movable global memory, as TWAIN hands it between host and source.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>

namespace vscan {

// Locks a block while it lives. A handle that is none gives no data.
class GlobalLockedBlock {
public:
    explicit GlobalLockedBlock(HGLOBAL handle)
        : handle_(handle),
          size_(handle ? GlobalSize(handle) : 0),
          data_(size_ ? static_cast<std::uint8_t*>(GlobalLock(handle)) : nullptr) {}
    ~GlobalLockedBlock() {
        if (data_) GlobalUnlock(handle_);
    }
    GlobalLockedBlock(const GlobalLockedBlock&) = delete;
    GlobalLockedBlock& operator=(const GlobalLockedBlock&) = delete;

    std::uint8_t* data() const { return data_; }
    std::size_t size() const { return size_; }

private:
    HGLOBAL handle_;
    std::size_t size_;
    std::uint8_t* data_;
};

// A zeroed movable block that `fill` writes; the caller owns it. Null when memory is short.
template <typename Fill>
HGLOBAL makeGlobal(std::size_t size, Fill fill) {
    HGLOBAL handle = GlobalAlloc(GHND, size);
    if (!handle) return nullptr;
    {
        const GlobalLockedBlock block(handle);
        if (block.data()) {
            fill(block.data());
            return handle;
        }
    }
    GlobalFree(handle);
    return nullptr;
}

}  // namespace vscan
