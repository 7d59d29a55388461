// The strips of a memory transfer: the buffers they go into, how they are described and corrected, their byte
// order, and what a source that lies may do.
#include <doctest.h>

#include <numeric>

#include "GuardedBuffer.h"
#include "MemoryStage.h"

TEST_CASE("the sizes that a source asks for, and those that make no sense") {
    struct Row {
        TW_SETUPMEMXFER said;
        std::vector<unsigned> sizes;
        Lines warnings;
    };
    const std::string end = " in TScanModule::GetMemXferSize";
    const std::string noMin = "min == 0, Adjust it" + end, noMax = "max == 0, Adjust it" + end,
                      badPreferred = "illegal preferred size, Adjust it" + end;
    const Row rows[] = {
        {{10, 30, 10}, {10, 30, 10}, {}},
        {{10, 30, 30}, {10, 30, 30}, {}},
        {{10, 30, 9}, {10, 30, 10}, {badPreferred}},
        {{10, 30, 31}, {10, 30, 10}, {badPreferred}},
        {{0, 100000, 70000}, {65536, 100000, 70000}, {noMin}},
        {{10, 0, 20}, {10, 65536, 20}, {noMax}},
        {{0, 0, 0}, {65536, 65536, 65536}, {noMin, noMax, badPreferred}},
        {{1, 0xFFFFFFFF, 0x80000000}, {1, 0xFFFFFFFF, 0x80000000}, {}},
    };
    Stage stage;
    std::vector<unsigned> sizes = {1, 2, 3};
    const auto ask = [&] { return stage.module.GetMemXferSize(&sizes[0], &sizes[1], &sizes[2]); };
    CHECK(ask() == 11);
    CHECK(sizes == std::vector<unsigned>{1, 2, 3});
    CHECK(stage.viewer.warnings() == Lines{"Sequence error" + end});
    stage.open();
    for (const Row& row : rows) {
        CAPTURE(row.sizes);
        stage.manager.answer(operation::setupMemory, copy(row.said));
        stage.forget();
        CHECK(ask() == 0);
        CHECK(sizes == row.sizes);
        CHECK(stage.viewer.warnings() == row.warnings);
    }
    stage.manager.answer(operation::setupMemory, failWith(TWCC_OPERATIONERROR));
    stage.forget();
    CHECK(ask() == TWCC_OPERATIONERROR);
    CHECK(stage.manager.calls() == refused("SETUPMEMXFER"));
    CHECK(sizes == std::vector<unsigned>{0x10000, 0x10000, 0x10000});
    CHECK(stage.viewer.warnings() == Lines{"DSM_Entry returns failure" + end});
}

TEST_CASE("the module's buffer: preferred size, else the minimum, else the maximum") {
    struct Row {
        TW_SETUPMEMXFER sizes;
        SIZE_T largest;  // allocations of this size fail
        std::vector<SIZE_T> tried;
        TW_UINT32 used;  // 0: none could be had
    };
    const TW_UINT32 huge = 0x7FFF0000;
    const Row rows[] = {
        {{600000, 800000, 700000}, 800001, {700000}, 700000},
        {{600000, 800000, 700000}, 700000, {700000, 600000}, 600000},
        {{huge, 500000, huge}, 600000, {huge, huge, 500000}, 500000},
        {{600000, 800000, 700000}, 600000, {700000, 600000, 800000}, 0},
    };
    for (const Row& row : rows) {
        CAPTURE(row.largest);
        MemoryStage stage({grayPage(), grayPage()});
        stage.source.setBufferSizes(row.sizes.MinBufSize, row.sizes.MaxBufSize, row.sizes.Preferred);
        SmBufferDescriptor shown = {};
        stage.host.onXferData = [&](const TXferStripInfo& strip) { shown = *strip.Buffer; };
        stage.enable(true);
        stage.windows.largestAllocation = row.largest;
        stage.deliver(MSG_XFERREADY);
        std::vector<SIZE_T> tried;
        for (const SIZE_T size : stage.windows.allocations)
            if (size >= 500000) tried.push_back(size);
        CHECK(std::vector<SIZE_T>(tried.begin(), tried.begin() + tried.size() / 2) == row.tried);
        CHECK(stage.story() == (row.used == 0 ? "SE2 SE2 " : "SDDE0 SDDE0 "));
        CHECK(stage.viewer.warnings().with("Low Memory in TScanModule::DoMemXfer").size() ==
              (row.used == 0 ? 2 : 0));
        CHECK(stage.windows.memoryComplaints() == Lines{});
        if (row.used == 0) continue;
        const TW_MEMORY& asked = stage.source.requests().back();
        CHECK(asked.Flags == 9);  // the application's memory, given as a pointer
        CHECK(asked.Length == row.used);
        CHECK(shown.BufferSize == row.used);
        CHECK(shown.BufferPointer == asked.TheMem);
    }
}

