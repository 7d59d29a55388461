// The strips of a memory transfer: the buffers they go into, how they are described and corrected, their byte
// order, and what a source that lies may do, however its strips are used.
#include <algorithm>
#include <numeric>

#include "BatchStage.h"
#include "OneShotStage.h"
#include "Story.h"

TEST_CASE("the sizes that a source asks for, and those that make no sense") {
    struct Row {
        Answer answer;
        std::string values, record;  // what the host is told, and the adjustments
    };
    const auto said = [](TW_UINT32 min, TW_UINT32 max, TW_UINT32 preferred) {
        return copy(TW_SETUPMEMXFER{min, max, preferred});
    };
    const std::string noMin = "! min == 0, Adjust it in @; ", noMax = "! max == 0, Adjust it in @; ",
                      badPreferred = "! illegal preferred size, Adjust it in @; ";
    const Row rows[] = {
        {said(10, 30, 10), "10 30 10", ""},
        {said(10, 30, 30), "10 30 30", ""},
        {said(10, 30, 9), "10 30 10", badPreferred},
        {said(10, 30, 31), "10 30 10", badPreferred},
        {said(0, 100000, 70000), "65536 100000 70000", noMin},
        {said(10, 0, 20), "10 65536 20", noMax},
        {said(0, 0, 0), "65536 65536 65536", noMin + noMax + badPreferred},
        {said(1, 0xFFFFFFFF, 0x80000000), "1 4294967295 2147483648", ""},
        {failWith(TWCC_OPERATIONERROR), "65536 65536 65536", "!failure; "},
    };
    Stage stage;
    const auto ask = [&] {
        unsigned sizes[] = {1, 2, 3};
        const int result = stage.module.GetMemXferSize(&sizes[0], &sizes[1], &sizes[2]);
        journal.push_back("result " + std::to_string(result) + " " + std::to_string(sizes[0]) + " " +
                          std::to_string(sizes[1]) + " " + std::to_string(sizes[2]));
    };
    ask();
    checkStory(stage, "! Sequence error in @; result 11 1 2 3", "GetMemXferSize");
    stage.open();
    for (const Row& row : rows) {
        stage.manager.answer(operation::setupMemory, row.answer);
        ask();
        const std::string result = std::to_string(row.answer.conditionCode);
        checkStory(stage, "SETUPMEMXFER; " + row.record + "result " + result + " " + row.values,
                   "GetMemXferSize");
    }
}

