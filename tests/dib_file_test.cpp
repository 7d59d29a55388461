// The BMP files that the module writes: headers, palettes, where each byte goes, and what happens without
// room or memory, or when the source lies. Whole pages are compared end to end.
#include <algorithm>
#include <cstring>

#include "BmpHeader.h"
#include "OneShotStage.h"
#include "Story.h"

namespace {

constexpr size_t any = ~size_t{0};

Bytes from(const Bytes& file, size_t offset) {
    return {file.begin() + std::min(offset, file.size()), file.end()};
}

// Bytes as letters; a dot is a zero.
std::string letters(const Bytes& bytes) {
    std::string text(bytes.begin(), bytes.end());
    std::replace(text.begin(), text.end(), '\0', '.');
    return text;
}

}  // namespace

TEST_CASE("headers and palettes") {
    // Of a pixel type, bits, and palette entries of the source, of which more than 256 are none: the headers
    // and the file's size.
    const std::tuple<TW_INT16, TW_INT16, TW_UINT16, std::string, size_t> rows[] = {
        {TWPT_BW, 1, 0, "BM size 66 pixels at 62, 9x1, 1 bits, 2 colours", 66},
        {TWPT_GRAY, 8, 0, "BM size 1090 pixels at 1078, 9x1, 8 bits, 256 colours", 1090},
        {TWPT_PALETTE, 8, 10, "BM size 1090 pixels at 1078, 9x1, 8 bits, 256 colours", 1090},
        {TWPT_PALETTE, 8, 300, "BM size 1090 pixels at 1078, 9x1, 8 bits, 256 colours", 1090},
        // 256 entries are written, whatever the depth; what is too much stays behind the pixels.
        {TWPT_PALETTE, 4, 16, "BM size 126 pixels at 118, 9x1, 4 bits, 16 colours", 1078},
        {TWPT_RGB, 24, 0, "BM size 82 pixels at 54, 9x1, 24 bits, 0 colours", 82},
    };
    OneShotStage stage;
    for (const auto& [type, bits, given, header, fileSize] : rows) {
        CAPTURE(header);
        CAPTURE(given);
        stage.source.put({imagePage(type, bits, 9, 1, (9 * bits + 31) / 32 * 4)});
        TW_PALETTE8 palette = {};
        palette.NumColors = given;
        for (TW_UINT8 i = 0; i < given && i < 255; ++i)
            palette.Colors[i] = {9, TW_UINT8(i + 1), TW_UINT8(i + 2), TW_UINT8(i + 3)};
        stage.manager.answer(operation::palette, copy(palette));
        CHECK(stage.scan() == 0);
        const Bytes file = stage.fileBytes();
        CHECK(headerText(file) == header);
        CHECK(file.size() == fileSize);
        for (uint32_t i = 0; 54 + i * 4 < fileField(file, 10, 4); ++i) {
            uint32_t color = 0xFFFFFF;
            if (type == TWPT_GRAY || (type == TWPT_BW && i == 0)) color = i * 0x010101;
            if (given <= 256 && i < given) color = 0x010203 + i * 0x010101;
            CHECK(fileField(file, 54 + i * 4, 4) == color);
        }
    }
}

TEST_CASE("pixels per metre are 0 as long as the source says its unit") {
    Page page = imagePage(TWPT_GRAY, 8, 4, 1, 4);
    page.info.YResolution = {150, 0x4000};  // 150.25 x 254 = 38163.5
    OneShotStage stage;
    // The one failure that counts as a success: then the unit is taken for inches, of 254 to a metre.
    for (const TW_UINT16 code : {TWCC_SUCCESS, TWCC_BADCAP, TWCC_BUMMER}) {
        CAPTURE(code);
        stage.source.put({page});
        for (const Operation& question : {operation::getCurrent(ICAP_UNITS), operation::get(ICAP_UNITS)})
            if (code != TWCC_SUCCESS) stage.manager.answer(question, failWith(code));
        CHECK(stage.scan() == 0);
        CHECK(fileField(stage.fileBytes(), 38, 4) == (code == TWCC_BUMMER ? 300 * 254 : 0));
        CHECK(fileField(stage.fileBytes(), 42, 4) == (code == TWCC_BUMMER ? 38163 : 0));
    }
}

