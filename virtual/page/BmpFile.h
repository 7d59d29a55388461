// Windows bitmaps that are read.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "page/Picture.h"

namespace vscan {

// An uncompressed BMP file of 1, 4, 8 or 24 bits a pixel. Pixels stay as they are in the file until asked
// for.
class BmpFile {
public:
    // Throws std::runtime_error with a text that says what is wrong with the file.
    explicit BmpFile(const std::string& path);

    int width() const { return width_; }
    int height() const { return height_; }
    double xResolution() const { return xResolution_; }  // pixels per inch, 100 if the file names none
    double yResolution() const { return yResolution_; }
    Color colorAt(int x, int y) const;

private:
    int width_ = 0;
    int height_ = 0;
    int bits_ = 0;
    bool topDown_ = false;
    std::size_t stride_ = 0;
    double xResolution_ = 100;
    double yResolution_ = 100;
    std::vector<Color> palette_;
    std::vector<std::uint8_t> rows_;
};

}  // namespace vscan
