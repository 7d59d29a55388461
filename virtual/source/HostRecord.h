// Records of a host, whose pointers may be anything. A source that crashes takes the host with it.
#pragma once

#include <windows.h>

#include <cstddef>

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

}  // namespace vscan
