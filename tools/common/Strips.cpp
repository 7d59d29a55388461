#include "common/Strips.h"

#include <algorithm>
#include <cstring>

#include "common/Failure.h"

namespace host {

namespace {

constexpr int planeCount = 3;

bool isPlanar(PixelLayout layout) {
    return layout == PixelLayout::Planar24 || layout == PixelLayout::Planar48;
}

// Pixels of less than 8 bits: whole bytes where they fall on whole bytes, else bit by bit.
void placeBits(uint8_t* fileRow, size_t firstBit, const uint8_t* stripRow, size_t bitCount) {
    size_t bit = 0;
    if (firstBit % 8 == 0) {
        std::memcpy(fileRow + firstBit / 8, stripRow, bitCount / 8);
        bit = bitCount / 8 * 8;
    }
    for (; bit < bitCount; ++bit) {
        const size_t to = firstBit + bit;
        const uint8_t mask = static_cast<uint8_t>(0x80 >> to % 8);
        if (stripRow[bit / 8] >> (7 - bit % 8) & 1)
            fileRow[to / 8] |= mask;
        else
            fileRow[to / 8] &= static_cast<uint8_t>(~mask);
    }
}

}  // namespace

int stripBitsPerPixel(PixelLayout layout, int fileBits) {
    switch (layout) {
        case PixelLayout::Gray16:
        case PixelLayout::Planar48:
            return 16;
        case PixelLayout::Color48:
            return 48;
        case PixelLayout::Planar24:
            return 8;
        case PixelLayout::Packed:
            break;
    }
    return fileBits;
}

void placePixels(uint8_t* fileRow, int fileBits, uint32_t xOffset, const uint8_t* stripRow, uint32_t columns,
                 PixelLayout layout, int lane) {
    switch (layout) {
        case PixelLayout::Packed:
            placeBits(fileRow, static_cast<size_t>(xOffset) * fileBits, stripRow,
                      static_cast<size_t>(columns) * fileBits);
            break;
        case PixelLayout::Gray16:
            for (uint32_t i = 0; i < columns; ++i)
                fileRow[xOffset + i] = stripRow[2 * i + 1];
            break;
        case PixelLayout::Color48:
            for (uint32_t i = 0; i < 3 * columns; ++i)
                fileRow[3 * xOffset + i] = stripRow[2 * i + 1];
            break;
        case PixelLayout::Planar24:
            for (uint32_t i = 0; i < columns; ++i)
                fileRow[3 * (xOffset + i) + lane] = stripRow[i];
            break;
        case PixelLayout::Planar48:
            for (uint32_t i = 0; i < columns; ++i)
                fileRow[3 * (xOffset + i) + lane] = stripRow[2 * i];
            break;
    }
}

Strip trimmed(const Strip& strip, int bitsPerPixel, int pictureWidth) {
    Strip result = strip;
    const uint32_t width = static_cast<uint32_t>(pictureWidth);
    const uint64_t inRow = static_cast<uint64_t>(strip.bytesPerRow) * 8 / bitsPerPixel;
    const uint32_t room = strip.xOffset < width ? width - strip.xOffset : 0;
    result.columns = static_cast<uint32_t>(std::min<uint64_t>({strip.columns, inRow, room}));
    const uint64_t used = (static_cast<uint64_t>(result.columns) * bitsPerPixel + 7) / 8;
    uint64_t rows = 0;
    // The last row's padding may be missing.
    if (used > 0 && strip.bytes >= used) rows = (strip.bytes - used) / strip.bytesPerRow + 1;
    result.rows = static_cast<uint32_t>(std::min<uint64_t>(strip.rows, rows));
    return result;
}

StripWriter::StripWriter(const std::string& path, const BmpFormat& format, int height, PixelLayout layout)
    : file_(path, format, height), layout_(layout), announcedHeight_(height) {}

int StripWriter::planes() const {
    return isPlanar(layout_) ? planeCount : 1;
}

bool StripWriter::complete() const {
    return rowsSeen_ > 0 && rowsSeen_ >= announcedHeight_ && plane() == planes() - 1;
}

Strip StripWriter::usable(const Strip& strip) const {
    return trimmed(strip, stripBitsPerPixel(layout_, file_.format().bits), file_.format().width);
}

void StripWriter::add(const Strip& delivered) {
    const Strip strip = usable(delivered);
    if (strip.rows == 0) return;
    const bool planeStarts = isPlanar(layout_) && strip.xOffset == 0 && strip.yOffset == 0;
    if (planeStarts) {
        plane_ = (plane_ + 1) % planeCount;
        rowsSeen_ = 0;
    }
    makeRoom(strip);
    constexpr int64_t blockBytes = 1 << 18;
    const int rowsAtOnce = static_cast<int>(std::max<int64_t>(1, blockBytes / file_.rowBytes()));
    const int rows = static_cast<int>(strip.rows);
    for (int row = 0; row < rows; row += rowsAtOnce)
        addRows(strip, row, std::min(rowsAtOnce, rows - row));
    rowsSeen_ = std::max(rowsSeen_, static_cast<int>(strip.yOffset) + rows);
    fullHeight_ = std::max(fullHeight_, rowsSeen_);
}

void StripWriter::makeRoom(const Strip& strip) {
    const uint64_t end = static_cast<uint64_t>(strip.yOffset) + strip.rows;
    if (end <= static_cast<uint64_t>(file_.height())) return;
    // A picture may be longer than announced, but only without a gap: else the numbers are wrong.
    if (strip.yOffset > static_cast<uint64_t>(std::max(rowsSeen_, file_.height())))
        throw Failure{FailureCode::SourceError, "the source delivered rows far outside the page."};
    file_.setHeight(static_cast<int>(end));
}

void StripWriter::addRows(const Strip& strip, int firstRow, int count) {
    const size_t rowBytes = static_cast<size_t>(file_.rowBytes());
    const int fileRow = static_cast<int>(strip.yOffset) + firstRow;
    block_.assign(rowBytes * count, 0);
    const bool wholeRows = !isPlanar(layout_) && strip.columns == static_cast<uint32_t>(file_.format().width);
    if (!wholeRows) file_.readRows(fileRow, count, block_.data());
    const int lane = planeCount - 1 - plane();
    for (int i = 0; i < count; ++i) {
        uint8_t* const target = block_.data() + rowBytes * file_.placeInBlock(i, count);
        const uint8_t* const source = strip.data + static_cast<size_t>(strip.bytesPerRow) * (firstRow + i);
        placePixels(target, file_.format().bits, strip.xOffset, source, strip.columns, layout_, lane);
    }
    file_.writeRows(fileRow, count, block_.data());
}

BmpFacts StripWriter::finish() {
    if (fullHeight_ != file_.height()) file_.setHeight(fullHeight_);
    file_.finish();
    return {file_.format().width, fullHeight_, file_.format().bits};
}

}  // namespace host
