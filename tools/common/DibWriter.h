#pragma once

#include <cstddef>
#include <string>

#include "common/BmpFacts.h"

namespace host {

// Writes a packed DIB (what a native transfer gives) to a BMP file, the resolution put into its header.
// `bytes` is the size of the block. Throws Failure.
BmpFacts writeDib(const std::string& path, const void* dib, size_t bytes, int xDotsPerInch, int yDotsPerInch);

}  // namespace host
