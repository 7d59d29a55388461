// What operations point to: memory of hosts and sources, which may be anything. It is only looked at.
#pragma once

#include <windows.h>

#include "recording/Recording.h"

namespace record {

// The bytes there, or none where they can't be read.
recording::Bytes bytesAt(const void* memory, std::size_t count);

// As many of the bytes there as can be read, up to `most`.
recording::Bytes readableBytesAt(const void* memory, std::size_t most);

// A block of global memory with all its bytes.
recording::Block globalBlock(HGLOBAL handle);

}  // namespace record
