#include "page/BmpFile.h"

#include <windows.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include "bmp/BmpHeader.h"

namespace vscan {

namespace {

constexpr double inchesPerMeter = 1 / 0.0254;

void readExactly(std::FILE* file, void* target, std::size_t bytes) {
    if (std::fread(target, 1, bytes, file) != bytes) throw std::runtime_error("the file ends too early");
}

// 0 for a file of 2 GiB or more, whose pixels no process of 32 bits can hold.
std::uint64_t fileSize(std::FILE* file) {
    if (std::fseek(file, 0, SEEK_END) != 0) return 0;
    const long size = std::ftell(file);
    return size > 0 ? static_cast<std::uint64_t>(size) : 0;
}

double resolutionOf(LONG pixelsPerMeter) {
    // The file holds whole pixels per metre: 300 per inch stand there as 11811, so the inch value is rounded.
    return pixelsPerMeter > 0 ? std::max(1.0, std::round(pixelsPerMeter / inchesPerMeter)) : 100;
}

}  // namespace

BmpFile::BmpFile(const std::string& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (!file) throw std::runtime_error("the file can't be opened");
    BITMAPFILEHEADER fileHeader{};
    BITMAPINFOHEADER header{};
    readExactly(file.get(), &fileHeader, sizeof fileHeader);
    readExactly(file.get(), &header, sizeof header);
    if (fileHeader.bfType != shared::bmpSignature || header.biSize < sizeof header)
        throw std::runtime_error("it is no Windows BMP file");
    bits_ = header.biBitCount;
    if (header.biCompression != BI_RGB || (bits_ != 1 && bits_ != 4 && bits_ != 8 && bits_ != 24))
        throw std::runtime_error("only uncompressed BMP files of 1, 4, 8 or 24 bits are understood");
    constexpr LONG largest = 100000;
    if (header.biWidth <= 0 || header.biHeight == 0 || header.biWidth > largest ||
        header.biHeight > largest || header.biHeight < -largest)
        throw std::runtime_error("its size makes no sense");
    width_ = header.biWidth;
    height_ = std::abs(static_cast<int>(header.biHeight));
    topDown_ = header.biHeight < 0;
    xResolution_ = resolutionOf(header.biXPelsPerMeter);
    yResolution_ = resolutionOf(header.biYPelsPerMeter);
    if (bits_ <= 8) {
        const DWORD most = 1u << bits_;
        const DWORD count = header.biClrUsed == 0 ? most : std::min(header.biClrUsed, most);
        std::vector<RGBQUAD> quads(count);
        std::fseek(file.get(), static_cast<long>(sizeof fileHeader + header.biSize), SEEK_SET);
        readExactly(file.get(), quads.data(), count * sizeof(RGBQUAD));
        for (const RGBQUAD& quad : quads)
            palette_.push_back({quad.rgbRed, quad.rgbGreen, quad.rgbBlue});
        palette_.resize(most);  // indices beyond the table are black
    }
    stride_ = static_cast<std::size_t>(shared::bmpRowBytes(width_, bits_));
    // Checked before the memory is taken: a damaged header may tell of more than there can be.
    const std::uint64_t bytes = static_cast<std::uint64_t>(stride_) * static_cast<std::uint64_t>(height_);
    if (fileHeader.bfOffBits + bytes > fileSize(file.get()))
        throw std::runtime_error("the file ends too early");
    rows_.resize(static_cast<std::size_t>(bytes));
    std::fseek(file.get(), static_cast<long>(fileHeader.bfOffBits), SEEK_SET);
    readExactly(file.get(), rows_.data(), rows_.size());
}

Color BmpFile::colorAt(int x, int y) const {
    const int line = topDown_ ? y : height_ - 1 - y;
    const std::uint8_t* row = rows_.data() + stride_ * static_cast<std::size_t>(line);
    switch (bits_) {
        case 1:
            return palette_[(row[x / 8] >> (7 - x % 8)) & 1];
        case 4:
            return palette_[(row[x / 2] >> (x % 2 ? 0 : 4)) & 15];
        case 8:
            return palette_[row[x]];
        default:
            return {row[x * 3 + 2], row[x * 3 + 1], row[x * 3]};
    }
}

}  // namespace vscan
