// The memory into which a host wants a strip, which may be anything.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>

#include "scanmodule/twain_types.h"

namespace vscan {

// The buffer of a memory transfer, by pointer or by handle; locked while it lives. No data when it is none.
class TransferBuffer {
public:
    explicit TransferBuffer(const TW_MEMORY& memory);
    ~TransferBuffer();
    TransferBuffer(const TransferBuffer&) = delete;
    TransferBuffer& operator=(const TransferBuffer&) = delete;

    std::uint8_t* data() const { return data_; }
    std::size_t size() const { return size_; }

private:
    HGLOBAL locked_ = nullptr;
    std::uint8_t* data_ = nullptr;
    std::size_t size_ = 0;
};

}  // namespace vscan
