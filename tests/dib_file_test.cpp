// The files that the module writes: headers, palettes, row order and padding, read by another decoder.
#include <doctest.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "BmpHeader.h"
#include "ImageDecoder.h"
#include "OneShotStage.h"

namespace {

using Color = std::array<uint8_t, 3>;

// An arbitrary, but certain, picture: an index, and a colour, for each place.
unsigned indexAt(int x, int y, int bits) {
    return (x * 7 + y * 13 + x * y) & ((1 << bits) - 1);
}
Color colorAt(int x, int y) {
    return {static_cast<uint8_t>(x * 11 + y), static_cast<uint8_t>(y * 29 + 3),
            static_cast<uint8_t>(x ^ y ^ 0xA5)};
}
Color paletteColor(unsigned index) {
    return {static_cast<uint8_t>(index * 3 + 1), static_cast<uint8_t>(255 - index),
            static_cast<uint8_t>(index ^ 0x55)};
}

TW_PALETTE8 sourcePalette(TW_UINT16 colors) {
    TW_PALETTE8 palette = {};
    palette.NumColors = colors;
    for (TW_UINT16 i = 0; i < colors; ++i) {
        const Color color = paletteColor(i);
        palette.Colors[i] = {static_cast<TW_UINT8>(i), color[0], color[1], color[2]};
    }
    return palette;
}

// The picture's rows as a source sends them: top-down, red first.
Bytes sourceRows(const TW_IMAGEINFO& info, size_t bytesPerRow) {
    Bytes rows(bytesPerRow * info.ImageLength, 0xCC);
    for (int y = 0; y < info.ImageLength; ++y) {
        uint8_t* const row = rows.data() + y * bytesPerRow;
        if (info.BitsPerPixel < 8) std::fill_n(row, bytesPerRow, uint8_t{0});
        for (int x = 0; x < info.ImageWidth; ++x) {
            if (info.BitsPerPixel == 24) {
                const Color color = colorAt(x, y);
                std::copy(color.begin(), color.end(), row + x * 3);
            } else {
                const int bit = x * info.BitsPerPixel;
                const unsigned index = indexAt(x, y, info.BitsPerPixel);
                if (info.BitsPerPixel == 8)
                    row[x] = static_cast<uint8_t>(index);
                else
                    row[bit / 8] |= static_cast<uint8_t>(index << (8 - info.BitsPerPixel - bit % 8));
            }
        }
    }
    return rows;
}

// The same picture as colours.
Bytes expectedPixels(const TW_IMAGEINFO& info) {
    Bytes pixels;
    for (int y = 0; y < info.ImageLength; ++y) {
        for (int x = 0; x < info.ImageWidth; ++x) {
            const unsigned index = indexAt(x, y, info.BitsPerPixel < 24 ? info.BitsPerPixel : 1);
            const auto level = static_cast<uint8_t>(info.PixelType == TWPT_BW ? index * 255 : index);
            Color color = {level, level, level};
            if (info.PixelType == TWPT_RGB) color = colorAt(x, y);
            if (info.PixelType == TWPT_PALETTE) color = paletteColor(index);
            pixels.insert(pixels.end(), color.begin(), color.end());
        }
    }
    return pixels;
}

Bytes pixelsOf(const OneShotStage& stage) {
    return decodeImage(stage.fileBytes()).rgb;
}

const Lines written = {"ScanToFileGetName", "ScanToFileXferEnd 0", "ScanToFileDSClosed"};

}  // namespace

