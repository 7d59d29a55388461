#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/BmpFacts.h"
#include "common/BmpRowFile.h"

namespace host {

// How the pixels of a strip lie, and so what has to be done to them for a BMP file.
enum class PixelLayout {
    Packed,    // 1, 4, 8 or 24 bits as the file wants them
    Gray16,    // little-endian; the high byte is kept
    Color48,   // blue, green, red, little-endian; the high bytes are kept
    Planar24,  // red plane, green plane, blue plane
    Planar48,  // the same with big-endian samples; the high bytes are kept
};

// A strip as it was delivered; nothing in it is believed without a check.
struct Strip {
    const uint8_t* data;
    size_t bytes;
    uint32_t bytesPerRow;
    uint32_t columns;
    uint32_t rows;
    uint32_t xOffset;
    uint32_t yOffset;
};

// Bits that one pixel takes in a strip's row (of the plane, for planar data).
int stripBitsPerPixel(PixelLayout layout, int fileBits);

// Puts `columns` pixels of a strip's row into a row of the file, from pixel `xOffset` on. `lane` is the byte
// of the pixel that the plane goes to (planar layouts only).
void placePixels(uint8_t* fileRow, int fileBits, uint32_t xOffset, const uint8_t* stripRow, uint32_t columns,
                 PixelLayout layout, int lane);

// What remains of a strip when only rows and columns count that are really in its bytes and in the picture's
// width. Rows and columns may become 0.
Strip trimmed(const Strip& strip, int bitsPerPixel, int pictureWidth);

// Writes the strips of one page to a BMP file as they come.
class StripWriter {
public:
    // height below 0: not known. Throws Failure.
    StripWriter(const std::string& path, const BmpFormat& format, int height, PixelLayout layout);

    void add(const Strip& strip);

    // What of a strip add() takes.
    Strip usable(const Strip& strip) const;

    // Rows written so far; of planar data, those of the present plane.
    int rows() const { return rowsSeen_; }
    int announcedHeight() const { return announcedHeight_; }
    // 1, or 3 for planar data, which comes once for each colour.
    int planes() const;
    int plane() const { return plane_ < 0 ? 0 : plane_; }
    // All announced rows of all planes have come.
    bool complete() const;

    // Cuts the picture to the rows that came, completes the file and closes it.
    BmpFacts finish();

private:
    void makeRoom(const Strip& strip);
    void addRows(const Strip& strip, int firstRow, int count);

    BmpRowFile file_;
    PixelLayout layout_;
    int announcedHeight_;
    int rowsSeen_ = 0;
    int fullHeight_ = 0;
    int plane_ = -1;
    std::vector<uint8_t> block_;
};

}  // namespace host
