// The strips of a memory transfer as the host gets them: described, corrected, and in the byte order of a
// DIB.
#include <doctest.h>

#include <cstring>

#include "MemoryStage.h"

namespace {

const std::string unaligned = "not 4-byte align in TScanModule::DoMemXfer";

// Rows with their pixels as the host should find them: `order` lists the source bytes of each, and is empty
// when they stay as they are.
Bytes rearranged(const Bytes& rows, size_t bytesPerRow, size_t columns, const std::vector<size_t>& order) {
    Bytes result = rows;
    for (size_t row = 0; row < rows.size(); row += bytesPerRow) {
        for (size_t byte = 0; byte < columns * order.size(); ++byte) {
            const size_t pixel = row + byte / order.size() * order.size();
            result.at(row + byte) = rows.at(pixel + order[byte % order.size()]);
        }
    }
    return result;
}

}  // namespace

TEST_CASE("every layout arrives byte for byte, in the order of a DIB") {
    const std::vector<size_t> asIs = {}, swapped = {1, 0}, bgr = {2, 1, 0}, reversed = {5, 4, 3, 2, 1, 0};
    const char* const none = "";
    const char* const bytesSwapped = "Swap hi-byte & lo-byte data in TScanModuke::DoMemXfer";
    const char* const colorsSwapped = "Swap R,G data in TScanModuke::DoMemXfer";
    struct Row {
        std::string name;
        TW_INT16 pixelType;
        TW_INT16 bits;
        bool planar;
        TW_UINT16 compression;
        TW_UINT32 bytesPerRow;
        std::vector<size_t> order;
        const char* trace;
        bool isDib, isUnaligned;
    };
    const Row rows[] = {
        {"1 bit", TWPT_BW, 1, false, 0, 1, asIs, none, false, true},
        {"1 bit, padded", TWPT_BW, 1, false, 0, 4, asIs, none, true, false},
        {"4 bits", TWPT_PALETTE, 4, false, 0, 3, asIs, none, false, true},
        {"4 bits, padded", TWPT_PALETTE, 4, false, 0, 4, asIs, none, true, false},
        {"8 bits", TWPT_GRAY, 8, false, 0, 5, asIs, none, false, true},
        {"8 bits, padded", TWPT_GRAY, 8, false, 0, 8, asIs, none, true, false},
        {"16 bits", TWPT_GRAY, 16, false, 0, 10, swapped, bytesSwapped, false, true},
        {"16 bits, padded", TWPT_GRAY, 16, false, 0, 12, swapped, bytesSwapped, true, false},
        {"24 bits", TWPT_RGB, 24, false, 0, 15, bgr, colorsSwapped, false, true},
        {"24 bits, padded", TWPT_RGB, 24, false, 0, 16, bgr, colorsSwapped, true, false},
        {"24 bits, padded to more", TWPT_RGB, 24, false, 0, 20, bgr, colorsSwapped, false, true},
        {"48 bits", TWPT_RGB, 48, false, 0, 30, reversed, colorsSwapped, false, true},
        {"48 bits, padded", TWPT_RGB, 48, false, 0, 32, reversed, colorsSwapped, true, false},
        {"16-bit plane", TWPT_GRAY, 16, true, 0, 12, asIs, none, true, false},
        {"24 bits in planes", TWPT_RGB, 24, true, 0, 8, asIs, none, false, true},
        {"48 bits in planes", TWPT_RGB, 48, true, 0, 12, asIs, none, false, true},
        {"24 bits, compressed", TWPT_RGB, 24, false, TWCP_PACKBITS, 16, asIs, none, false, false},
        {"16 bits, compressed", TWPT_GRAY, 16, false, TWCP_PACKBITS, 12, asIs, none, false, false},
        {"32 bits of four inks", TWPT_CMYK, 32, false, 0, 20, asIs, none, false, false},
        {"24 bits, another colour space", TWPT_YUV, 24, false, 0, 15, asIs, none, false, false},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        Page page{imageInfo(row.pixelType, row.bits, 5, 5), {}};
        page.info.Planar = row.planar;
        page.info.Compression = row.compression;
        const Bytes sent = pattern(row.bytesPerRow * 5);
        page.strips = cutRows(sent, row.bytesPerRow, 5, 2);
        MemoryStage stage({page});
        CHECK(stage.run() == Lines{"XferStart", "XferData", "XferData", "XferData", "XferEnd 0"});
        CHECK(stage.received == rearranged(sent, row.bytesPerRow, 5, row.order));
        const auto line = [&](int stripRows, int y) {
            return "5x" + std::to_string(stripRows) + " at 0," + std::to_string(y) + ": " +
                   std::to_string(stripRows * row.bytesPerRow) + " bytes, rows of " +
                   std::to_string(row.bytesPerRow) + (row.isDib ? " as in a DIB" : "");
        };
        CHECK(stage.strips == Lines{line(2, 0), line(2, 2), line(1, 4)});
        CHECK(stage.viewer.traces().with("Swap") == (*row.trace != '\0' ? 3 * Lines{row.trace} : Lines{}));
        CHECK(stage.viewer.warnings().with(unaligned).size() == (row.isUnaligned ? 3 : 0));
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("the records describe image and strip") {
    Page page = grayPage();
    page.info.XResolution = {118, 0};
    page.info.YResolution = {-20, 0};
    MemoryStage stage({page, grayPage(), grayPage()});
    stage.manager.answer(operation::getCurrent(ICAP_UNITS), give(oneValue(TWTY_UINT16, TWUN_CENTIMETERS)));
    TXferImageInfo start = {};
    bool stripRepeatsImage = true;
    stage.host.onXferStart = [&](TXferImageInfo& image) {
        start = image;
        CHECK(image.Target.Buffer->BufferSize == 0);
        CHECK(image.Target.Buffer->BufferPointer == nullptr);
    };
    stage.host.onXferData = [&](const TXferStripInfo& strip) {
        stripRepeatsImage = stripRepeatsImage && std::memcmp(&strip, &start, 42) == 0;
        CHECK(strip.Buffer == start.Target.Buffer);
    };
    stage.run();
    CHECK(stripRepeatsImage);
    TXferImageInfo expected = {};
    expected.XResolution = 46;  // 118 x 0.3937
    expected.YResolution = -1;
    expected.ImageWidth = expected.ImageLength = 4;
    expected.SamplesPerPixel = 1;
    expected.BitsPerSample[0] = expected.BitsPerPixel = 8;
    expected.PixelTypeFlag = 2;
    expected.XferMech = 4;
    expected.Target = start.Target;
    CHECK(std::memcmp(&stage.host.images().front(), &expected, sizeof expected) == 0);
    CHECK(std::memcmp(&stage.host.images()[1], &expected, sizeof expected) == 0);
}

TEST_CASE("strips narrower than the image are converted as wide as they are") {
    // An image of 4 x 2 in two tiles, whose rows end with a byte that is no pixel.
    const auto tile = [](TW_UINT32 x, TW_UINT16 code) {
        return Strip{{7, 2, 2, x, 0, 14}, {1, 2, 3, 4, 5, 6, 'p', 7, 8, 9, 10, 11, 12, 'q'}, code};
    };
    MemoryStage stage({{imageInfo(TWPT_RGB, 24, 4, 2), {tile(0, TWRC_SUCCESS), tile(2, TWRC_XFERDONE)}}});
    stage.run();
    CHECK(stage.strips == Lines{"2x2 at 0,0: 14 bytes, rows of 7", "2x2 at 2,0: 14 bytes, rows of 7"});
    const Bytes converted = {3, 2, 1, 6, 5, 4, 'p', 9, 8, 7, 12, 11, 10, 'q'};
    Bytes both = converted;
    both.insert(both.end(), converted.begin(), converted.end());
    CHECK(stage.received == both);
}

TEST_CASE("rows that disagree with the bytes are counted anew") {
    struct Row {
        std::string name;
        StripFacts said;
        const char* seen;
        int warnings;
    };
    const Row rows[] = {
        {"more rows than bytes", {4, 4, 5, 0, 0, 12}, "4x3 at 0,0: 12 bytes, rows of 4 as in a DIB", 1},
        {"fewer rows than bytes", {4, 4, 1, 0, 0, 12}, "4x3 at 0,0: 12 bytes, rows of 4 as in a DIB", 1},
        {"a row that isn't whole", {4, 4, 3, 0, 0, 11}, "4x2 at 0,0: 11 bytes, rows of 4 as in a DIB", 1},
        {"longer rows", {6, 4, 2, 0, 0, 12}, "4x2 at 0,0: 12 bytes, rows of 6", 1},
        {"rows of no bytes", {0, 4, 5, 0, 0, 12}, "4x0 at 0,0: 12 bytes, rows of 0", 1},
        {"nothing", {4, 4, 0, 0, 0, 0}, "4x0 at 0,0: 0 bytes, rows of 4 as in a DIB", 0},
        {"all in order", {4, 4, 3, 0, 0, 12}, "4x3 at 0,0: 12 bytes, rows of 4 as in a DIB", 0},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        const Strip strip{row.said, pattern(12), TWRC_XFERDONE};
        MemoryStage stage({{imageInfo(TWPT_GRAY, 8, 4, 3), {strip}}});
        stage.run();
        CHECK(stage.strips == Lines{row.seen});
        CHECK(stage.viewer.warnings().with(unaligned).size() == row.warnings);
    }
}

TEST_CASE("a page of unknown length ends with the strip that says so") {
    const Bytes rows = pattern(4 * 7);
    MemoryStage stage({{imageInfo(TWPT_GRAY, 8, 4, -1), cutRows(rows, 4, 4, 3)}});
    CHECK(stage.run() == Lines{"XferStart", "XferData", "XferData", "XferData", "XferEnd 0"});
    CHECK(stage.received == rows);
    CHECK(stage.host.images().front().ImageLength == -1);
}