TEST_CASE("every kind of image: headers as written, pixels as another decoder reads them") {
    struct Row {
        std::string name;
        TW_INT16 pixelType, bits;
        size_t bytesPerRow;  // without padding, and as in the file
        size_t dibRow;
        std::string header;
        size_t fileSize;
    };
    const Row rows[] = {
        {"black and white", TWPT_BW, 1, 3, 4, "BM size 82 pixels at 62, 19x5, 1 bits, 2 colours", 82},
        // 256 entries are written, whatever the depth; what is too much stays behind the pixels.
        {"16 colours", TWPT_PALETTE, 4, 10, 12, "BM size 178 pixels at 118, 19x5, 4 bits, 16 colours", 1078},
        {"256 colours", TWPT_PALETTE, 8, 19, 20, "BM size 1178 pixels at 1078, 19x5, 8 bits, 256 colours",
         1178},
        {"gray", TWPT_GRAY, 8, 19, 20, "BM size 1178 pixels at 1078, 19x5, 8 bits, 256 colours", 1178},
        {"colour", TWPT_RGB, 24, 57, 60, "BM size 354 pixels at 54, 19x5, 24 bits, 0 colours", 354},
    };
    for (const Row& row : rows) {
        for (const size_t bytesPerRow : {row.bytesPerRow, row.dibRow}) {
            CAPTURE(row.name);
            CAPTURE(bytesPerRow);
            const TW_IMAGEINFO info = imageInfo(row.pixelType, row.bits, 19, 5);
            OneShotStage stage({{info, cutRows(sourceRows(info, bytesPerRow), bytesPerRow, 19, 2)}});
            stage.manager.answer(operation::palette, copy(sourcePalette(1 << std::min<int>(row.bits, 8))));
            CHECK(stage.scan() == written);
            const Bytes file = stage.fileBytes();
            CHECK(headerText(file) == row.header);
            CHECK(file.size() == row.fileSize);
            CHECK(pixelsOf(stage) == expectedPixels(info));
            CHECK(stage.viewer.warnings() == Lines{});
            CHECK(stage.windows.memoryComplaints() == Lines{});
        }
    }
}

TEST_CASE("rows byte for byte: the lowest first, blue first, padded with zeros") {
    OneShotStage stage({{imageInfo(TWPT_RGB, 24, 3, 2), cutRows(pattern(18), 9, 3, 1)}});
    CHECK(stage.scan() == written);
    const Bytes file = stage.fileBytes(), p = pattern(18);
    CHECK(Bytes(file.begin() + 54, file.end()) == Bytes{p[11], p[10], p[9], p[14], p[13], p[12], p[17], p[16],
                                                        p[15], 0,     0,    0,     p[2],  p[1],  p[0],  p[5],
                                                        p[4],  p[3],  p[8], p[7],  p[6],  0,     0,     0});
}

TEST_CASE("palette entries that the source doesn't give are white") {
    struct Row {
        std::string name;
        Answer palette;
        unsigned given;
    };
    const Row rows[] = {
        {"some", copy(sourcePalette(10)), 10},
        {"too many", fill<TW_PALETTE8>([](TW_PALETTE8& p) { p.NumColors = 300; }), 0},
        {"none", failWith(TWCC_BADPROTOCOL), 0},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        OneShotStage stage({{imageInfo(TWPT_PALETTE, 8, 4, 1), cutRows(pattern(4), 4, 4, 1)}});
        stage.manager.answer(operation::palette, row.palette);
        CHECK(stage.scan() == written);
        Bytes expected;
        for (unsigned i = 0; i < 256; ++i) {
            const Color color = i < row.given ? paletteColor(i) : Color{255, 255, 255};
            expected.insert(expected.end(), {color[2], color[1], color[0], 0});
        }
        const Bytes file = stage.fileBytes();
        CHECK(Bytes(file.begin() + 54, file.begin() + 1078) == expected);
    }
}

TEST_CASE("pixels per metre are 0 as long as the source says its unit") {
    struct Row {
        std::string name;
        Answer units;
        uint32_t x, y;
    };
    const Row rows[] = {
        {"inches", give(oneValue(TWTY_UINT16, TWUN_INCHES)), 0, 0},
        {"centimetres", give(oneValue(TWTY_UINT16, TWUN_CENTIMETERS)), 0, 0},
        {"no such capability", failWith(TWCC_BADCAP), 0, 0},
        // The one failure that counts as a success: then the unit is taken for inches, of 254 to a metre.
        {"unknown failure", failWith(TWCC_BUMMER), 300 * 254, 38163},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        TW_IMAGEINFO info = imageInfo(TWPT_GRAY, 8, 4, 1);
        info.YResolution = {150, 0x4000};  // 150.25 x 254 = 38163.5
        OneShotStage stage({{info, cutRows(pattern(4), 4, 4, 1)}});
        stage.manager.answer(operation::getCurrent(ICAP_UNITS), row.units);
        stage.manager.answer(operation::get(ICAP_UNITS), row.units);
        CHECK(stage.scan() == written);
        CHECK(fileField(stage.fileBytes(), 38, 4) == row.x);
        CHECK(fileField(stage.fileBytes(), 42, 4) == row.y);
    }
}