TEST_CASE("where each byte of a strip goes") {
    // Of an image of so many bits, in planes or not, its width and length: of each strip the bytes of a row,
    // columns, rows, place, and all its bytes; then the pixels of the file. Fails when these are all zeros.
    const std::tuple<TW_INT16, bool, int, int, std::string, std::string> rows[] = {
        // The lowest row first, blue first, padded with zeros.
        {24, false, 3, 2, "9 3 1 0 0 abcdefghi  9 3 1 0 1 ABCDEFGHI", "CBAFEDIHG...cbafedihg..."},
        // Tiles in any order.
        {24, false, 4, 2, "6 2 2 2 0 ABCDEFGHIJKL  6 2 2 0 0 abcdefghijkl", "ihglkjIHGLKJcbafedCBAFED"},
        {4, false, 8, 1, "2 4 1 4 0 cd  2 4 1 0 0 ab", "abcd"},
        // What lies between rows stays, and the file grows for one that begins behind the edge.
        {8, false, 3, 2, "4 4 2 0 0 ABCDEFGH  2 2 2 0 0 abcd", "cdGHabCD"},
        {8, false, 2, 2, "2 2 2 3 0 abcd", "...cd..ab"},
        // Rows longer than those of the file go over the row above.
        {8, false, 2, 2, "6 2 2 0 0 abcdefghijkl", "ghijklcdef"},
        // Rows are counted by their bytes, and those below the image left out.
        {8, false, 4, 2, "4 4 1000000 0 0 abcdefgh", "efghabcd"},
        {8, false, 4, 2, "4 4 0 0 0 abcdefgh", "efghabcd"},
        {8, false, 4, 2, "4 4 3 0 0 abcdefghijkl", "efghabcd"},
        {8, false, 4, 2, "4 4 1 0 0 abcd  4 4 3 0 1 efghijklmnop", "efghabcd"},
        // Planes, whole and in strips. One that doesn't begin at the top goes on with the last colour.
        {24, true, 2, 2, "2 2 2 0 0 abcd  2 2 2 0 0 ABCD  2 2 2 0 0 1234", "3Cc4Dd..1Aa2Bb.."},
        {24, true, 2, 2, "3 2 1 0 0 abx  3 2 2 0 1 cdxxxx  3 2 2 0 0 ABxCDx", ".Cc.Dd...Aa.Bb.."},
        {24, true, 4, 2, "2 2 1 2 1 ab", "......a..b.............."},
        // Away from the left edge the top row can't be read whole.
        {24, true, 4, 2, "2 2 1 2 0 ab", "........................"},
    };
    for (const auto& [bits, planar, width, length, strips, pixels] : rows) {
        CAPTURE(strips);
        const TW_INT16 type = bits == 24 ? TWPT_RGB : bits == 8 ? TWPT_GRAY : TWPT_PALETTE;
        Page page{imageInfo(type, bits, width, length)};
        page.info.Planar = planar;
        std::istringstream rest(strips);
        StripFacts facts;
        for (std::string bytes; rest >> facts.bytesPerRow >> facts.columns >> facts.rows >> facts.xOffset >>
                                facts.yOffset >> bytes;) {
            facts.bytesWritten = static_cast<TW_UINT32>(bytes.size());
            page.strips.push_back({facts, Bytes(bytes.begin(), bytes.end())});
        }
        page.strips.back().returnCode = TWRC_XFERDONE;
        OneShotStage stage({page});
        const bool fails = pixels.find_first_not_of('.') == std::string::npos;
        CHECK(stage.scan() == (fails ? -3 : 0));
        const std::string failure = "_lread returns failure in TScanModule::BufferToFileForPlanar";
        CHECK(stage.viewer.warnings().with("BufferToFile") == fails * Lines{failure});
        const Bytes file = stage.fileBytes();
        const uint32_t offset = fileField(file, 10, 4);
        CHECK(letters(from(file, offset)).substr(0, pixels.size()) == pixels);
        CHECK((bits == 4 || file.size() == offset + pixels.size()));
        // Nothing ran into what lies before the pixels: the last of the grays, or the header's last field.
        CHECK((bits == 4 || fileField(file, offset - 4, 4) == (bits == 8 ? 0xFFFFFFu : 0)));
    }
}

