// How large an image is as a DIB.
#pragma once

#include <scanmodule/twain_types.h>

#include <cstdint>

// Bytes from one row to the next. Wraps like 32-bit arithmetic, whatever size a source invents.
int32_t bytesPerRow(const TW_IMAGEINFO& info);