TEST_CASE("strips narrower than the image land at their columns") {
    const TW_IMAGEINFO info = imageInfo(TWPT_RGB, 24, 5, 4);
    const Bytes rows = sourceRows(info, 15);
    // Tiles of 3 and 2 columns, two rows each.
    std::vector<Strip> tiles;
    for (const TW_UINT32 y : {0, 2}) {
        for (const auto& [x, columns] : {std::pair<TW_UINT32, TW_UINT32>{0, 3}, {3, 2}}) {
            Strip tile{{columns * 3, columns, 2, x, y, columns * 6}, {}};
            for (const TW_UINT32 row : {y, y + 1})
                tile.bytes.insert(tile.bytes.end(), rows.begin() + row * 15 + x * 3,
                                  rows.begin() + row * 15 + (x + columns) * 3);
            tiles.push_back(tile);
        }
    }
    std::rotate(tiles.begin(), tiles.begin() + 2, tiles.end());  // the order doesn't matter
    tiles.back().returnCode = TWRC_XFERDONE;
    OneShotStage stage({{info, tiles}});
    CHECK(stage.scan() == written);
    CHECK(pixelsOf(stage) == expectedPixels(info));
}

TEST_CASE("rows longer than those of the file are written whole, over the row above") {
    OneShotStage stage(
        {{imageInfo(TWPT_GRAY, 8, 2, 2), cutRows({1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}, 6, 2, 2)}});
    CHECK(stage.scan() == written);
    const Bytes file = stage.fileBytes();
    CHECK(Bytes(file.begin() + 1078, file.end()) == Bytes{7, 8, 9, 10, 11, 12, 3, 4, 5, 6});
}

TEST_CASE("a strip's rows are counted by its bytes") {
    const TW_IMAGEINFO info = imageInfo(TWPT_RGB, 24, 4, 3);
    const Bytes rows = sourceRows(info, 12);
    for (const TW_UINT32 said : {0, 1, 9, 1000000}) {
        CAPTURE(said);
        std::vector<Strip> strips = cutRows(rows, 12, 4, 3);
        strips[0].facts.rows = said;
        OneShotStage stage({{info, strips}});
        CHECK(stage.scan() == written);
        CHECK(pixelsOf(stage) == expectedPixels(info));
    }
}

TEST_CASE("a last strip filled up beyond the image") {
    for (const bool planar : {false, true}) {
        CAPTURE(planar);
        TW_IMAGEINFO info = imageInfo(TWPT_RGB, 24, 4, 4);
        info.Planar = planar;
        std::vector<Strip> strips = cutRows(
            planar ? pattern(20) : sourceRows(imageInfo(TWPT_RGB, 24, 4, 5), 12), planar ? 4 : 12, 4, 2);
        strips[2].facts.rows = 3, strips[2].facts.bytesWritten = 3 * strips[2].facts.bytesPerRow;
        strips[2].bytes.resize(strips[2].facts.bytesWritten, 0x77);
        OneShotStage stage({{info, strips}});
        CHECK(stage.scan() == written);
        const Bytes file = stage.fileBytes();
        CHECK(headerText(file) == "BM size 102 pixels at 54, 4x4, 24 bits, 0 colours");
        CHECK(file.size() == 102);
        if (!planar) CHECK(pixelsOf(stage) == expectedPixels(info));
    }
}

TEST_CASE("the writer's methods bracket their lines") {
    const Page page = {imageInfo(TWPT_RGB, 24, 4, 4), cutRows(pattern(48), 12, 4, 2)};
    Page planar = page;
    planar.info.Planar = TRUE;
    OneShotStage stage({page});
    stage.scan();
    Lines traces = stage.viewer.traces();
    stage.source.put({planar});
    stage.scan();
    traces += stage.viewer.traces();
    for (const std::string method :
         {"CheckDiskSpace", "WriteDIBHeader", "AppendBufferToFile", "BufferToFile", "BufferToFileForPlanar",
          "ImageBytesPerRow", "ImageDataSize", "PaletteSize"}) {
        CAPTURE(method);
        const auto lines = [&](const std::string& text) {
            return std::count(traces.begin(), traces.end(), text + " TScanModule::" + method);
        };
        CHECK(lines("Coming") > 0);
        CHECK(lines("Coming") == lines("Leaving"));
    }
    CHECK(traces.with("Reverse R,B data") == 2 * Lines{"Reverse R,B data in TScanModule::BufferToFile"});
}

