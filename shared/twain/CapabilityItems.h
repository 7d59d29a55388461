// The items in capability containers: their sizes and what they are as numbers.
#pragma once

#include <scanmodule/twain_types.h>

#include <cstddef>

namespace shared {

// Bytes of one item; 0 for a type that is no number.
std::size_t itemSize(TW_UINT16 itemType);

// The number that itemSize() bytes at `item` hold.
double itemNumber(TW_UINT16 itemType, const void* item);

double fromFix32(const TW_FIX32& value);

}  // namespace shared
