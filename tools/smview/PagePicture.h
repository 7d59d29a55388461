#pragma once

#include <windows.h>

#include <cstdint>
#include <vector>

#include "common/PageImage.h"
#include "common/Strips.h"

namespace smview {

// A page as far as it has come, made small enough for a window: each of its pixels is the mean of a square of
// the page's. Takes strips as the source delivers them, in any order, so that tiles and planes work as well.
class PagePicture {
public:
    // Pixels at most in each direction.
    static constexpr int largestWidth = 900;
    static constexpr int largestHeight = 1200;

    // height below 0: not known; the picture then grows as rows come.
    void begin(const host::PageImage& image, int height);
    void begin(int width, int height, int bits, std::vector<uint32_t> palette, host::PixelLayout layout);
    // Must be cut to the page's width; plane: that the strip belongs to, for planar layouts.
    void add(const host::Strip& strip, int plane);
    // One row as a BMP file has it.
    void addFileRow(const uint8_t* row, int y);

    // No more rows will come: gives back what only they need.
    void finish();

    int width() const { return width_; }
    int height() const { return height_; }
    // Bottom row last; 4 bytes a pixel: blue, green, red, none. What has not come is light gray.
    const std::vector<uint32_t>& pixels() const { return pixels_; }
    void draw(HDC context, const RECT& at) const;
    bool empty() const { return pixels_.empty(); }
    // How many pixels of the page a pixel's side stands for.
    int factor() const { return factor_; }

private:
    struct Lane {
        uint32_t sum = 0;
        uint32_t count = 0;
        uint8_t mean() const { return count == 0 ? 0 : static_cast<uint8_t>(sum / count); }
    };

    void growTo(int height);
    void collect(const uint8_t* row, int y, int left, int columns, int lanes);
    void showRow(int y);

    int pageWidth_ = 0;
    int bits_ = 0;
    host::PixelLayout layout_ = host::PixelLayout::Packed;
    bool knowsHeight_ = false;
    std::vector<uint32_t> palette_;
    int factor_ = 1;
    int width_ = 0;
    int height_ = 0;
    std::vector<Lane> lanes_;
    std::vector<uint32_t> pixels_;
    std::vector<uint8_t> row_;
};

// As a picture's pixels are.
std::vector<uint32_t> colorsOf(const std::vector<shared::BmpColor>& palette);

}  // namespace smview
