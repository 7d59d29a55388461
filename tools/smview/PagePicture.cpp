#include "smview/PagePicture.h"

#include <algorithm>
#include <utility>

#include "bmp/BmpHeader.h"

namespace smview {

namespace {

constexpr uint32_t notCome = 0x00E0E0E0;
constexpr int laneCount = 3;
constexpr unsigned allLanes = 7;

int dividedUp(int value, int divisor) {
    return (value + divisor - 1) / divisor;
}

bool isPlanar(host::PixelLayout layout) {
    return layout == host::PixelLayout::Planar24 || layout == host::PixelLayout::Planar48;
}

}  // namespace

std::vector<uint32_t> colorsOf(const std::vector<shared::BmpColor>& palette) {
    std::vector<uint32_t> colors;
    for (const shared::BmpColor& color : palette)
        colors.push_back(color.blue | color.green << 8 | color.red << 16);
    return colors;
}

void PagePicture::begin(int width, int height, int bits, std::vector<uint32_t> palette,
                        host::PixelLayout layout) {
    pageWidth_ = std::max(width, 1);
    bits_ = bits;
    layout_ = layout;
    knowsHeight_ = height >= 0;
    palette_ = std::move(palette);
    factor_ = std::max(dividedUp(pageWidth_, largestWidth), dividedUp(std::max(height, 1), largestHeight));
    width_ = dividedUp(pageWidth_, factor_);
    height_ = 0;
    lanes_.clear();
    pixels_.clear();
    row_.assign(shared::bmpRowBytes(pageWidth_, bits), 0);
    growTo(dividedUp(std::max(height, 0), factor_));
}

void PagePicture::begin(const host::PageImage& image, int height) {
    begin(image.format.width, height, image.format.bits, colorsOf(image.format.palette), image.layout);
}

void PagePicture::growTo(int height) {
    if (height <= height_) return;
    height_ = height;
    const size_t pixels = static_cast<size_t>(width_) * height_;
    lanes_.resize(pixels * laneCount);
    pixels_.resize(pixels, notCome);
}

void PagePicture::add(const host::Strip& strip, int plane) {
    // Windows' order of the bytes of a pixel is blue, green, red; planes come as red, green, blue.
    const int lane = laneCount - 1 - plane;
    const unsigned lanes = isPlanar(layout_) ? 1u << lane : allLanes;
    for (uint32_t i = 0; i < strip.rows; ++i) {
        host::placePixels(row_.data(), bits_, strip.xOffset,
                          strip.data + static_cast<size_t>(i) * strip.bytesPerRow, strip.columns, layout_,
                          lane);
        const int y = static_cast<int>(strip.yOffset + i);
        collect(row_.data(), y, static_cast<int>(strip.xOffset), static_cast<int>(strip.columns),
                static_cast<int>(lanes));
    }
}

void PagePicture::addFileRow(const uint8_t* row, int y) {
    collect(row, y, 0, pageWidth_, static_cast<int>(allLanes));
}

void PagePicture::finish() {
    lanes_ = {};
    row_ = {};
}

// `lanes` has a bit for each colour that counts.
void PagePicture::collect(const uint8_t* row, int y, int left, int columns, int lanes) {
    const int target = y / factor_;
    if (!knowsHeight_ && target < 10 * largestHeight) growTo(target + 1);
    if (target >= height_) return;
    Lane* const sums = lanes_.data() + static_cast<size_t>(target) * width_ * laneCount;
    for (int x = left; x < std::min(left + columns, pageWidth_); ++x) {
        uint32_t colour;
        if (bits_ == 24) {
            colour = row[3 * x] | row[3 * x + 1] << 8 | row[3 * x + 2] << 16;
        } else {
            const int perByte = 8 / bits_;
            const unsigned index = row[x / perByte] >> (8 - bits_ * (x % perByte + 1)) & ((1u << bits_) - 1);
            colour = index < palette_.size() ? palette_[index] : 0;
        }
        Lane* const sum = sums + x / factor_ * laneCount;
        for (int lane = 0; lane < laneCount; ++lane) {
            if ((lanes >> lane & 1) == 0) continue;
            sum[lane].sum += colour >> 8 * lane & 0xFF;
            ++sum[lane].count;
        }
    }
    showRow(target);
}

void PagePicture::showRow(int y) {
    const size_t first = static_cast<size_t>(y) * width_;
    for (size_t i = first; i < first + width_; ++i) {
        const Lane* const lane = &lanes_[i * laneCount];
        if (lane[0].count + lane[1].count + lane[2].count == 0) continue;
        pixels_[i] = lane[0].mean() | lane[1].mean() << 8 | lane[2].mean() << 16;
    }
}

void PagePicture::draw(HDC context, const RECT& at) const {
    BITMAPINFO info = {};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width_;
    info.bmiHeader.biHeight = -height_;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    SetStretchBltMode(context, HALFTONE);
    SetBrushOrgEx(context, 0, 0, nullptr);
    StretchDIBits(context, at.left, at.top, at.right - at.left, at.bottom - at.top, 0, 0, width_, height_,
                  pixels_.data(), &info, DIB_RGB_COLORS, SRCCOPY);
}

}  // namespace smview
