#include "pages/WidenedRows.h"

namespace pages {

WidenedRows::WidenedRows(const PageFormat& format) : given_(format), widened_(format) {
    widened_.color = format.color == ColorKind::Gray ? ColorKind::Gray : ColorKind::Rgb;
    widened_.bits = widened_.color == ColorKind::Gray ? 8 : 24;
    widened_.palette.clear();
    row_.resize(widened_.rowBytes());
}

const std::uint8_t* WidenedRows::row(const std::uint8_t* pixels) {
    if (given_.color == widened_.color && given_.bits == widened_.bits) return pixels;
    const int largest = (1 << given_.bits) - 1;
    const int perByte = 8 / given_.bits;
    std::uint8_t* target = row_.data();
    for (int x = 0; x < given_.width; ++x) {
        const int shift = 8 - given_.bits * (x % perByte + 1);
        const int value = pixels[x / perByte] >> shift & largest;
        if (given_.color == ColorKind::Gray) {
            *target++ = static_cast<std::uint8_t>(value * 255 / largest);
        } else {
            const shared::BmpColor color = given_.palette[static_cast<std::size_t>(value)];
            *target++ = color.red;
            *target++ = color.green;
            *target++ = color.blue;
        }
    }
    return row_.data();
}

}  // namespace pages
