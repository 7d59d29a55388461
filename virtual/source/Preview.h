// A small picture of the page, as the choices of the moment would scan it.
#pragma once

#include <windows.h>

#include "page/Picture.h"

namespace vscan {

// A preview is painted from a picture with so many times the pixels in each direction: thin strokes become
// gray instead of broken.
constexpr int previewDetail = 3;

// Paints it into the middle of the place, on a background around it.
void paintPreview(HDC context, const RECT& place, const Picture& picture);

}  // namespace vscan
