// The writer of BMP files when something goes wrong: no room, no memory, files that can't be made, sources
// that lie. What the host is told, which lines are written, and what stays on the disk.
#include <doctest.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "OneShotStage.h"

namespace {

Lines ended(int result) {
    return {"ScanToFileGetName", "ScanToFileXferEnd " + std::to_string(result), "ScanToFileDSClosed"};
}

std::string inMethod(const std::string& words, const std::string& method) {
    return words + " in TScanModule::" + method;
}

Page grayPage(TW_INT32 width, TW_INT32 length) {
    return {imageInfo(TWPT_GRAY, 8, width, length), cutRows(pattern(width * length), width, width, length)};
}

Page colorPage(bool planar, TW_INT32 width, TW_INT32 length, TW_UINT32 bytesPerRow) {
    Page page{imageInfo(TWPT_RGB, 24, width, length),
              cutRows(pattern(bytesPerRow * length), bytesPerRow, width, length)};
    page.info.Planar = planar;
    return page;
}

}  // namespace

TEST_CASE("the look at the disk") {
    // 1000 x 1000 bytes of pixels; 128 KiB may be missing.
    constexpr DWORD enough = 1000 * 1000 - 131072;
    struct Row {
        std::string name;
        DiskSpace space;
        TW_INT32 length;
        int result;
    };
    const Row rows[] = {
        {"enough", {1, 1, enough}, 1000, 0},
        {"a byte less", {1, 1, enough - 1}, 1000, -2},
        {"in clusters", {8, 512, 1000}, 1000, 0},
        {"in too few clusters", {8, 512, 200}, 1000, -2},
        {"nothing free, but a small image", {1, 1, 0}, 131, 0},
        {"nothing free, and a little more", {1, 1, 0}, 132, -2},
        {"4 GiB, which is nothing in 32 bits", {8, 512, 1 << 20}, 1000, -2},
        {"and what is beyond counts", {8, 512, (1 << 20) + 244}, 1000, 0},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        OneShotStage stage({grayPage(1000, row.length)});
        stage.source.setBufferSizes(64, 1000000, 1000000);
        stage.windows.freeDiskSpace = row.space;
        CHECK(stage.scan() == ended(row.result));
        CHECK(stage.windows.diskAsked == stage.path.substr(0, 3));
        CHECK(stage.hasFile() == (row.result == 0));
        CHECK(stage.viewer.warnings() ==
              (row.result == 0 ? Lines{}
                               : Lines{inMethod("Disk space is not enough", "CheckDiskSpace"),
                                       inMethod("CheckDiskSpace returns failure", "PrestoScanDoMemXfer")}));
    }
}

TEST_CASE("a disk that says nothing passes") {
    OneShotStage stage({grayPage(10, 10)});
    stage.windows.diskSaysNothing = true;
    CHECK(stage.scan() == ended(0));
}

TEST_CASE("a disk that fills up while strips are written") {
    // 2 x 2 black and white: 62 bytes of headers and palette, two rows of 4 bytes.
    constexpr size_t fileSize = 70;
    struct Row {
        std::string name;
        size_t room;
        std::string method;
        bool stays;
        int closed;  // by the look at the disk, then for what failed
    };
    const Row rows[] = {
        {"at once", 0, "WriteDIBHeader", false, 2},
        {"before the file has its size", fileSize - 1, "WriteDIBHeader", false, 2},
        // The file is closed twice here.
        {"in the file header", fileSize, "WriteDIBHeader", false, 3},
        {"at the file header's last byte", fileSize + 13, "WriteDIBHeader", false, 3},
        {"in the info header", fileSize + 14, "WriteDIBHeader", false, 2},
        {"in the palette", fileSize + 54, "WriteDIBHeader", false, 2},
        {"in the palette's second entry", fileSize + 61, "WriteDIBHeader", false, 2},
        // The file is still open when it should be deleted.
        {"in the first row", fileSize + 62, "BufferToFile", true, 1},
        {"in the second row", fileSize + 67, "BufferToFile", true, 1},
        {"not at all", fileSize + 70, "", true, 2},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        OneShotStage stage({{imageInfo(TWPT_BW, 1, 2, 2), cutRows(pattern(8), 4, 2, 2)}},
                           "disk-full-" + std::to_string(row.room) + ".bmp");
        stage.start();
        stage.windows.diskRoom = row.room;
        stage.windows.filesClosed = 0;
        stage.deliver(MSG_XFERREADY);
        CHECK(stage.host.messages() == ended(row.method.empty() ? 0 : -3));
        CHECK(stage.hasFile() == row.stays);
        CHECK(stage.windows.filesClosed == row.closed);
        Lines warnings;
        if (!row.method.empty()) warnings.push_back(inMethod("_lwrite returns failure", row.method));
        if (row.method == "WriteDIBHeader")
            warnings.push_back(inMethod("WriteDIBHeader returns failure", "PrestoScanDoMemXfer"));
        CHECK(stage.viewer.warnings() == warnings);
        CHECK(stage.windows.memoryComplaints() == Lines{});
        CHECK(stage.manager.state() == 2);
    }
}

