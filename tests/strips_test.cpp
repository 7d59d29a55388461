// The strips of a memory transfer: the buffers they go into, how they are described and corrected, their byte
// order, and what a source that lies may do, however its strips are used.
#include <algorithm>
#include <numeric>

#include "BatchStage.h"
#include "OneShotStage.h"
#include "Story.h"

TEST_CASE("the sizes that a source asks for, and those that make no sense") {
    const auto said = [](TW_UINT32 min, TW_UINT32 max, TW_UINT32 preferred) {
        return copy(TW_SETUPMEMXFER{min, max, preferred});
    };
    const std::string noMin = "! min == 0, Adjust it in @; ", noMax = "! max == 0, Adjust it in @; ",
                      badPreferred = "! illegal preferred size, Adjust it in @; ";
    const std::pair<Answer, std::string> rows[] = {
        {said(10, 30, 10), "result 0; value 10 30 10"},
        {said(10, 30, 30), "result 0; value 10 30 30"},
        {said(10, 30, 9), badPreferred + "result 0; value 10 30 10"},
        {said(10, 30, 31), badPreferred + "result 0; value 10 30 10"},
        {said(0, 100000, 70000), noMin + "result 0; value 65536 100000 70000"},
        {said(10, 0, 20), noMax + "result 0; value 10 65536 20"},
        {said(0, 0, 0), noMin + noMax + badPreferred + "result 0; value 65536 65536 65536"},
        {said(1, 0xFFFFFFFF, 0x80000000), "result 0; value 1 4294967295 2147483648"},
        {failWith(TWCC_OPERATIONERROR), "!failure; result 5; value 65536 65536 65536"},
    };
    Stage stage;
    const auto check = [&](const std::string& record) { checkCall(stage, "GetMemXferSize 7 8 9", record); };
    check("!sequence; value 7 8 9");
    stage.open();
    for (const auto& [answer, record] : rows) {
        stage.manager.answer(operation::setupMemory, answer);
        check("SETUPMEMXFER; " + record);
    }
}

