#include "transfer/MemoryTransfer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vscan {

MemoryTransfer::MemoryTransfer(const ScanParameters& parameters, const VirtualScannerSettings& settings,
                               const PageContent& content, int pageNumber)
    : parameters_(parameters),
      settings_(settings),
      renderer_(parameters.request(pageNumber), content),
      row_(renderer_.rowBytes()),
      planes_(parameters.planar() ? samplesPerPixel(renderer_.kind()) : 1),
      sampleBytes_(bitsPerPixel(renderer_.kind()) / samplesPerPixel(renderer_.kind()) / 8) {}

int MemoryTransfer::stripColumns() const {
    const int left = renderer_.width() - x_;
    if (settings_.stripColumns == 0) return left;
    // Strips start at whole bytes, also of 1-bit pixels.
    return std::min(left, (settings_.stripColumns + 7) / 8 * 8);
}

// The part of row `y` that belongs to the strip and plane, as the host gets it.
void MemoryTransfer::copyRow(int y, int columns, std::uint8_t* target) {
    renderer_.render(y, row_.data());
    const PixelKind kind = renderer_.kind();
    const std::uint8_t* source = row_.data() + packedRowBytes(kind, x_);
    const std::size_t bytes = packedRowBytes(kind, columns);
    if (planes_ == 1) {
        std::memcpy(target, source, bytes);
    } else {
        const auto sample = static_cast<std::size_t>(sampleBytes_);
        for (std::size_t x = 0; x < static_cast<std::size_t>(columns); ++x)
            std::memcpy(target + x * sample, source + (x * 3 + static_cast<std::size_t>(plane_)) * sample,
                        sample);
    }
    if (sampleBytes_ == 2 && settings_.lowByteFirst)
        for (std::size_t i = 0; i + 1 < bytes / static_cast<std::size_t>(planes_); i += 2)
            std::swap(target[i], target[i + 1]);
}

void MemoryTransfer::advance(int columns, int rows) {
    ++strips_;
    x_ += columns;
    if (x_ < renderer_.width()) return;
    x_ = 0;
    y_ += rows;
    bandRows_ = 0;
    if (y_ < renderer_.height()) return;
    y_ = 0;
    ++plane_;
}

Outcome MemoryTransfer::nextStrip(std::uint8_t* buffer, std::size_t length, TW_IMAGEMEMXFER& description) {
    const int columns = stripColumns();
    const std::size_t rowBytes = parameters_.stripRowBytes(columns);
    const auto fitting = static_cast<int>(std::min<std::size_t>(length / rowBytes, 1u << 30));
    if (bandRows_ == 0) {
        bandRows_ = std::min(fitting, renderer_.height() - y_);
        if (settings_.stripRows > 0) bandRows_ = std::min(bandRows_, settings_.stripRows);
    }
    const int rows = bandRows_;
    if (rows == 0 || rows > fitting) return failure(TWCC_BADVALUE);
    std::memset(buffer, 0, rowBytes * static_cast<std::size_t>(rows));
    for (int i = 0; i < rows; ++i)
        copyRow(y_ + i, columns, buffer + rowBytes * static_cast<std::size_t>(i));

    description.Compression = TWCP_NONE;
    description.BytesPerRow = static_cast<TW_UINT32>(rowBytes);
    description.Columns = static_cast<TW_UINT32>(columns);
    description.Rows = static_cast<TW_UINT32>(rows);
    description.XOffset = static_cast<TW_UINT32>(x_);
    description.YOffset = static_cast<TW_UINT32>(y_);
    description.BytesWritten = static_cast<TW_UINT32>(rowBytes * static_cast<std::size_t>(rows));
    advance(columns, rows);
    lie(description, length);
    return finished() ? returning(TWRC_XFERDONE) : success();
}

// What the settings want told instead of the truth.
void MemoryTransfer::lie(TW_IMAGEMEMXFER& description, std::size_t length) const {
    const unsigned faults = settings_.stripFaults;
    const TW_UINT32 rowBytes = description.BytesPerRow;
    if (faults & StripShortLast && finished()) description.BytesWritten = description.Rows / 2 * rowBytes;
    if (faults & StripExtraRows) description.Rows = static_cast<TW_UINT32>(length / rowBytes + 100);
    if (faults & StripExtraBytes) description.BytesWritten = static_cast<TW_UINT32>(length + 100 * rowBytes);
    if (faults & StripOversized) {
        description.Rows = static_cast<TW_UINT32>(length / rowBytes + 100);
        description.BytesWritten = description.Rows * rowBytes;
    }
    if (faults & StripWideColumns) description.Columns += 100000;
    if (faults & StripZeroBytesPerRow) description.BytesPerRow = 0;
}

}  // namespace vscan
