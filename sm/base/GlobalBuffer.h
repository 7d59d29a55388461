// Movable global memory, the kind that TWAIN passes between programs.
#pragma once

#include <windows.h>

#include <cstdint>

// A zero-initialised movable block, held locked. Empty when memory could not be had.
class GlobalBuffer {
public:
    GlobalBuffer() = default;
    explicit GlobalBuffer(uint32_t size) { Allocate(size); }
    // Kept: virtual, though nothing is derived from it.
    virtual ~GlobalBuffer() { Free(); }
    GlobalBuffer(const GlobalBuffer&) = delete;
    GlobalBuffer& operator=(const GlobalBuffer&) = delete;

    // Frees what is held; size 0 does no more than that.
    void Allocate(uint32_t size);
    void Free();
    void swap(GlobalBuffer& other);

    uint32_t size() const { return size_; }
    uint8_t* data() const { return static_cast<uint8_t*>(pointer_); }

private:
    uint32_t size_ = 0;
    HGLOBAL handle_ = nullptr;
    void* pointer_ = nullptr;
};

// A lock on somebody's block, for one scope. Its size is asked once.
class LockedBlock {
public:
    explicit LockedBlock(HGLOBAL handle)
        : handle_(handle),
          pointer_(handle != nullptr ? GlobalLock(handle) : nullptr),
          size_(pointer_ != nullptr ? static_cast<uint32_t>(GlobalSize(handle)) : 0) {}
    ~LockedBlock() {
        if (pointer_ != nullptr) GlobalUnlock(handle_);
    }
    LockedBlock(const LockedBlock&) = delete;
    LockedBlock& operator=(const LockedBlock&) = delete;

    uint8_t* data() const { return static_cast<uint8_t*>(pointer_); }
    uint32_t size() const { return size_; }

private:
    HGLOBAL handle_;
    void* pointer_;
    uint32_t size_;
};
