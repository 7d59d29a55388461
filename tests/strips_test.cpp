// The strips of a memory transfer: the buffers they go into, how they are described and corrected, their byte
// order, and what a source that lies may do.
#include <doctest.h>

#include <algorithm>
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
        TW_UINT32 min, max, preferred;
        SIZE_T largest;  // allocations of this size fail
        std::vector<SIZE_T> tried;
        const char* story;
    };
    const TW_UINT32 huge = 0x7FFF0000;
    const Row rows[] = {
        {600000, 800000, 700000, 800001, {700000}, "SDDE0 "},
        {600000, 800000, 700000, 700000, {700000, 600000}, "SDDE0 "},
        {huge, 500000, huge, 600000, {huge, huge, 500000}, "SDDE0 "},
        {600000, 800000, 700000, 600000, {700000, 600000, 800000}, "SE2 "},
    };
    for (const Row& row : rows) {
        CAPTURE(row.tried);
        MemoryStage stage({grayPage()});
        stage.source.setBufferSizes(row.min, row.max, row.preferred);
        stage.enable(true);
        stage.windows.largestAllocation = row.largest;
        stage.deliver(MSG_XFERREADY);
        std::vector<SIZE_T> tried;
        for (const SIZE_T size : stage.windows.allocations)
            if (size >= 500000) tried.push_back(size);
        CHECK(tried == row.tried);
        CHECK(stage.story() == row.story);
        const bool failed = stage.source.requests().empty();
        CHECK(stage.viewer.warnings().with("Low Memory in TScanModule::DoMemXfer").size() == failed);
        if (!failed) CHECK(stage.source.requests().back().Length == row.tried.back());
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("where each strip goes is the host's choice") {
    GuardedBuffer first(100), second(200);
    struct Row {
        bool ownAtStart;
        SmBufferDescriptor exchanged;  // what the handler of the first strip puts into the descriptor
        const char* strips;            // the buffers: the host's first or second, or the module's
        size_t allocated;
    };
    const Row rows[] = {
        {true, {100, first.data()}, "first 100 first 100 ", 0},
        {true, {200, second.data()}, "first 100 second 200 ", 0},
        {false, {200, second.data()}, "1024 second 200 ", 1},
        {true, {0, nullptr}, "first 100 1024 ", 1},
        {true, {200, nullptr}, "first 100 1024 ", 1},
        {true, {0, second.data()}, "first 100 1024 ", 1},
        {false, {0, nullptr}, "1024 1024 ", 1},
    };
    for (const Row& row : rows) {
        CAPTURE(&row - rows);
        MemoryStage stage({grayPage()});
        stage.host.onXferStart = [&](TXferImageInfo& image) {
            if (row.ownAtStart) *image.Target.Buffer = {100, first.data()};
        };
        std::string strips;
        stage.host.onXferData = [&](const TXferStripInfo& strip) {
            const TW_MEMORY& asked = stage.source.requests().back();
            CHECK(asked.Flags == 9);  // the application's memory, given as a pointer
            CHECK(strip.Buffer->BufferPointer == asked.TheMem);
            CHECK(strip.Buffer->BufferSize == asked.Length);
            strips += asked.TheMem == first.data() ? "first " : "";
            strips += asked.TheMem == second.data() ? "second " : "";
            strips += std::to_string(asked.Length) + " ";
            if (stage.received.empty()) *strip.Buffer = row.exchanged;
            stage.received.push_back(0);
        };
        CHECK(stage.run() == "SDDE0 ");
        CHECK(strips == row.strips);
        CHECK(stage.viewer.traces().with("Memory buffer size").size() == row.allocated);
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("every layout arrives byte for byte, in the order of a DIB") {
    struct Row {
        TW_INT16 pixelType, bits;
        TW_UINT32 bytesPerRow;
        std::string order;  // the source bytes of each pixel as the host finds them; empty: as they are
        std::string kind;   // planar, compressed; as in a DIB or unaligned
    };
    const Row rows[] = {
        {TWPT_BW, 1, 1, "", "u"},       {TWPT_BW, 1, 4, "", "d"},          {TWPT_PALETTE, 4, 4, "", "d"},
        {TWPT_GRAY, 8, 5, "", "u"},     {TWPT_GRAY, 8, 8, "", "d"},        {TWPT_GRAY, 16, 10, "10", "u"},
        {TWPT_GRAY, 16, 12, "10", "d"}, {TWPT_RGB, 24, 15, "210", "u"},    {TWPT_RGB, 24, 16, "210", "d"},
        {TWPT_RGB, 24, 20, "210", "u"}, {TWPT_RGB, 48, 32, "543210", "d"}, {TWPT_GRAY, 16, 12, "", "pd"},
        {TWPT_RGB, 24, 8, "", "pu"},    {TWPT_RGB, 24, 16, "", "c"},       {TWPT_GRAY, 16, 12, "", "c"},
        {TWPT_CMYK, 32, 20, "", ""},    {TWPT_YUV, 24, 15, "", ""},
    };
    for (const Row& row : rows) {
        CAPTURE(&row - rows);
        const auto is = [&](char kind) { return row.kind.find(kind) != std::string::npos; };
        Page page{imageInfo(row.pixelType, row.bits, 5, 5), {}};
        page.info.Planar = is('p');
        if (is('c')) page.info.Compression = TWCP_PACKBITS;
        Bytes expected = pattern(row.bytesPerRow * 5);
        page.strips = cutRows(expected, row.bytesPerRow, 5, 3);
        const size_t pixel = row.order.size();
        for (size_t at = 0; at < expected.size(); ++at) {
            const size_t byte = at % row.bytesPerRow;
            if (byte < 5 * pixel)
                expected[at] = pattern(expected.size())[at - byte % pixel + (row.order[byte % pixel] - '0')];
        }
        MemoryStage stage({page});
        CHECK(stage.run() == "SDDE0 ");
        CHECK(stage.received == expected);
        const std::string bytes = std::to_string(row.bytesPerRow), dib = is('d') ? " as in a DIB" : "";
        CHECK(stage.strips ==
              Lines{"5x3 at 0,0: " + std::to_string(3 * row.bytesPerRow) + " bytes, rows of " + bytes + dib,
                    "5x2 at 0,3: " + std::to_string(2 * row.bytesPerRow) + " bytes, rows of " + bytes + dib});
        const std::string swap = pixel == 2 ? "Swap hi-byte & lo-byte data" : "Swap R,G data";
        CHECK(stage.viewer.traces().with("Swap") ==
              (pixel == 0 ? 0 : 2) * Lines{swap + " in TScanModuke::DoMemXfer"});
        CHECK(stage.viewer.warnings().with("not 4-byte align in TScanModule::DoMemXfer").size() ==
              (is('u') ? 2 : 0));
    }
}

TEST_CASE("rows that disagree with the bytes are counted anew") {
    const std::pair<StripFacts, const char*> rows[] = {
        {{4, 4, 5, 0, 0, 12}, "4x3 at 0,0: 12 bytes, rows of 4 as in a DIB"},
        {{4, 4, 1, 0, 0, 12}, "4x3 at 0,0: 12 bytes, rows of 4 as in a DIB"},
        {{4, 4, 3, 0, 0, 11}, "4x2 at 0,0: 11 bytes, rows of 4 as in a DIB"},
        {{6, 4, 2, 0, 0, 12}, "4x2 at 0,0: 12 bytes, rows of 6"},
        {{0, 4, 5, 0, 0, 12}, "4x0 at 0,0: 12 bytes, rows of 0"},
        {{4, 4, 0, 0, 0, 0}, "4x0 at 0,0: 0 bytes, rows of 4 as in a DIB"},
    };
    for (const auto& [said, seen] : rows) {
        MemoryStage stage({{imageInfo(TWPT_GRAY, 8, 4, 3), {{said, pattern(12), TWRC_XFERDONE}}}});
        stage.run();
        CHECK(stage.strips == Lines{seen});
        CHECK(stage.viewer.warnings().with("not 4-byte align").size() == (said.bytesWritten != 0));
    }
}

TEST_CASE("strips that lie touch nothing outside the buffer") {
    for (const StripFacts& said : lies) {
        for (const auto& [type, bits] : {std::pair<TW_INT16, TW_INT16>{2, 24}, {2, 48}, {1, 16}}) {
            CAPTURE(&said - lies.data());
            CAPTURE(bits);
            MemoryStage stage({{imageInfo(type, bits, 10, 10), {{said, pattern(300), TWRC_XFERDONE}}}});
            GuardedBuffer buffer(300);  // the rest of the page lies before it
            stage.host.onXferStart = [&](TXferImageInfo& image) {
                *image.Target.Buffer = {300, buffer.data()};
            };
            stage.host.onXferData = [&](const TXferStripInfo& seen) {
                CHECK(seen.BytesWritten == std::min<TW_UINT32>(said.bytesWritten, 300));
                CHECK(uint64_t{seen.Rows} * seen.BytesPerRow <= 300);
            };
            CHECK(stage.run() == "SDE0 ");
            CHECK(std::accumulate(buffer.data() + 300 - 4096, buffer.data(), 0) == 0);
        }
    }
}