TEST_CASE("a disk that fills up while planes are merged") {
    OneShotStage stage({colorPage(true, 4, 4, 4)}, "disk-full-planes.bmp");
    stage.start();
    stage.windows.diskRoom = 102 + 54 + 47;
    stage.deliver(MSG_XFERREADY);
    CHECK(stage.host.messages() == ended(-3));
    CHECK(stage.viewer.warnings() == Lines{inMethod("_lwrite returns failure", "BufferToFileForPlanar")});
    CHECK(stage.windows.memoryComplaints() == Lines{});
}

TEST_CASE("a plane's strip away from the left edge reads past the end in the top row") {
    Page page = colorPage(true, 4, 4, 2);
    page.strips[0].facts.columns = 2;
    page.strips[0].facts.xOffset = 2;
    OneShotStage stage({page}, "planes-past-end.bmp");
    SUBCASE("with the top row") {
        CHECK(stage.scan() == ended(-3));
        CHECK(stage.viewer.warnings() == Lines{inMethod("_lread returns failure", "BufferToFileForPlanar")});
    }
    SUBCASE("below it") {
        page.strips[0].facts.yOffset = 1;
        page.strips[0].facts.bytesWritten = 6;
        stage.source.put({page});
        CHECK(stage.scan() == ended(0));
        // In the two right-hand pixels of the lower three rows; a plane that doesn't begin at the top goes on
        // with the colour of the last, here blue.
        const Bytes file = stage.fileBytes(), p = pattern(6);
        Bytes expected(48);
        expected[30] = p[0], expected[33] = p[1];
        expected[18] = p[2], expected[21] = p[3];
        expected[6] = p[4], expected[9] = p[5];
        CHECK(Bytes(file.begin() + 54, file.end()) == expected);
    }
}