TEST_CASE("rows are joined in never more than 60 KiB, whatever lies between them") {
    for (const int rowBytes : {298, 300, 304, 70000}) {
        CAPTURE(rowBytes);
        const int width = rowBytes < 304 ? rowBytes : rowBytes - 4, length = 500, step = (width + 3) / 4 * 4;
        OneShotStage stage({imagePage(TWPT_GRAY, 8, width, length, rowBytes, length)});
        stage.source.bufferSizes = {64, 1u << 26, 1u << 26};
        CHECK(stage.scan() == 0);
        Bytes expected(1078 + step * length + std::max(0, rowBytes - step));
        const Bytes strip = pattern(rowBytes * length);
        for (int row = 0; row < length; ++row)
            std::copy_n(strip.begin() + row * rowBytes, rowBytes,
                        expected.begin() + 1078 + (length - 1 - row) * step);
        CHECK((from(stage.fileBytes(), 1078) == from(expected, 1078)));
        CHECK(std::count(stage.windows.allocations.begin(), stage.windows.allocations.end(), 0xF000) == 1);
    }
}

TEST_CASE("an image abandoned after its first plane shifts the colours of the next") {
    Page page = imagePage(TWPT_RGB, 24, 1, 1, 1, 1, true);
    const Strip plane = {{1, 1, 1, 0, 0, 1}, {'a'}};
    page.strips = {plane, endedBy(TWRC_CANCEL)};
    OneShotStage stage({page});
    CHECK(stage.scan() == -4);
    page.strips = {plane, {plane.facts, {'b'}}, {plane.facts, {'c'}, TWRC_XFERDONE}};
    stage.source.put({page});
    CHECK(stage.scan() == 0);
    const std::string pass = " in TScanModule::BufferToFileForPlanar";
    CHECK(stage.viewer.traces().with("Pass") ==
          Lines{"Pass = 1" + pass, "Pass = 2" + pass, "Pass = 0" + pass});
    CHECK(letters(from(stage.fileBytes(), 54)) == "bac.");
}

TEST_CASE("planes are merged in never more than 256 KiB of whole rows") {
    // Three planes of the same bytes.
    Page page = imagePage(TWPT_RGB, 24, 30001, 5, 30001, 5, true);
    page.strips.insert(page.strips.begin(), 2, {page.strips[0].facts, page.strips[0].bytes});
    OneShotStage stage({page});
    stage.source.bufferSizes = {64, 200000, 200000};
    CHECK(stage.scan() == 0);
    const auto& sizes = stage.windows.allocations;
    CHECK(*std::max_element(sizes.begin(), sizes.end()) <= 0x40000);
    Bytes gray;  // rows from below, each padded to 90004 bytes
    const Bytes plane = pattern(30001 * 5);
    for (int at = 4 * 30001; at >= 0; at -= 30001, gray.push_back(0))
        for (int x = 0; x < 30001 * 3; ++x)
            gray.push_back(plane[at + x / 3]);
    CHECK((from(stage.fileBytes(), 54) == gray));
}

TEST_CASE("layouts that the file can't hold") {
    const std::pair<TW_INT16, std::vector<TW_INT16>> rows[] = {
        {2, {12, 12, 0}}, {4, {6, 6, 6}}, {0, {0, 0, 0}}, {3, {8, 8, 7}}, {3, {8, 7, 8}}, {3, {7, 8, 8}}};
    for (const auto& [samples, bits] : rows) {
        for (const bool planar : {false, true}) {
            Page page = imagePage(TWPT_RGB, 24, 4, 2, 12, 2, planar);
            page.info.SamplesPerPixel = samples;
            std::copy(bits.begin(), bits.end(), page.info.BitsPerSample);
            OneShotStage stage({page});
            CHECK(stage.scan() == 1);
            // Kept open, so it stays; nothing but headers was written.
            CHECK(letters(from(stage.fileBytes(), 54)) == std::string(24, '.'));
        }
    }
}