TEST_CASE("the module's buffer: preferred size, else the minimum, else the maximum") {
    struct Row {
        TW_UINT32 min, max, preferred;
        SIZE_T largest;  // allocations of this size fail
        std::vector<SIZE_T> tried;
    };
    const TW_UINT32 huge = 0x7FFF0000;
    const Row rows[] = {
        {600000, 800000, 700000, 800001, {700000}},
        {600000, 800000, 700000, 700000, {700000, 600000}},
        {huge, 500000, huge, 600000, {huge, huge, 500000}},
        {600000, 800000, 700000, 600000, {700000, 600000, 800000}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.tried);
        BatchStage stage({grayPage()});
        stage.source.setBufferSizes(row.min, row.max, row.preferred);
        stage.windows.largestAllocation = row.largest;
        stage.run();
        std::vector<SIZE_T> tried;
        for (const SIZE_T size : stage.windows.allocations)
            if (size >= 500000) tried.push_back(size);
        CHECK(tried == row.tried);
        const bool failed = stage.source.requests().empty();
        CHECK(failed == (row.tried.back() >= row.largest));
        CHECK(stage.host.messages().back() == (failed ? "XferEnd 2" : "XferEnd 0"));
        CHECK(stage.viewer.warnings().with("Low") == failed * Lines{"Low Memory in TScanModule::DoMemXfer"});
        if (!failed) CHECK(stage.source.requests().back().Length == row.tried.back());
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
    // Each image has one of its own.
    BatchStage stage({grayPage(), grayPage()});
    stage.host.onMessage = [&](const std::string& line) {
        if (line == "XferEnd 0") stage.source.setBufferSizes(64, 4096, 2048);
    };
    stage.run();
    CHECK(stage.source.requests().front().Length == 1024);
    CHECK(stage.source.requests().back().Length == 2048);
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
        BatchStage stage({grayPage()});
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
        stage.run();
        CHECK(strips == row.strips);
        CHECK(stage.viewer.traces().with("Memory buffer size").size() == row.allocated);
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("every layout arrives whole, is put into the order of a DIB where it has one, and described") {
    struct Row {
        TW_INT16 pixelType, bits;
        TW_UINT32 bytesPerRow;
        std::string kind;  // planar, compressed; as in a DIB or unaligned; Bytes or Colours exchanged
    };
    const Row rows[] = {
        {TWPT_BW, 1, 1, "u"},      {TWPT_BW, 1, 4, "d"},     {TWPT_PALETTE, 4, 4, "d"},
        {TWPT_GRAY, 8, 5, "u"},    {TWPT_GRAY, 8, 8, "d"},   {TWPT_GRAY, 16, 10, "uB"},
        {TWPT_GRAY, 16, 12, "dB"}, {TWPT_RGB, 24, 15, "uC"}, {TWPT_RGB, 24, 16, "dC"},
        {TWPT_RGB, 24, 20, "uC"},  {TWPT_RGB, 48, 32, "dC"}, {TWPT_GRAY, 16, 12, "pd"},
        {TWPT_RGB, 24, 8, "pu"},   {TWPT_RGB, 24, 16, "c"},  {TWPT_GRAY, 16, 12, "c"},
        {TWPT_CMYK, 32, 20, ""},   {TWPT_YUV, 24, 15, ""},
    };
    BatchStage stage;
    for (const Row& row : rows) {
        CAPTURE(&row - rows);
        const auto is = [&](char kind) { return row.kind.find(kind) != std::string::npos; };
        const Bytes all = pattern(row.bytesPerRow * 5);
        Page page{imageInfo(row.pixelType, row.bits, 5, 5), cutRows(all, row.bytesPerRow, 5, 3)};
        page.info.Planar = is('p');
        if (is('c')) page.info.Compression = TWCP_PACKBITS;
        stage.run({page});
        // What the exchanges do has its own test.
        const bool swaps = is('B') || is('C');
        CHECK((stage.received == all) == !swaps);
        const std::string what = is('B') ? "Swap hi-byte & lo-byte data" : "Swap R,G data";
        CHECK(stage.viewer.traces().with("Swap") == 2 * swaps * Lines{what + " in TScanModuke::DoMemXfer"});
        const std::string length = std::to_string(row.bytesPerRow), dib = is('d') ? " as in a DIB" : "";
        CHECK(
            stage.strips ==
            Lines{"5x3 at 0,0: " + std::to_string(3 * row.bytesPerRow) + " bytes, rows of " + length + dib,
                  "5x2 at 0,3: " + std::to_string(2 * row.bytesPerRow) + " bytes, rows of " + length + dib});
        CHECK(stage.viewer.warnings() ==
              (is('u') ? 2 : 0) * Lines{"not 4-byte align in TScanModule::DoMemXfer"});
    }
}

TEST_CASE("rows that disagree with the bytes are counted anew") {
    const std::pair<StripFacts, const char*> rows[] = {
        {{4, 4, 5, 0, 0, 12}, "4x3 at 0,0: 12 bytes, rows of 4 as in a DIB"},
        {{4, 4, 1, 0, 0, 12}, "4x3 at 0,0: 12 bytes, rows of 4 as in a DIB"},
        {{4, 4, 3, 0, 0, 11}, "4x2 at 0,0: 11 bytes, rows of 4 as in a DIB"},
        {{6, 3, 2, 1, 5, 12}, "3x2 at 1,5: 12 bytes, rows of 6"},
        {{3, 4, 3, 0, 0, 12}, "4x4 at 0,0: 12 bytes, rows of 3"},
        {{0, 4, 5, 0, 0, 12}, "4x0 at 0,0: 12 bytes, rows of 0"},
        {{4, 4, 0, 0, 0, 0}, "4x0 at 0,0: 0 bytes, rows of 4 as in a DIB"},
    };
    BatchStage stage;
    for (const auto& [said, seen] : rows) {
        stage.run({{imageInfo(TWPT_GRAY, 8, 4, 3), {{said, pattern(12), TWRC_XFERDONE}}}});
        CHECK(stage.strips == Lines{seen});
        CHECK(stage.viewer.warnings().with("not 4-byte align").size() == (said.bytesWritten != 0));
    }
}

namespace {

constexpr TW_UINT32 most = 0xFFFFFFFF;
// What a source may lie about an image of 10 pixels a row and a buffer of 300 bytes.
const StripFacts lies[] = {
    {0, 10, 10, 0, 0, 300},                // rows of no bytes
    {30, 10, 1000, 0, 0, 300},             // rows beyond the buffer
    {30, 10, 10, 0, 0, 60000},             // bytes beyond it
    {32, 10, 100000, 0, 0, 60000},         // both
    {200, 10, 2, 0, 0, 400},               // the last row only in part
    {30, 100000, 10, 0, 0, 300},           // columns wider than the row
    {100000, 33333, 10, 0, 0, 300},        // columns and rows wider than the page
    {100000, 10, 1, 0, 0, 100000},         // a row beyond the buffer
    {300, 100, 1, 0, 0, 300},              // columns that fill a row wider than the page
    {30, 0, 10, 0, 0, 300},                // no columns
    {30, 10, 10, 0, 5, 300},               // rows below the image
    {30, 10, 10, 0, most, 300},            // far below it
    {30, 10, 10, most, 0, 300},            // far to the right
    {0x10000, 0x10000, 0x10000, 0, 0, 0},  // products that wrap: to nothing,
    {2, 0x55555556, 2, 0, 0, 300},         // and to a row's bytes
    {most, most, most, most, most, most},  // everything
};

Page liar(const StripFacts& said, TW_INT16 type, TW_INT16 bits, bool planar = false) {
    Page page{imageInfo(type, bits, 10, 10), {{said, pattern(3000), TWRC_XFERDONE}}};
    page.info.Planar = planar;
    return page;
}
using Kind = std::pair<TW_INT16, TW_INT16>;

// Nothing was written before a buffer at the end of a page.
bool isClean(const GuardedBuffer& buffer) {
    const uint8_t* const end = buffer.data() + buffer.size();
    return std::accumulate(end - 4096, end - buffer.size(), 0) == 0;
}

}  // namespace

TEST_CASE("strips that lie, pushed: nothing is touched outside the host's buffer") {
    BatchStage stage;
    for (const StripFacts& said : lies) {
        CAPTURE(&said - lies);
        for (const auto& [type, bits] : {Kind{2, 24}, {2, 48}, {1, 16}}) {
            const GuardedBuffer buffer(300);
            stage.host.onXferStart = [&](TXferImageInfo& image) {
                *image.Target.Buffer = {300, buffer.data()};
            };
            stage.host.onXferData = [&](const TXferStripInfo& seen) {
                CHECK(seen.BytesWritten == std::min<TW_UINT32>(said.bytesWritten, 300));
                CHECK(uint64_t{seen.Rows} * seen.BytesPerRow <= 300);
            };
            stage.run({liar(said, type, bits)});
            CHECK(stage.host.messages() == Lines{"XferStart", "XferData", "XferEnd 0"});
            CHECK(isClean(buffer));
        }
    }
}

TEST_CASE("strips that lie, pulled: nor outside the buffer and its slack of one row") {
    for (const std::string maker : {"KAVRO", "Another Maker"}) {
        Stage stage;
        PageSource source(stage.manager);
        lstrcpynA(stage.manager.defaultSource().Manufacturer, maker.c_str(), sizeof(TW_STR32));
        stage.enable();
        stage.windows.guardBlocks = true;
        for (const StripFacts& said : lies) {
            CAPTURE(&said - lies);
            for (const auto& [type, bits] : {Kind{2, 24}, {1, 8}, {0, 1}}) {
                source.put({liar(said, type, bits)});
                const GuardedBuffer buffer(300 + (type == TWPT_RGB ? 30 : 10));
                unsigned count = 0;
                CHECK(stage.module.ReadBlock(buffer.data(), 300, &count) == 1);
                CHECK(isClean(buffer));
            }
        }
    }
}

TEST_CASE("strips that lie, stored: nothing of the module's memory gets into the file") {
    OneShotStage stage;
    stage.source.setBufferSizes(64, 300, 300);
    for (const StripFacts& said : lies) {
        for (const bool planar : {false, true}) {
            CAPTURE(&said - lies);
            stage.source.put({liar(said, TWPT_RGB, 24, planar)});
            stage.windows.guardBlocks = false;
            stage.start();
            stage.windows.guardBlocks = true;
            stage.finish();
            CHECK(stage.fileBytes().size() <= 54 + 320 + 300);
        }
    }
}
