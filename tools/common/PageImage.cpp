#include "common/PageImage.h"

#include <algorithm>

#include "common/Failure.h"
#include "common/Names.h"
#include "common/Text.h"
#include "common/Wording.h"

namespace host {

namespace {

std::vector<shared::BmpColor> sourcePalette(const ModuleLibrary& module, int bits) {
    SmPalette palette{};
    if (module.smGetDSPalette(&palette) != SM_RESULT_OK)
        throw Failure{FailureCode::SourceError, "the source doesn't tell the colours of its palette."};
    std::vector<shared::BmpColor> colors;
    for (int i = 0; i < 1 << bits; ++i) {
        const SmPaletteEntry& entry = palette.Entries[i];
        colors.push_back({entry.Channel3, entry.Channel2, entry.Channel1, 0});
    }
    return colors;
}

bool zeroIsWhite(const ModuleLibrary& module) {
    unsigned short flavor = SM_FLAVOR_CHOCOLATE;
    return module.smGetPixelFlavor(&flavor) == SM_RESULT_OK && flavor == SM_FLAVOR_VANILLA;
}

[[noreturn]] void refuse(const TXferImageInfo& info) {
    throw Failure{
        FailureCode::CannotWrite,
        format("pages of type %s with %d bits per pixel%s%s can't be written as BMP files. Choose another "
               "%smode.",
               nameOf(pixelTypes, info.PixelTypeFlag).c_str(), info.BitsPerPixel,
               info.Planar ? ", in planes" : "", info.Compression ? ", compressed" : "", wording.option)};
}

}  // namespace

PageImage planImage(const ModuleLibrary& module, const TXferImageInfo& info) {
    const int bits = info.BitsPerPixel;
    const bool gray = info.PixelTypeFlag == SM_PIXEL_GRAY;
    if (info.Compression != 0 || info.ImageWidth < 1) refuse(info);

    PageImage image;
    image.format.width = info.ImageWidth;
    const DotsPerInch dots = resolutionOf(module, info);
    image.format.xDotsPerInch = dots.x;
    image.format.yDotsPerInch = dots.y;
    image.format.bits = bits;
    image.layout = PixelLayout::Packed;
    if (info.PixelTypeFlag == SM_PIXEL_RGB && (bits == 24 || bits == 48)) {
        image.format.bits = 24;
        if (info.Planar)
            image.layout = bits == 48 ? PixelLayout::Planar48 : PixelLayout::Planar24;
        else if (bits == 48)
            image.layout = PixelLayout::Color48;
    } else if (info.PixelTypeFlag == SM_PIXEL_PALETTE && (bits == 4 || bits == 8)) {
        image.format.palette = sourcePalette(module, bits);
    } else if ((info.PixelTypeFlag == SM_PIXEL_BW && bits == 1) || (gray && (bits == 4 || bits == 8))) {
        image.format.palette = shared::grayPalette(bits, zeroIsWhite(module));
    } else if (gray && bits == 16) {
        image.format.bits = 8;
        image.format.palette = shared::grayPalette(8, zeroIsWhite(module));
        image.layout = PixelLayout::Gray16;
    } else {
        refuse(info);
    }
    return image;
}

DotsPerInch resolutionOf(const ModuleLibrary& module, const TXferImageInfo& info) {
    unsigned short unit = SM_UNIT_INCHES;
    module.smGetUnit(&unit);
    // With other units than inches the record's numbers aren't dots per inch.
    if (unit == SM_UNIT_INCHES)
        return {std::max<int>(info.XResolution, 0), std::max<int>(info.YResolution, 0)};
    unsigned short x = 0;
    unsigned short y = 0;
    unsigned short lowest = 0;
    unsigned short highest = 0;
    if (module.smGetXResolution(&x, &lowest, &highest) != SM_RESULT_OK) x = 0;
    if (module.smGetYResolution(&y, &lowest, &highest) != SM_RESULT_OK) y = 0;
    return {x, y};
}

}  // namespace host
