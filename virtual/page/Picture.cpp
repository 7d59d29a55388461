#include "page/Picture.h"

namespace vscan {

namespace {

std::vector<Color> grayLevels(int count) {
    std::vector<Color> levels(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        const auto level = static_cast<std::uint8_t>(i * 255 / (count - 1));
        levels[static_cast<std::size_t>(i)] = {level, level, level};
    }
    return levels;
}

std::vector<Color> sixteenColors() {
    return {{0, 0, 0},     {128, 0, 0},     {0, 128, 0},     {128, 128, 0},  {0, 0, 128}, {128, 0, 128},
            {0, 128, 128}, {128, 128, 128}, {192, 192, 192}, {255, 0, 0},    {0, 255, 0}, {255, 255, 0},
            {0, 0, 255},   {255, 0, 255},   {0, 255, 255},   {255, 255, 255}};
}

// A cube of six levels a channel, then forty grays.
std::vector<Color> cubeAndGrays() {
    std::vector<Color> colors;
    colors.reserve(256);
    for (int red = 0; red < 6; ++red)
        for (int green = 0; green < 6; ++green)
            for (int blue = 0; blue < 6; ++blue)
                colors.push_back({static_cast<std::uint8_t>(red * 51), static_cast<std::uint8_t>(green * 51),
                                  static_cast<std::uint8_t>(blue * 51)});
    for (const Color& gray : grayLevels(40))
        colors.push_back(gray);
    return colors;
}

}  // namespace

int bitsPerPixel(PixelKind kind) {
    switch (kind) {
        case PixelKind::Bw1:
            return 1;
        case PixelKind::Gray4:
        case PixelKind::Palette4:
            return 4;
        case PixelKind::Gray8:
        case PixelKind::Palette8:
            return 8;
        case PixelKind::Gray16:
            return 16;
        case PixelKind::Rgb24:
            return 24;
        case PixelKind::Rgb48:
            return 48;
    }
    return 0;
}

bool isGray(PixelKind kind) {
    return kind == PixelKind::Gray4 || kind == PixelKind::Gray8 || kind == PixelKind::Gray16;
}
bool isPalette(PixelKind kind) {
    return kind == PixelKind::Palette4 || kind == PixelKind::Palette8;
}
bool isRgb(PixelKind kind) {
    return kind == PixelKind::Rgb24 || kind == PixelKind::Rgb48;
}
int samplesPerPixel(PixelKind kind) {
    return isRgb(kind) ? 3 : 1;
}

PixelKind dibKind(PixelKind kind) {
    if (kind == PixelKind::Gray16) return PixelKind::Gray8;
    if (kind == PixelKind::Rgb48) return PixelKind::Rgb24;
    return kind;
}

std::size_t packedRowBytes(PixelKind kind, int width) {
    return (static_cast<std::size_t>(width) * static_cast<std::size_t>(bitsPerPixel(kind)) + 7) / 8;
}

std::size_t paddedRowBytes(PixelKind kind, int width) {
    return (packedRowBytes(kind, width) + 3) & ~std::size_t{3};
}

std::vector<Color> paletteOf(PixelKind kind, bool vanilla) {
    if (kind == PixelKind::Palette4) return sixteenColors();
    if (kind == PixelKind::Palette8) return cubeAndGrays();
    if (bitsPerPixel(kind) > 8) return {};
    std::vector<Color> levels = grayLevels(1 << bitsPerPixel(kind));
    if (vanilla) return {levels.rbegin(), levels.rend()};
    return levels;
}

Color Picture::colorAt(int x, int y) const {
    const std::uint8_t* line = row(y);
    const auto column = static_cast<std::size_t>(x);
    switch (kind) {
        case PixelKind::Bw1:
            return palette[(line[column / 8] >> (7 - column % 8)) & 1];
        case PixelKind::Gray4:
        case PixelKind::Palette4:
            return palette[(line[column / 2] >> (column % 2 ? 0 : 4)) & 15];
        case PixelKind::Gray8:
        case PixelKind::Palette8:
            return palette[line[column]];
        case PixelKind::Gray16:
            return {line[column * 2], line[column * 2], line[column * 2]};
        case PixelKind::Rgb24:
            return {line[column * 3], line[column * 3 + 1], line[column * 3 + 2]};
        case PixelKind::Rgb48:
            return {line[column * 6], line[column * 6 + 2], line[column * 6 + 4]};
    }
    return {};
}

}  // namespace vscan