TEST_CASE("where each strip goes is the host's choice") {
    GuardedBuffer first(100), second(200);
    // What the handler of the first strip puts into the descriptor, and the buffer that the next one gets.
    enum class Next { First, Second, Modules };
    struct Row {
        bool ownAtStart;
        SmBufferDescriptor exchanged;
        Next next;
    };
    const Row rows[] = {
        {true, {100, first.data()}, Next::First},    {true, {200, second.data()}, Next::Second},
        {false, {200, second.data()}, Next::Second}, {true, {0, nullptr}, Next::Modules},
        {true, {200, nullptr}, Next::Modules},       {true, {0, second.data()}, Next::Modules},
        {false, {0, nullptr}, Next::Modules},
    };
    for (const Row& row : rows) {
        CAPTURE(row.ownAtStart);
        CAPTURE(row.exchanged.BufferSize);
        MemoryStage stage({grayPage()});
        stage.host.onXferStart = [&](TXferImageInfo& image) {
            if (row.ownAtStart) *image.Target.Buffer = {100, first.data()};
        };
        std::vector<SmBufferDescriptor> shown;
        stage.host.onXferData = [&](const TXferStripInfo& strip) {
            stage.keep(strip);
            shown.push_back(*strip.Buffer);
            if (shown.size() == 1) *strip.Buffer = row.exchanged;
        };
        CHECK(stage.run() == "SDDE0 ");
        CHECK(stage.received == pattern(16));
        const auto& asked = stage.source.requests();
        REQUIRE(asked.size() == 2);
        CHECK((asked[0].TheMem == first.data()) == row.ownAtStart);
        CHECK(asked[0].Length == (row.ownAtStart ? 100 : 1024));
        const bool isHosts = row.next != Next::Modules;
        CHECK((asked[1].TheMem == first.data()) == (row.next == Next::First));
        CHECK((asked[1].TheMem == second.data()) == (row.next == Next::Second));
        CHECK(asked[1].Length == (row.next == Next::First ? 100 : isHosts ? 200 : 1024));
        CHECK(shown[1].BufferPointer == asked[1].TheMem);
        CHECK(shown[1].BufferSize == asked[1].Length);
        // The module allocates once at most, and only when it needs to.
        CHECK(stage.viewer.traces().with("Memory buffer size").size() == !(row.ownAtStart && isHosts));
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("every layout arrives byte for byte, in the order of a DIB") {
    struct Row {
        TW_INT16 pixelType, bits;
        TW_UINT32 bytesPerRow;
        std::string order;  // the source bytes of each pixel as the host finds them; empty: as they are
        bool isDib, isUnaligned;
        bool planar = false;
        TW_UINT16 compression = TWCP_NONE;
    };
    const Row rows[] = {
        {TWPT_BW, 1, 1, "", false, true},
        {TWPT_BW, 1, 4, "", true, false},
        {TWPT_PALETTE, 4, 4, "", true, false},
        {TWPT_GRAY, 8, 5, "", false, true},
        {TWPT_GRAY, 8, 8, "", true, false},
        {TWPT_GRAY, 16, 10, "10", false, true},
        {TWPT_GRAY, 16, 12, "10", true, false},
        {TWPT_RGB, 24, 15, "210", false, true},
        {TWPT_RGB, 24, 16, "210", true, false},
        {TWPT_RGB, 24, 20, "210", false, true},
        {TWPT_RGB, 48, 32, "543210", true, false},
        {TWPT_GRAY, 16, 12, "", true, false, true},
        {TWPT_RGB, 24, 8, "", false, true, true},
        {TWPT_RGB, 24, 16, "", false, false, false, TWCP_PACKBITS},
        {TWPT_GRAY, 16, 12, "", false, false, false, TWCP_PACKBITS},
        {TWPT_CMYK, 32, 20, "", false, false},
        {TWPT_YUV, 24, 15, "", false, false},
    };
    for (const Row& row : rows) {
        CAPTURE(row.bits);
        CAPTURE(row.bytesPerRow);
        Page page{imageInfo(row.pixelType, row.bits, 5, 5), {}};
        page.info.Planar = row.planar;
        page.info.Compression = row.compression;
        Bytes expected = pattern(row.bytesPerRow * 5);
        page.strips = cutRows(expected, row.bytesPerRow, 5, 2);
        const size_t pixel = row.order.size();
        for (size_t at = 0; at < expected.size(); ++at) {
            const size_t byte = at % row.bytesPerRow;
            if (byte < 5 * pixel)
                expected[at] = pattern(expected.size())[at - byte % pixel + (row.order[byte % pixel] - '0')];
        }
        MemoryStage stage({page});
        CHECK(stage.run() == "SDDDE0 ");
        CHECK(stage.received == expected);
        const auto line = [&](int rowsOfStrip, int y) {
            return "5x" + std::to_string(rowsOfStrip) + " at 0," + std::to_string(y) + ": " +
                   std::to_string(rowsOfStrip * row.bytesPerRow) + " bytes, rows of " +
                   std::to_string(row.bytesPerRow) + (row.isDib ? " as in a DIB" : "");
        };
        CHECK(stage.strips == Lines{line(2, 0), line(2, 2), line(1, 4)});
        const std::string swap = pixel == 2 ? "Swap hi-byte & lo-byte data" : "Swap R,G data";
        CHECK(stage.viewer.traces().with("Swap") ==
              (pixel == 0 ? 0 : 3) * Lines{swap + " in TScanModuke::DoMemXfer"});
        CHECK(stage.viewer.warnings().with("not 4-byte align in TScanModule::DoMemXfer").size() ==
              (row.isUnaligned ? 3 : 0));
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("strips narrower than the image are converted as wide as they are") {
    // The right half of an image of 4 x 2, whose rows end with a byte that is no pixel.
    const Strip tile{{7, 2, 2, 2, 0, 14}, {1, 2, 3, 4, 5, 6, 'p', 7, 8, 9, 10, 11, 12, 'q'}, TWRC_XFERDONE};
    MemoryStage stage({{imageInfo(TWPT_RGB, 24, 4, 2), {tile}}});
    stage.run();
    CHECK(stage.strips == Lines{"2x2 at 2,0: 14 bytes, rows of 7"});
    CHECK(stage.received == Bytes{3, 2, 1, 6, 5, 4, 'p', 9, 8, 7, 12, 11, 10, 'q'});
}

TEST_CASE("rows that disagree with the bytes are counted anew") {
    struct Row {
        StripFacts said;
        const char* seen;
        int warnings;
    };
    const Row rows[] = {
        {{4, 4, 5, 0, 0, 12}, "4x3 at 0,0: 12 bytes, rows of 4 as in a DIB", 1},
        {{4, 4, 1, 0, 0, 12}, "4x3 at 0,0: 12 bytes, rows of 4 as in a DIB", 1},
        {{4, 4, 3, 0, 0, 11}, "4x2 at 0,0: 11 bytes, rows of 4 as in a DIB", 1},
        {{6, 4, 2, 0, 0, 12}, "4x2 at 0,0: 12 bytes, rows of 6", 1},
        {{0, 4, 5, 0, 0, 12}, "4x0 at 0,0: 12 bytes, rows of 0", 1},
        {{4, 4, 0, 0, 0, 0}, "4x0 at 0,0: 0 bytes, rows of 4 as in a DIB", 0},
    };
    for (const Row& row : rows) {
        MemoryStage stage({{imageInfo(TWPT_GRAY, 8, 4, 3), {{row.said, pattern(12), TWRC_XFERDONE}}}});
        stage.run();
        CHECK(stage.strips == Lines{row.seen});
        CHECK(stage.viewer.warnings().with("not 4-byte align").size() == row.warnings);
    }
}

TEST_CASE("strips that lie touch nothing outside the buffer") {
    constexpr TW_UINT32 size = 4000;  // the rest of the page lies before it
    constexpr TW_UINT32 most = 0xFFFFFFFF;
    struct Row {
        const char* name;
        StripFacts said;
        TW_UINT32 bytesSeen;
    };
    const Row rows[] = {
        {"rows of no bytes", {0, 10, 10, 0, 0, 300}, 300},
        {"rows beyond the buffer", {60, 10, 1000, 0, 0, 600}, 600},
        {"rows and bytes beyond the buffer", {60, 10, 1000, 0, 0, 60000}, size},
        {"columns wider than the row", {60, 100000, 66, 0, 0, 3960}, 3960},
        {"the last row only in part", {3000, 500, 2, 0, 0, 6000}, size},
        {"a row beyond the buffer", {8000, 1000, 1, 0, 0, 8000}, size},
        {"everything", {most, most, most, most, most, most}, size},
        {"a product that wraps to nothing", {0x10000, 0x10000, 0x10000, 0, 0, 0}, 0},
    };
    for (const Row& row : rows) {
        for (const auto& [type, bits] : {std::pair<TW_INT16, TW_INT16>{2, 24}, {2, 48}, {1, 16}}) {
            CAPTURE(row.name);
            CAPTURE(bits);
            MemoryStage stage({{imageInfo(type, bits, 10, 10), {{row.said, pattern(size), TWRC_XFERDONE}}}});
            GuardedBuffer buffer(size);
            stage.host.onXferStart = [&](TXferImageInfo& image) {
                *image.Target.Buffer = {size, buffer.data()};
            };
            stage.host.onXferData = [&](const TXferStripInfo& seen) {
                CHECK(seen.BytesWritten == row.bytesSeen);
                CHECK(uint64_t{seen.Rows} * seen.BytesPerRow <= size);
            };
            CHECK(stage.run() == "SDE0 ");
            CHECK(std::accumulate(buffer.data() + size - 4096, buffer.data(), 0) == 0);
        }
    }
}
