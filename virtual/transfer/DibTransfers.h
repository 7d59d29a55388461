// Native and file transfer: both deliver a bottom-up bitmap, one into memory, one into a file.
#pragma once

#include <string>

#include "capabilities/Outcome.h"
#include "page/PageRenderer.h"
#include "scanmodule/twain_types.h"

namespace vscan {

// Pixels per inch that a bitmap names: the resolution without the scaling, so a scaled page prints scaled.
struct Density {
    double x = 0;
    double y = 0;
};

// Native transfer: a packed DIB in movable global memory, which the host frees. TWRC_XFERDONE.
Outcome transferNative(const PageRequest& page, const PageContent& content, const Density& density,
                       TW_UINT32& handle);

// File transfer: a BMP file. A file that could not be written to its end is deleted. TWRC_XFERDONE.
Outcome transferFile(const PageRequest& page, const PageContent& content, const Density& density,
                     const std::string& path);

}  // namespace vscan
