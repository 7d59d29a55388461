#include "transfer/ImageSizes.h"

#include "TScanModule.h"

int32_t bytesPerRow(const TW_IMAGEINFO& info) {
    const uint32_t bits = static_cast<uint32_t>(info.ImageWidth) * info.BitsPerPixel + 7;
    return ((static_cast<int32_t>(bits) >> 3) + 3) & ~3;
}

int32_t TScanModule::ImageBytesPerRow(const TW_IMAGEINFO* info) {
    const MethodTrace trace{"TScanModule::ImageBytesPerRow"};
    return bytesPerRow(*info);
}

int32_t TScanModule::ImageDataSize(const TW_IMAGEINFO* info) {
    const MethodTrace trace{"TScanModule::ImageDataSize"};
    return static_cast<int32_t>(static_cast<uint32_t>(ImageBytesPerRow(info)) * info->ImageLength);
}

int32_t TScanModule::PaletteSize(int32_t bitsPerPixel) {
    const MethodTrace trace{"TScanModule::PaletteSize"};
    if (bitsPerPixel <= 1) return 2;
    if (bitsPerPixel <= 4) return 16;
    return bitsPerPixel <= 8 ? 256 : 0;
}
