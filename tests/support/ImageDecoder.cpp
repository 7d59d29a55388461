#include "ImageDecoder.h"

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_BMP
#define STBI_NO_STDIO
#include <stb_image.h>

DecodedImage decodeImage(const std::vector<uint8_t>& file) {
    DecodedImage image;
    int channels = 0;
    stbi_uc* const pixels = stbi_load_from_memory(file.data(), static_cast<int>(file.size()), &image.width,
                                                  &image.height, &channels, STBI_rgb);
    if (pixels == nullptr) return {};
    image.rgb.assign(pixels, pixels + static_cast<size_t>(image.width) * image.height * 3);
    stbi_image_free(pixels);
    return image;
}
