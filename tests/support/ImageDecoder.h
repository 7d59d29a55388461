// An image file as a decoder reads it that isn't this project's own.
#pragma once

#include <cstdint>
#include <vector>

struct DecodedImage {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> rgb;  // rows top-down, 3 bytes a pixel; empty when the file can't be read
};

DecodedImage decodeImage(const std::vector<uint8_t>& file);
