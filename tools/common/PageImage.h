#pragma once

#include "common/BmpRowFile.h"
#include "common/ModuleLibrary.h"
#include "common/Strips.h"

namespace host {

// How an announced image becomes a BMP file.
struct PageImage {
    BmpFormat format;
    PixelLayout layout;
};

// Asks the source for palette and pixel flavor where they count. Throws Failure when the image can't become a
// BMP file: compressed, or a pixel type or depth that such files don't have.
PageImage planImage(const ModuleLibrary& module, const TXferImageInfo& info);

// The resolution of an announced image; dots per inch whatever unit the source works in. 0 when not known.
DotsPerInch resolutionOf(const ModuleLibrary& module, const TXferImageInfo& info);

}  // namespace host
