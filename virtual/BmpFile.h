// Windows bitmaps: reading the user's own page, and the headers of those that the scanner delivers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "PageContent.h"

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

// The user's page: pixel for pixel at its own resolution, the nearest pixel at others.
class BmpPage final : public PageContent {
public:
    explicit BmpPage(const std::string& path);
    double width() const override { return file_.width() / file_.xResolution(); }
    double height() const override { return file_.height() / file_.yResolution(); }
    std::unique_ptr<RowPainter> painter(const Grid& grid) const override;

private:
    BmpFile file_;
};

// BITMAPINFOHEADER and colour table of a bitmap whose rows run upward. `kind` is one that a DIB can hold.
std::vector<std::uint8_t> dibHeader(PixelKind kind, int width, int height, double xResolution,
                                    double yResolution, const std::vector<Color>& palette);
// The file header that stands before it in a BMP file.
std::vector<std::uint8_t> bmpFileHeader(std::size_t dibHeaderBytes, std::size_t pixelBytes);

}  // namespace vscan
