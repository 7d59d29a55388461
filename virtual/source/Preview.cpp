#include "source/Preview.h"

#include <vector>

namespace vscan {

namespace {

// Of the square with this upper left corner, as a 32-bit DIB has it.
DWORD meanColor(const Picture& picture, int left, int top) {
    DWORD red = 0, green = 0, blue = 0;
    for (int y = top; y < top + previewDetail; ++y)
        for (int x = left; x < left + previewDetail; ++x) {
            const Color color = picture.colorAt(x, y);
            red += color.red;
            green += color.green;
            blue += color.blue;
        }
    constexpr DWORD count = previewDetail * previewDetail;
    return red / count << 16 | green / count << 8 | blue / count;
}

}  // namespace

void paintPreview(HDC context, const RECT& place, const Picture& picture) {
    FillRect(context, &place, GetSysColorBrush(COLOR_APPWORKSPACE));
    const int width = picture.width / previewDetail, height = picture.height / previewDetail;
    std::vector<DWORD> pixels;
    pixels.reserve(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            pixels.push_back(meanColor(picture, x * previewDetail, y * previewDetail));
    BITMAPINFO format{};
    format.bmiHeader.biSize = sizeof format.bmiHeader;
    format.bmiHeader.biWidth = width;
    format.bmiHeader.biHeight = -height;  // from the top
    format.bmiHeader.biPlanes = 1;
    format.bmiHeader.biBitCount = 32;
    SetDIBitsToDevice(context, (place.left + place.right - width) / 2,
                      (place.top + place.bottom - height) / 2, static_cast<DWORD>(width),
                      static_cast<DWORD>(height), 0, 0, 0, static_cast<UINT>(height), pixels.data(), &format,
                      DIB_RGB_COLORS);
}

}  // namespace vscan