TEST_CASE("without memory") {
    // A plane of 100 rows of 300 pixels: 30000 bytes, and 90000 for the work.
    struct Row {
        std::string name;
        TW_UINT32 maxBuffer;
        SIZE_T largest;  // allocations of this size fail
        Lines warnings;
        bool stays;  // the file is open still
    };
    const Row rows[] = {
        {"for the strips", 70000, 62000, {inMethod("Low Memory", "PrestoScanDoMemXfer")}, false},
        {"for the headers",
         30000,
         61440,
         {inMethod("Low Memory", "WriteDIBHeader"),
          inMethod("WriteDIBHeader returns failure", "PrestoScanDoMemXfer")},
         false},
        {"for the planes", 30000, 90000, {inMethod("Low Memory", "BufferToFileForPlanar")}, true},
        {"enough", 30000, 90001, {}, true},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        OneShotStage stage({colorPage(true, 300, 100, 300)},
                           "low-memory-" + std::to_string(row.largest) + ".bmp");
        stage.source.setBufferSizes(64, row.maxBuffer, 100);
        stage.start();
        stage.windows.largestAllocation = row.largest;
        stage.deliver(MSG_XFERREADY);
        CHECK(stage.host.messages() == ended(row.warnings.empty() ? 0 : 2));
        CHECK(stage.viewer.warnings() == row.warnings);
        CHECK(stage.hasFile() == row.stays);
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("layouts that the file can't hold") {
    struct Row {
        std::string name;
        TW_INT16 samples;
        std::array<TW_INT16, 3> bits;
        bool planar;
    };
    const Row rows[] = {
        {"two samples", 2, {12, 12, 0}, false},
        {"four samples", 4, {6, 6, 6}, false},
        {"no samples", 0, {0, 0, 0}, false},
        {"uneven samples", 3, {8, 8, 7}, false},
        {"uneven samples, the second", 3, {8, 9, 8}, true},
        {"uneven samples, the first", 3, {7, 8, 8}, true},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        Page page = colorPage(row.planar, 4, 2, 12);
        page.info.SamplesPerPixel = row.samples;
        std::copy(row.bits.begin(), row.bits.end(), page.info.BitsPerSample);
        OneShotStage stage({page}, "layout-" + row.name + ".bmp");
        CHECK(stage.scan() == ended(1));
        CHECK(stage.viewer.warnings() == Lines{});
        // Kept open, so it stays; nothing but headers was written.
        const Bytes file = stage.fileBytes();
        CHECK(file.size() == 54 + 24);
        CHECK(std::count(file.begin() + 54, file.end(), 0) == 24);
    }
}

TEST_CASE("a file that can't be made any more") {
    struct Row {
        std::string name;
        unsigned short mechanism;
        Lines warnings;
    };
    const Row rows[] = {
        {"when strips come", SM_MECH_MEMORY, {inMethod("Create file error", "PrestoScanDoMemXfer")}},
        {"when the DIB comes", SM_MECH_NATIVE, {inMethod("Create file error", "WriteDIBHandleToFile")}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        OneShotStage stage({grayPage(4, 4)});
        // A folder takes the place of the file that the look at the disk has made.
        const auto obstruct = [&] {
            DeleteFileA(stage.path.c_str());
            CreateDirectoryA(stage.path.c_str(), nullptr);
        };
        stage.manager.answer(operation::setupMemory, fill<TW_SETUPMEMXFER>([&](TW_SETUPMEMXFER& sizes) {
                                 sizes = {64, 1000, 100};
                                 obstruct();
                             }));
        stage.manager.answer(operation::nativeTransfer,
                             Answer{TWRC_XFERDONE, TWCC_SUCCESS, {}, [&](TW_MEMREF dib) {
                                        obstruct();
                                        const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, 100);
                                        ModuleCalls::adopt(block);
                                        *static_cast<HGLOBAL*>(dib) = block;
                                    }});
        CHECK(stage.scan(row.mechanism) == ended(-3));
        CHECK(stage.viewer.warnings() == row.warnings);
        CHECK(stage.windows.memoryComplaints() == Lines{});
        CHECK(RemoveDirectoryA(stage.path.c_str()));
    }
}

namespace {

Answer handOver(const BITMAPINFOHEADER& header, size_t size) {
    return {TWRC_XFERDONE, TWCC_SUCCESS, {}, [=](TW_MEMREF data) {
                const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, size);
                std::memcpy(GlobalLock(block), &header, std::min(size, sizeof header));
                GlobalUnlock(block);
                ModuleCalls::adopt(block);
                *static_cast<HGLOBAL*>(data) = block;
            }};
}

BITMAPINFOHEADER dibHeader(LONG width, LONG height, DWORD colors = 0) {
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof header;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = 8;
    header.biClrUsed = colors;
    return header;
}

}  // namespace

TEST_CASE("a DIB that isn't written") {
    struct Row {
        std::string name;
        BITMAPINFOHEADER header;
        size_t blockSize;
        size_t room;
        int result;
    };
    const size_t any = ~size_t{0};
    const Row rows[] = {
        {"no room for the file header", dibHeader(4, 4), 56, 13, -3},
        {"no room for the last byte", dibHeader(4, 4), 56, 14 + 55, -3},
        {"no room for the first piece of a large one", dibHeader(1000, 100), 100040, 14 + 61439, -3},
        {"no room for its second piece", dibHeader(1000, 100), 100040, 14 + 61440 + 100, -3},
        {"just enough room", dibHeader(1000, 100), 100040, 14 + 100040, 0},
        {"a block that ends too early", dibHeader(4, 5), 56, any, -3},
        {"a block without its palette", dibHeader(4, 4, 256), 56, any, -3},
        {"a block without pixels", dibHeader(4, 4), 40, any, -3},
        {"a block without a header", dibHeader(4, 4), 20, any, -3},
        {"upside down", dibHeader(4, -4), 56, any, -3},
        {"no end of rows", dibHeader(4, 0x7FFFFFFF), 56, any, -3},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        OneShotStage stage({grayPage(4, 4)});
        stage.manager.answer(operation::nativeTransfer, handOver(row.header, row.blockSize));
        stage.start(SM_MECH_NATIVE);
        stage.windows.guardBlocks = true;
        stage.windows.diskRoom = row.room;
        stage.windows.filesClosed = 0;
        stage.deliver(MSG_XFERREADY);
        CHECK(stage.host.messages() == ended(row.result));
        CHECK(stage.viewer.warnings() ==
              (row.result == 0 ? Lines{} : Lines{inMethod("Error in _lwrite", "WriteDIBHandleToFile")}));
        CHECK(stage.windows.filesClosed == 2);
        CHECK(stage.hasFile() == (row.result == 0));
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("strips that lie put nothing of the module's memory into the file") {
    constexpr TW_UINT32 most = 0xFFFFFFFF;
    struct Row {
        std::string name;
        StripFacts said;
    };
    const Row rows[] = {
        {"rows of no bytes", {0, 10, 10, 0, 0, 300}},
        {"rows beyond the buffer", {30, 10, 1000, 0, 0, 300}},
        {"bytes beyond the buffer", {30, 10, 10, 0, 0, 60000}},
        {"columns wider than the row", {30, 100000, 10, 0, 0, 300}},
        {"a row beyond the buffer", {100000, 10, 1, 0, 0, 100000}},
        {"rows below the image", {30, 10, 10, 0, 5, 300}},
        {"far below the image", {30, 10, 10, 0, most, 300}},
        {"far to the right", {30, 10, 10, most, 0, 300}},
        {"everything", {most, most, most, most, most, most}},
    };
    for (const Row& row : rows) {
        for (const bool planar : {false, true}) {
            CAPTURE(row.name);
            CAPTURE(planar);
            Page page = colorPage(planar, 10, 10, 30);
            page.strips = {{row.said, pattern(300), TWRC_XFERDONE}};
            OneShotStage stage({page}, "lies" + std::to_string(planar) + row.name + ".bmp");
            stage.source.setBufferSizes(64, 300, 300);
            stage.start();
            stage.windows.guardBlocks = true;
            stage.deliver(MSG_XFERREADY);
            CHECK(stage.host.messages().size() == 3);
            const Bytes file = stage.fileBytes();
            CHECK(file.size() <= 54 + 320 + 30);
            CHECK(Bytes(file.begin(), file.begin() + 2) == Bytes{'B', 'M'});
            CHECK(stage.windows.memoryComplaints() == Lines{});
        }
    }
}
