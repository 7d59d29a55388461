#pragma once

#include "BmpFile.h"
#include "ModuleLibrary.h"
#include "Strips.h"

namespace smscan {

// How an announced image becomes a BMP file.
struct PageImage {
    BmpFormat format;
    PixelLayout layout;
};

// Asks the source for palette and pixel flavor where they count. Throws Failure when the image can't become a
// BMP file: compressed, or a pixel type or depth that such files don't have.
PageImage planImage(const ModuleLibrary& module, const TXferImageInfo& info);

struct DotsPerInch {
    int x;
    int y;
};

// The resolution of an announced image; dots per inch whatever unit the source works in. 0 when not known.
DotsPerInch resolutionOf(const ModuleLibrary& module, const TXferImageInfo& info);

// What is said of a page that is done: path, size in pixels, depth, resolution.
std::string pageLine(const std::string& path, const DibFacts& facts, const DotsPerInch& dots);

}  // namespace smscan
