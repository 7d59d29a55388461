// Memory that ends at a page nobody may touch: writing or reading past its end is a crash, not luck.
#pragma once

#include <windows.h>

#include <cstdint>

class GuardedBuffer {
public:
    explicit GuardedBuffer(size_t size) : size_(size) {
        const size_t pages = (size + pageSize - 1) / pageSize;
        base_ = static_cast<uint8_t*>(
            VirtualAlloc(nullptr, (pages + 1) * pageSize, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        DWORD before = 0;
        VirtualProtect(base_ + pages * pageSize, pageSize, PAGE_NOACCESS, &before);
        data_ = base_ + pages * pageSize - size;
    }
    ~GuardedBuffer() { VirtualFree(base_, 0, MEM_RELEASE); }
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    uint8_t* data() const { return data_; }
    size_t size() const { return size_; }

private:
    static constexpr size_t pageSize = 4096;
    uint8_t* base_ = nullptr;
    uint8_t* data_ = nullptr;
    size_t size_;
};