TEST_CASE("the look at the disk") {
    // 1000 x 1000 bytes of pixels; 128 KiB may be missing.
    constexpr DWORD enough = 1000 * 1000 - 131072;
    const std::pair<DiskSpace, int> rows[] = {
        {{1, 1, enough}, 0},
        {{1, 1, enough - 1}, -2},
        {{8, 512, 213}, 0},
        {{8, 512, 212}, -2},
        {{8, 512, 1 << 20}, -2},  // 4 GiB, which is nothing in 32 bits
        {{}, 0},                  // the disk says nothing
        {{1, 1, enough}, -3},     // no such folder
    };
    OneShotStage stage;
    stage.source.bufferSizes = {64, 1000000, 1000000};
    for (const auto& [space, result] : rows) {
        CAPTURE(space.freeClusters);
        stage.source.put({imagePage(TWPT_GRAY, 8, 1000, 1000, 1000)});
        stage.windows.freeDiskSpace = space;
        stage.windows.diskSaysNothing = space.bytesPerSector == 0;
        if (result == -3) stage.path = "C:\\no such folder\\a.bmp";
        CHECK(stage.scan() == result);
        CHECK(fileExists(stage.path) == (result == 0));
        const std::string words = result == -2 ? "Disk space is not enough" : "Create file error";
        CHECK(stage.viewer.warnings() ==
              (result != 0) * Lines{words + " in TScanModule::CheckDiskSpace",
                                    "CheckDiskSpace returns failure in TScanModule::PrestoScanDoMemXfer"});
        if (result != -3) CHECK(stage.windows.diskAsked == stage.path.substr(0, 3));
    }
}

TEST_CASE("a disk that fills up, and memory that runs out") {
    // In planes, the bytes that find room, the allocation that fails; the result, warnings, whether the file
    // is still open when it should be deleted, and files closed: by the look at the disk, then for what
    // failed.
    const std::string write = "! _lwrite returns failure in TScanModule::";
    const std::string low = "! Low Memory in TScanModule::";
    const std::string header = "WriteDIBHeader; ! WriteDIBHeader returns failure in @";
    const std::tuple<bool, size_t, size_t, int, std::string, bool, int> rows[] = {
        // 2 x 2 black and white: 62 bytes of headers and palette, two rows of 4 bytes.
        {false, 0, any, -3, write + header, false, 2},
        {false, 69, any, -3, write + header, false, 2},
        {false, 70 + 13, any, -3, write + header, false, 3},  // closed twice here
        {false, 70 + 14, any, -3, write + header, false, 2},
        {false, 70 + 61, any, -3, write + header, false, 2},
        {false, 70 + 67, any, -3, write + "BufferToFile", true, 1},
        {false, 70 + 70, any, 0, "", true, 2},
        // 300 x 100 in planes of 30000 bytes, which need 90000 for the work.
        {true, 90054 + 54 + 89999, any, -3, write + "BufferToFileForPlanar", true, 1},
        {true, any, 30000, 2, low + "PrestoScanDoMemXfer", false, 1},
        {true, any, 61440, 2, low + header, false, 2},
        {true, any, 90000, 2, low + "BufferToFileForPlanar", true, 1},
        {true, any, 90001, 0, "", true, 2},
    };
    // On a disk that refuses, on one that only promises, and on one of these that says nothing of its room.
    for (size_t i = 0; i < 3 * std::size(rows); ++i) {
        const auto& [planar, room, largest, result, warnings, stays, closed] = rows[i / 3];
        CAPTURE(room);
        CAPTURE(largest);
        const Page colors = imagePage(TWPT_RGB, 24, 300, 100, 300, 100, true);
        OneShotStage stage({planar ? colors : imagePage(TWPT_BW, 1, 2, 2, 4)});
        stage.source.bufferSizes = {64, 30000, 100};
        stage.start();
        stage.windows.diskRoom = room;
        stage.windows.diskIsSparse = i % 3 != 0;
        stage.windows.diskSaysNothing = i % 3 == 2;
        stage.windows.largestAllocation = largest;
        stage.windows.filesClosed = 0;
        CHECK(stage.finish() == result);
        CHECK(fileExists(stage.path) == stays);
        CHECK(stage.windows.filesClosed == closed);
        CHECK(journal.with("! ") == storyOf(warnings, "PrestoScanDoMemXfer"));
    }
}

