// What operations point to: memory of hosts and sources, which may be anything. It is only looked at.
#pragma once

#include <windows.h>

#include "recording/Recording.h"

namespace recording {

// The bytes there, or none where they can't be read.
Bytes bytesAt(const void* memory, std::size_t count);

// A block of global memory with all its bytes.
Block globalBlock(HGLOBAL handle);

// The container that the record of a capability points to, as far as it may be written down.
Block containerOf(const Bytes& capabilityRecord);

// What the host says with an operation, as it may be written down.
Question questionOf(const Triplet& triplet, const void* record);

}  // namespace recording
