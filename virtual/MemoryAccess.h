// Pointers and buffers from a host, which may be anything. A source that crashes takes the host with it.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>

#include "scanmodule/twain_types.h"

namespace vscan {

// The `count` records behind an operation's data pointer, or null when they can't be read, or, for messages
// that bring something back, written.
template <typename Record>
Record* hostRecord(TW_MEMREF data, TW_UINT16 message, std::size_t count = 1) {
    const std::size_t size = sizeof(Record) * count;
    const bool bad = message == MSG_SET ? IsBadReadPtr(data, size) : IsBadWritePtr(data, size);
    return bad ? nullptr : static_cast<Record*>(data);
}

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