TEST_CASE("a file that can't be made any more") {
    const std::pair<unsigned short, std::string> rows[] = {{SM_MECH_NATIVE, "WriteDIBHandleToFile"},
                                                           {SM_MECH_MEMORY, "PrestoScanDoMemXfer"}};
    for (const auto& [mechanism, method] : rows) {
        OneShotStage stage({imagePage(TWPT_GRAY, 8, 4, 4, 4)});
        // A folder takes the place of the file that the look at the disk has made.
        const auto obstruct = [&](TW_MEMREF) {
            DeleteFileA(stage.path.c_str());
            CreateDirectoryA(stage.path.c_str(), nullptr);
        };
        stage.manager.answer(operation::setupMemory, {TWRC_SUCCESS, TWCC_SUCCESS, {}, obstruct});
        stage.manager.answer(operation::nativeTransfer, {TWRC_XFERDONE, TWCC_SUCCESS, {}, obstruct});
        CHECK(stage.scan(mechanism) == -3);
        CHECK(stage.viewer.warnings().with("file") == Lines{"Create file error in TScanModule::" + method});
        CHECK(RemoveDirectoryA(stage.path.c_str()));
    }
}

TEST_CASE("a DIB from the source becomes a file, or fails as a whole") {
    // Width, height, bits, colours; the size of the block, the bytes that find room, and the file's headers:
    // none when it fails.
    const std::tuple<LONG, LONG, WORD, DWORD, size_t, size_t, std::string> rows[] = {
        {4, 4, 8, 256, 1080, any, "BM size 1094 pixels at 1078, 4x4, 8 bits, 256 colours"},
        // Only a palette that the header counts is counted, and what is too much is left out.
        {4, 4, 8, 0, 1080, any, "BM size 70 pixels at 54, 4x4, 8 bits, 0 colours"},
        {20, 1023, 24, 0, 61420, any, "BM size 61434 pixels at 54, 20x1023, 24 bits, 0 colours"},
        {200, 301, 24, 0, 180640, 14 + 180640, "BM size 180654 pixels at 54, 200x301, 24 bits, 0 colours"},
        // No room: for the file header, the last byte, a large one's first piece and its second.
        {4, 4, 8, 0, 56, 13, ""},
        {4, 4, 8, 0, 56, 14 + 55, ""},
        {200, 301, 24, 0, 180640, 14 + 61439, ""},
        {200, 301, 24, 0, 180640, 14 + 61440 + 100, ""},
        // Blocks that end too early: within the pixels, the palette, the header; sizes without sense.
        {4, 5, 8, 0, 56, any, ""},
        {4, 4, 8, 256, 56, any, ""},
        {4, 4, 8, 0, 20, any, ""},
        {4, -4, 8, 0, 56, any, ""},
        {4, 0x7FFFFFFF, 8, 0, 56, any, ""},
    };
    for (const auto& [width, height, bits, colors, blockSize, room, headers] : rows) {
        CAPTURE(blockSize);
        CAPTURE(room);
        Page page = imagePage(TWPT_GRAY, 8, 4, 4, 4);
        page.whole = pattern(blockSize);
        const BITMAPINFOHEADER header = {40, width, height, 1, bits, 0, 0, 0, 0, colors, 0};
        std::memcpy(page.whole.data(), &header, std::min(blockSize, sizeof header));
        OneShotStage stage({page});
        stage.start(SM_MECH_NATIVE);
        stage.windows.guardBlocks = true;
        stage.windows.diskRoom = room;
        stage.windows.filesClosed = 0;
        const bool fails = headers.empty();
        CHECK(stage.finish() == (fails ? -3 : 0));
        CHECK(stage.viewer.warnings() ==
              fails * Lines{"Error in _lwrite in TScanModule::WriteDIBHandleToFile"});
        CHECK(stage.windows.filesClosed == 2);
        CHECK(fileExists(stage.path) == !fails);
        if (fails) continue;
        const Bytes file = stage.fileBytes();
        CHECK(headerText(file) == headers);
        CHECK(file.size() == fileField(file, 2, 4));
        CHECK((from(file, 14) == Bytes(page.whole.begin(), page.whole.begin() + file.size() - 14)));
    }
}