namespace {

// One colour after the other, each from the top; a strip has so many rows.
std::vector<Strip> planes(const TW_IMAGEINFO& info, TW_UINT32 rowsPerStrip) {
    const Bytes rows = sourceRows(info, info.ImageWidth * 3);
    std::vector<Strip> strips;
    for (size_t plane = 0; plane < 3; ++plane) {
        Bytes bytes;
        for (size_t i = plane; i < rows.size(); i += 3)
            bytes.push_back(rows[i]);
        for (Strip& strip : cutRows(bytes, info.ImageWidth, info.ImageWidth, rowsPerStrip)) {
            strip.returnCode = TWRC_SUCCESS;
            strips.push_back(std::move(strip));
        }
    }
    strips.back().returnCode = TWRC_XFERDONE;
    return strips;
}

Page planarPage(TW_INT32 width, TW_INT32 length, TW_UINT32 rowsPerStrip) {
    Page page{imageInfo(TWPT_RGB, 24, width, length), {}};
    page.info.Planar = TRUE;
    page.strips = planes(page.info, rowsPerStrip);
    return page;
}

std::string pass(int number) {
    return "Pass = " + std::to_string(number) + " in TScanModule::BufferToFileForPlanar";
}

}  // namespace

TEST_CASE("planes are merged into pixels") {
    struct Row {
        std::string name;
        TW_INT32 width, length;
        TW_UINT32 rowsPerStrip;
    };
    const Row rows[] = {
        {"strips of two rows", 5, 5, 2},
        {"a plane in one strip", 5, 5, 5},
        {"rows of which two fill the work buffer", 30001, 5, 5},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        const Page page = planarPage(row.width, row.length, row.rowsPerStrip);
        OneShotStage stage({page});
        stage.source.setBufferSizes(64, 200000, 200000);
        CHECK(stage.scan() == written);
        CHECK(stage.viewer.traces().with("Pass") == Lines{pass(0), pass(1), pass(2)});
        CHECK(pixelsOf(stage) == expectedPixels(page.info));
        // Never more than 256 KiB of whole rows for the work.
        const auto largest =
            *std::max_element(stage.windows.allocations.begin(), stage.windows.allocations.end());
        CHECK(largest <= 0x40000);
        CHECK(stage.viewer.warnings() == Lines{});
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("an image abandoned after its first plane shifts the colours of the next") {
    Page broken = planarPage(4, 2, 2);
    broken.strips[1] = endedBy(TWRC_CANCEL);
    OneShotStage stage({broken});
    CHECK(stage.scan() == Lines{"ScanToFileGetName", "ScanToFileXferEnd -4", "ScanToFileDSClosed"});
    CHECK(stage.viewer.traces().with("Pass") == Lines{pass(0)});

    const Page next = planarPage(4, 2, 2);
    stage.source.put({next});
    CHECK(stage.scan() == written);
    CHECK(stage.viewer.traces().with("Pass") == Lines{pass(1), pass(2), pass(0)});
    // Red is in green's place, green in blue's, blue in red's.
    Bytes shifted = expectedPixels(next.info);
    for (size_t i = 0; i < shifted.size(); i += 3)
        std::rotate(shifted.begin() + i, shifted.begin() + i + 2, shifted.begin() + i + 3);
    CHECK(pixelsOf(stage) == shifted);
}

namespace {

// A packed DIB of the picture, as a source hands it over: bottom-up, blue first, with a palette of so many
// entries, and some bytes more than it describes.
Bytes packedDib(const TW_IMAGEINFO& info, DWORD colors, size_t surplus = 0) {
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof header;
    header.biWidth = info.ImageWidth;
    header.biHeight = info.ImageLength;
    header.biPlanes = 1;
    header.biBitCount = info.BitsPerPixel;
    header.biClrUsed = colors;
    Bytes dib(reinterpret_cast<const uint8_t*>(&header), reinterpret_cast<const uint8_t*>(&header + 1));
    for (unsigned i = 0; i < colors; ++i) {
        const Color color = paletteColor(i);
        dib.insert(dib.end(), {color[2], color[1], color[0], 0});
    }
    const size_t dibRow = (info.ImageWidth * info.BitsPerPixel + 31) / 32 * 4;
    Bytes rows = sourceRows(info, dibRow);
    for (int y = info.ImageLength; y-- > 0;) {
        const auto row = rows.begin() + y * dibRow;
        for (int x = 0; info.BitsPerPixel == 24 && x < info.ImageWidth; ++x)
            std::swap(row[x * 3], row[x * 3 + 2]);
        dib.insert(dib.end(), row, row + dibRow);
    }
    dib.insert(dib.end(), surplus, 0x77);
    return dib;
}

Answer handOver(const Bytes& dib) {
    return {TWRC_XFERDONE, TWCC_SUCCESS, {}, [dib](TW_MEMREF data) {
                const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, dib.size());
                std::copy(dib.begin(), dib.end(), static_cast<uint8_t*>(GlobalLock(block)));
                GlobalUnlock(block);
                ModuleCalls::adopt(block);
                *static_cast<HGLOBAL*>(data) = block;
            }};
}

}  // namespace

TEST_CASE("a DIB from the source becomes a file") {
    struct Row {
        std::string name;
        TW_INT16 pixelType, bits;
        TW_INT32 width, length;
        DWORD colors;
        std::string header;
    };
    const Row rows[] = {
        {"colour", TWPT_RGB, 24, 19, 5, 0, "BM size 354 pixels at 54, 19x5, 24 bits, 0 colours"},
        {"256 colours", TWPT_PALETTE, 8, 19, 5, 256,
         "BM size 1178 pixels at 1078, 19x5, 8 bits, 256 colours"},
        {"16 colours", TWPT_PALETTE, 4, 19, 5, 16, "BM size 178 pixels at 118, 19x5, 4 bits, 16 colours"},
        {"in several pieces", TWPT_RGB, 24, 200, 301, 0,
         "BM size 180654 pixels at 54, 200x301, 24 bits, 0 colours"},
        {"a piece exactly", TWPT_RGB, 24, 20, 1024 - 1, 0,
         "BM size 61434 pixels at 54, 20x1023, 24 bits, 0 colours"},
    };
    for (const Row& row : rows) {
        for (const size_t surplus : {0, 5}) {
            CAPTURE(row.name);
            CAPTURE(surplus);
            const TW_IMAGEINFO info = imageInfo(row.pixelType, row.bits, row.width, row.length);
            OneShotStage stage({{info, {}}});
            stage.manager.answer(operation::nativeTransfer, handOver(packedDib(info, row.colors, surplus)));
            CHECK(stage.scan(SM_MECH_NATIVE) == written);
            const Bytes file = stage.fileBytes();
            CHECK(headerText(file) == row.header);
            CHECK(file.size() == fileField(file, 2, 4));
            CHECK(pixelsOf(stage) == expectedPixels(info));
            CHECK(stage.windows.memoryComplaints() == Lines{});
        }
    }
}

TEST_CASE("a palette that the DIB's header doesn't count is not counted in the file") {
    const TW_IMAGEINFO info = imageInfo(TWPT_GRAY, 8, 4, 3);
    Bytes dib = packedDib(info, 256);
    std::fill_n(dib.begin() + 32, 4, uint8_t{0});
    OneShotStage stage({{info, {}}});
    stage.manager.answer(operation::nativeTransfer, handOver(dib));
    CHECK(stage.scan(SM_MECH_NATIVE) == written);
    const Bytes file = stage.fileBytes();
    CHECK(headerText(file) == "BM size 66 pixels at 54, 4x3, 8 bits, 0 colours");
    CHECK(Bytes(file.begin() + 14, file.end()) == Bytes(dib.begin(), dib.begin() + 40 + 12));
}
