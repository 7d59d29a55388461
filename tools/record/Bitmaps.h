// How much of a bitmap is header: what a recording keeps of it whatever becomes of the pixels.
#pragma once

#include <string>

#include "recording/Recording.h"

namespace record {

// Info header, masks and palette of a DIB; at most all of it.
std::size_t dibHeaderBytes(const recording::Bytes& dib);
// The DIB without what its block has behind it.
std::size_t dibBytes(const recording::Bytes& dib);
// What stands before the pixels in a BMP file; 0 for another kind of file.
std::size_t fileHeaderBytes(const recording::Bytes& file);

// Empty where it can't be read.
recording::Bytes wholeFile(const std::string& path);

}  // namespace record
