// The writer of BMP files by itself: what no scan asks of it, and what it leaves to its caller.
#include <TScanModule.h>
#include <doctest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "BmpHeader.h"
#include "WindowsFiles.h"

namespace {

using Bytes = std::vector<uint8_t>;

TW_IMAGEINFO imageOf(TW_INT16 pixelType, TW_INT16 bits, TW_INT32 width, TW_INT32 length) {
    TW_IMAGEINFO info = {};
    info.ImageWidth = width;
    info.ImageLength = length;
    info.SamplesPerPixel = pixelType == TWPT_RGB ? 3 : 1;
    std::fill_n(info.BitsPerSample, info.SamplesPerPixel, static_cast<TW_INT16>(bits / info.SamplesPerPixel));
    info.BitsPerPixel = bits;
    info.PixelType = pixelType;
    return info;
}

// A new file, open for reading and writing as the writer's caller opens it.
struct OutputFile {
    SavedFile file{temporaryPath()};
    HFILE handle = _lcreat(file.path().c_str(), 0);

    ~OutputFile() { _lclose(handle); }

    Bytes content() const {
        const std::string text = file.content();
        return {text.begin(), text.end()};
    }

    static std::string temporaryPath() {
        char folder[MAX_PATH] = "";
        GetTempPathA(sizeof folder, folder);
        return std::string(folder) + "dib-writer.bmp";
    }
};

}  // namespace

TEST_CASE("sizes") {
    struct Row {
        TW_INT32 width, length;
        TW_INT16 bits;
        int row, image, colors;
    };
    const Row rows[] = {
        {1, 3, 1, 4, 12, 2},
        {32, 3, 1, 4, 12, 2},
        {33, 3, 1, 8, 24, 2},
        {3, 2, 24, 12, 24, 0},
        {3, 2, 4, 4, 8, 16},
        {9, 2, 4, 8, 16, 16},
        {3, 2, 2, 4, 8, 16},
        {5, 2, 8, 8, 16, 256},
        {5, 2, 5, 4, 8, 256},
        {5, 2, 16, 12, 24, 0},
        {5, 2, 48, 32, 64, 0},
        {5, 2, 9, 8, 16, 0},
        {5, 2, 0, 0, 0, 2},
        {5, 2, -1, 0, 0, 2},
        {0, 2, 24, 0, 0, 0},
        {5, -1, 24, 16, -16, 0},
        {100000, 200000, 1, 12500, -1794967296, 2},
    };
    for (const Row& row : rows) {
        CAPTURE(row.width);
        CAPTURE(row.bits);
        const TW_IMAGEINFO info = imageOf(TWPT_GRAY, row.bits, row.width, row.length);
        CHECK(TScanModule::ImageBytesPerRow(&info) == row.row);
        CHECK(TScanModule::ImageDataSize(&info) == row.image);
        CHECK(TScanModule::PaletteSize(row.bits) == row.colors);
    }
}

// What a one-shot scan refuses the writer itself takes.
TEST_CASE("headers of images that no scan writes") {
    struct Row {
        TW_INT16 pixelType, bits;
        std::string header;
    };
    const Row rows[] = {
        {TWPT_GRAY, 4, "BM size 130 pixels at 118, 5x3, 4 bits, 16 colours"},
        {TWPT_GRAY, 2, "BM size 130 pixels at 118, 5x3, 4 bits, 16 colours"},
        {TWPT_GRAY, 1, "BM size 74 pixels at 62, 5x3, 1 bits, 2 colours"},
        {TWPT_GRAY, 16, "BM size 90 pixels at 54, 5x3, 24 bits, 0 colours"},
        {TWPT_RGB, 48, "BM size 150 pixels at 54, 5x3, 24 bits, 0 colours"},
        {TWPT_RGB, 8, "BM size 1102 pixels at 1078, 5x3, 8 bits, 256 colours"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.header);
        const OutputFile output;
        TScanModule module(nullptr);
        const TW_IMAGEINFO info = imageOf(row.pixelType, row.bits, 5, 3);
        CHECK(module.WriteDIBHeader(output.handle, &info) == 0);
        const Bytes bytes = output.content();
        CHECK(headerText(bytes) == row.header);
        // No palette is written for them, its place stays black.
        CHECK(bytes.size() == fileField(bytes, 2, 4));
        CHECK(std::all_of(bytes.begin() + 54, bytes.end(), [](uint8_t byte) { return byte == 0; }));
    }
}

TEST_CASE("the caller of the writer finds its strip converted and its rows corrected") {
    const OutputFile output;
    TScanModule module(nullptr);
    const TW_IMAGEINFO info = imageOf(TWPT_RGB, 24, 2, 2);
    TW_IMAGEMEMXFER strip = {};
    strip.BytesPerRow = 7;
    strip.Columns = 2;
    strip.Rows = 5;
    strip.BytesWritten = 14;
    Bytes bytes = {1, 2, 3, 4, 5, 6, 'p', 7, 8, 9, 10, 11, 12, 'q'};
    CHECK(module.AppendBufferToFile(output.handle, &info, &strip, bytes.data()) == 0);
    CHECK(strip.Rows == 2);
    CHECK(bytes == Bytes{3, 2, 1, 6, 5, 4, 'p', 9, 8, 7, 12, 11, 10, 'q'});
}