TEST_CASE("the module's buffer: preferred size, else the minimum, else the maximum") {
    // What the source says, the allocation that fails, what is tried, and what the source is handed.
    const std::tuple<TW_SETUPMEMXFER, SIZE_T, Lines, TW_UINT32> rows[] = {
        {{600000, 800000, 700000}, 800001, {"700000"}, 700000},
        {{600000, 800000, 700000}, 700000, {"700000", "600000"}, 600000},
        {{0x7FFF0000, 500000, 0x7FFF0000}, 600000, {"2147418112", "2147418112", "500000"}, 500000},
        {{600000, 800000, 700000}, 600000, {"700000", "600000", "800000"}, 0},
    };
    for (const auto& [sizes, largest, expected, granted] : rows) {
        CAPTURE(expected);
        BatchStage stage({grayPage(), grayPage()});
        stage.source.bufferSizes = sizes;
        stage.windows.largestAllocation = largest;
        stage.run();
        Lines tried;
        for (const SIZE_T size : stage.windows.allocations)
            if (size >= 500000) tried.push_back(std::to_string(size));
        CHECK(tried == 2 * expected);  // each image has a buffer of its own
        const bool failed = stage.source.requests.empty();
        CHECK((failed ? 0 : stage.source.requests.back().Length) == granted);
        CHECK(stage.host.messages().back() == (failed ? "XferEnd 2" : "XferEnd 0"));
        const Lines warning = {"Low Memory in TScanModule::DoMemXfer"};
        CHECK(stage.viewer.warnings().with("Low") == 2 * failed * warning);
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("where each strip goes is the host's choice") {
    GuardedBuffer first(100), second(200);
    const SmBufferDescriptor none = {}, own = {100, first.data()}, other = {200, second.data()};
    // What the host's handlers of the start and of the first strip put into the descriptor; then the sizes of
    // the buffers: the module's own has 1024 bytes.
    const std::tuple<SmBufferDescriptor, SmBufferDescriptor, std::string> rows[] = {
        {own, own, "100 100 "},
        {own, other, "100 200 "},
        {none, other, "1024 200 "},
        {own, none, "100 1024 "},
        {own, {200, nullptr}, "100 1024 "},
        {own, {0, second.data()}, "100 1024 "},
        {none, none, "1024 1024 "},
    };
    for (const auto& row : rows) {
        CAPTURE(std::get<2>(row));
        BatchStage stage({grayPage()});
        stage.host.onXferStart = [&](TXferImageInfo& image) { *image.Target.Buffer = std::get<0>(row); };
        std::string strips;
        stage.host.onXferData = [&](const TXferStripInfo& strip) {
            const TW_MEMORY& asked = stage.source.requests.back();
            CHECK(asked.Flags == 9);  // the application's memory, given as a pointer
            CHECK(strip.Buffer->BufferPointer == asked.TheMem);
            CHECK(strip.Buffer->BufferSize == asked.Length);
            if (strips.empty()) *strip.Buffer = std::get<1>(row);
            CHECK((asked.TheMem == first.data()) == (asked.Length == 100));
            CHECK((asked.TheMem == second.data()) == (asked.Length == 200));
            strips += std::to_string(asked.Length) + " ";
        };
        stage.run();
        CHECK(strips == std::get<2>(row));
        const bool usesOwn = strips.find("1024") != std::string::npos;
        CHECK(stage.viewer.traces().with("Memory buffer size").size() == usesOwn);
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("every layout arrives whole, is put into the order of a DIB where it has one, and described") {
    // Of a pixel type, bits, the bytes of a row: planar, compressed; as in a DIB or unaligned; Bytes or
    // Colours exchanged.
    const std::tuple<TW_INT16, TW_INT16, TW_UINT32, std::string> rows[] = {
        {TWPT_BW, 1, 1, "u"},      {TWPT_BW, 1, 4, "d"},     {TWPT_PALETTE, 4, 4, "d"},
        {TWPT_GRAY, 8, 5, "u"},    {TWPT_GRAY, 8, 8, "d"},   {TWPT_GRAY, 16, 10, "uB"},
        {TWPT_GRAY, 16, 12, "dB"}, {TWPT_RGB, 24, 15, "uC"}, {TWPT_RGB, 24, 16, "dC"},
        {TWPT_RGB, 24, 20, "uC"},  {TWPT_RGB, 48, 32, "dC"}, {TWPT_GRAY, 16, 12, "pd"},
        {TWPT_RGB, 24, 8, "pu"},   {TWPT_RGB, 24, 16, "c"},  {TWPT_GRAY, 16, 12, "c"},
        {TWPT_CMYK, 32, 20, ""},   {TWPT_YUV, 24, 15, ""},
    };
    BatchStage stage;
    for (const auto& [pixelType, bits, bytesPerRow, kind] : rows) {
        CAPTURE(pixelType);
        CAPTURE(bytesPerRow);
        const auto is = [&kinds = kind](char one) { return kinds.find(one) != std::string::npos; };
        Page page = imagePage(pixelType, bits, 5, 5, bytesPerRow, 3, is('p'));
        if (is('c')) page.info.Compression = TWCP_PACKBITS;
        stage.run({page});
        // What the exchanges do has its own test.
        const bool swaps = is('B') || is('C');
        CHECK((stage.received == pattern(bytesPerRow * 5)) == !swaps);
        const std::string what = is('B') ? "Swap hi-byte & lo-byte data" : "Swap R,G data";
        CHECK(stage.viewer.traces().with("Swap") == 2 * swaps * Lines{what + " in TScanModuke::DoMemXfer"});
        const std::string rest =
            " bytes, rows of " + std::to_string(bytesPerRow) + (is('d') ? " as in a DIB" : "");
        CHECK(stage.strips == Lines{"5x3 at 0,0: " + std::to_string(3 * bytesPerRow) + rest,
                                    "5x2 at 0,3: " + std::to_string(2 * bytesPerRow) + rest});
        CHECK(stage.viewer.warnings() == 2 * is('u') * Lines{"not 4-byte align in TScanModule::DoMemXfer"});
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

Page liar(const StripFacts& said, TW_INT16 type, TW_INT16 bits) {
    return {imageInfo(type, bits, 10, 10), {{said, pattern(3000), TWRC_XFERDONE}}};
}

// Nothing was written before a buffer at the end of a page.
bool isClean(const GuardedBuffer& buffer) {
    const uint8_t* const end = buffer.data() + buffer.size();
    return std::accumulate(end - 4096, end - buffer.size(), 0) == 0;
}

}  // namespace

TEST_CASE("strips that lie: nothing is touched outside the host's buffer, and a pull's slack of one row") {
    using Kind = std::pair<TW_INT16, TW_INT16>;
    BatchStage stage;
    stage.windows.guardBlocks = true;
    for (const StripFacts& said : lies) {
        CAPTURE(&said - lies);
        for (const auto& [type, bits] : {Kind{2, 24}, {2, 48}, {1, 16}, {1, 8}, {0, 1}}) {
            const GuardedBuffer pushed(300), pulled(300 + (type == TWPT_RGB ? 30 : 10));
            stage.host.onXferStart = [&](TXferImageInfo& image) {
                *image.Target.Buffer = {300, pushed.data()};
            };
            stage.host.onXferData = [&](const TXferStripInfo& seen) {
                CHECK(seen.BytesWritten == std::min<TW_UINT32>(said.bytesWritten, 300));
                CHECK(uint64_t{seen.Rows} * seen.BytesPerRow <= 300);
            };
            stage.run({liar(said, type, bits)});
            CHECK(stage.host.messages() == Lines{"XferStart", "XferData", "XferEnd 0"});
            CHECK(isClean(pushed));
            stage.source.put({liar(said, type, bits)});
            unsigned count = 0;
            CHECK(stage.module.ReadBlock(pulled.data(), 300, &count) == 1);
            CHECK(isClean(pulled));
        }
    }
}

TEST_CASE("strips that lie, stored: nothing of the module's memory gets into the file") {
    OneShotStage stage;
    stage.windows.guardBlocks = true;
    stage.source.bufferSizes = {64, 300, 300};
    for (const StripFacts& said : lies) {
        for (const bool planar : {false, true}) {
            CAPTURE(&said - lies);
            Page page = liar(said, TWPT_RGB, 24);
            page.info.Planar = planar;
            stage.source.put({page});
            stage.scan();
            CHECK(stage.fileBytes().size() <= 54 + 320 + 300);
        }
    }
}
