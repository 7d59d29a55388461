#pragma once

#include <cstdint>
#include <vector>

#include "pages/ByteOrder.h"

namespace pages {

enum TiffTag : std::uint16_t {
    newSubfileType = 254,
    imageWidth = 256,
    imageLength = 257,
    bitsPerSample = 258,
    compression = 259,
    photometric = 262,
    stripOffsets = 273,
    samplesPerPixel = 277,
    rowsPerStrip = 278,
    stripByteCounts = 279,
    xResolution = 282,
    yResolution = 283,
    resolutionUnit = 296,
    pageNumber = 297,
    predictor = 317,
    colorMap = 320,
};

enum TiffType : std::uint16_t { shortType = 3, longType = 4, rationalType = 5 };

// The entries of a page's directory, and behind them the values that don't fit into an entry.
class TiffDirectory {
public:
    // `offset`: where it will be in the file.
    explicit TiffDirectory(std::uint32_t offset) : offset_(offset) {}

    // By rising tags. A rational is two numbers.
    void add(TiffTag tag, TiffType type, const std::vector<std::uint32_t>& values);

    Bytes bytes() const;

    // Where in the file the place of the next directory stands; 0 at first.
    std::uint32_t linkAt() const;

private:
    struct Entry {
        TiffTag tag;
        TiffType type;
        std::uint32_t count;
        Bytes bytes;
    };
    std::uint32_t offset_;
    std::vector<Entry> entries_;
};

}  // namespace pages
