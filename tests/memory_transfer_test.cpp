// Memory transfer: strips pushed to the host in the byte order of a DIB, into the module's buffer or the
// host's.
#include <doctest.h>

#include <algorithm>
#include <cstring>
#include <numeric>

#include "GuardedBuffer.h"
#include "PageSource.h"
#include "Stage.h"

namespace {

// A host that keeps what it gets.
struct MemoryStage : Stage {
    PageSource source{manager};
    Lines strips;
    Bytes received;

    explicit MemoryStage(std::vector<Page> pages = {}) {
        source.put(std::move(pages));
        host.onXferData = [this](const TXferStripInfo& strip) { keep(strip); };
    }

    void keep(const TXferStripInfo& strip) {
        strips.push_back(std::to_string(strip.Columns) + "x" + std::to_string(strip.Rows) + " at " +
                         std::to_string(strip.XOffset) + "," + std::to_string(strip.YOffset) + ": " +
                         std::to_string(strip.BytesWritten) + " bytes, rows of " +
                         std::to_string(strip.BytesPerRow) + (strip.DibAligned != 0 ? " as in a DIB" : ""));
        const auto* const bytes = static_cast<const uint8_t*>(strip.Buffer->BufferPointer);
        received.insert(received.end(), bytes, bytes + strip.BytesWritten);
    }

    // The whole batch; the host's messages.
    Lines run(bool showUI = true) {
        enable(showUI);
        deliver(MSG_XFERREADY);
        return host.messages();
    }
};

Page grayPage(TW_INT32 width = 4, TW_INT32 length = 4) {
    return {imageInfo(TWPT_GRAY, 8, width, length), cutRows(pattern(width * length), width, width, 2)};
}

// Pixels of a page rearranged as the host should find them: `order` lists the source bytes of each pixel.
Bytes rearranged(const Bytes& rows, size_t bytesPerRow, size_t columns, const std::vector<size_t>& order) {
    Bytes result = rows;
    const size_t size = order.size();
    for (size_t row = 0; row < rows.size(); row += bytesPerRow) {
        for (size_t pixel = row; pixel < row + columns * size; pixel += size)
            for (size_t i = 0; i < size; ++i)
                result[pixel + i] = rows[pixel + order[i]];
    }
    return result;
}

Lines tracesOf(const Stage& stage, const char* beginning) {
    const Lines all = stage.viewer.traces();
    Lines found;
    std::copy_if(all.begin(), all.end(), std::back_inserter(found),
                 [&](const std::string& line) { return line.rfind(beginning, 0) == 0; });
    return found;
}

// Each page from its announcement to its end, two strips each.
const Lines wholePage = {"XferStart", "XferData", "XferData", "XferEnd 0"};
const std::string unaligned = "not 4-byte align in TScanModule::DoMemXfer";

}  // namespace

TEST_CASE("every layout arrives byte for byte, in the order of a DIB") {
    const std::vector<size_t> asIs = {0}, swapped = {1, 0}, bgr = {2, 1, 0}, reversed = {5, 4, 3, 2, 1, 0};
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
        CHECK(tracesOf(stage, "Swap") == (*row.trace != '\0' ? 3 * Lines{row.trace} : Lines{}));
        const Lines warnings = stage.viewer.warnings();
        CHECK(std::count(warnings.begin(), warnings.end(), unaligned) == (row.isUnaligned ? 3 : 0));
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("what the exchanges do to single pixels") {
    struct Row {
        TW_INT16 pixelType, bits;
        TW_INT32 width;
        Bytes sent, received;
    };
    const Row rows[] = {
        {TWPT_GRAY, 16, 3, {1, 2, 3, 4, 5, 6}, {2, 1, 4, 3, 6, 5}},
        {TWPT_RGB, 24, 2, {'R', 'G', 'B', 'r', 'g', 'b'}, {'B', 'G', 'R', 'b', 'g', 'r'}},
        {TWPT_RGB, 48, 1, {'a', 'b', 'c', 'd', 'e', 'f'}, {'f', 'e', 'd', 'c', 'b', 'a'}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.bits);
        MemoryStage stage(
            {{imageInfo(row.pixelType, row.bits, row.width, 1), cutRows(row.sent, 6, row.width, 1)}});
        stage.run();
        CHECK(stage.received == row.received);
    }
}

TEST_CASE("a batch of two pages: every operation, message and line in its order") {
    MemoryStage stage({grayPage(), grayPage()});
    CHECK(stage.run(false) == 2 * wholePage + Lines{"CloseDSReq"});
    const Lines unit = refused("GETCURRENT ICAP_UNITS") + refused("GET ICAP_UNITS");
    const Lines page =
        Lines{"SETUPMEMXFER", "IMAGEINFO"} + unit + Lines{"IMAGEMEMXFER", "IMAGEMEMXFER", "ENDXFER"};
    CHECK(stage.manager.calls() == Lines{"PROCESSEVENT"} + refused("GETCURRENT ICAP_XFERMECH") +
                                       refused("GET ICAP_XFERMECH") + refused("GET ICAP_XFERMECH") +
                                       Lines{"IMAGEINFO"} + 2 * page);

    // The method's own lines, without those of the methods that it calls.
    const Lines all = stage.viewer.traces();
    Lines own;
    std::copy_if(all.begin(), all.end(), std::back_inserter(own),
                 [](const std::string& line) { return line.find("DoMemXfer") != std::string::npos; });
    const Lines strip = {"MSG_GET DAT_IMAGEMEMXFER in TScanModule::DoMemXfer",
                         "Send WM_XFERDATA in TScanModule::DoMemXfer"};
    const Lines pageLines = Lines{"Send WM_XFERSTART in TScanModule::DoMemXfer",
                                  "Process memory buffer in TScanModule::DoMemXfer",
                                  "Memory buffer size = 1024 in TScanModule::DoMemXfer",
                                  "Do while-loop to get image data in TScanModule::DoMemXfer"} +
                            2 * strip;
    CHECK(own == Lines{"Coming TScanModule::DoMemXfer"} + 2 * pageLines +
                     Lines{"Send SM_CLOSEDSREQ in TScanModule::DoMemXfer", "Leaving TScanModule::DoMemXfer"});
    CHECK(tracesOf(stage, "Mem Xfer Size") ==
          2 * Lines{"Mem Xfer Size min = 64 max = 4096preferred = 1024 in "
                    "TScanModule::GetMemXferSize"});
    CHECK(stage.windows.memoryComplaints() == Lines{});
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
        {"nothing", {4, 4, 0, 0, 0, 0}, "4x0 at 0,0: 0 bytes, rows of 4 as in a DIB", 0},
        {"all in order", {4, 4, 3, 0, 0, 12}, "4x3 at 0,0: 12 bytes, rows of 4 as in a DIB", 0},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        const Strip strip{row.said, pattern(12), TWRC_XFERDONE};
        MemoryStage stage({{imageInfo(TWPT_GRAY, 8, 4, 3), {strip}}});
        stage.run();
        CHECK(stage.strips == Lines{row.seen});
        const Lines warnings = stage.viewer.warnings();
        CHECK(std::count(warnings.begin(), warnings.end(), unaligned) == row.warnings);
    }
}

TEST_CASE("a page of unknown length ends with the strip that says so") {
    const Bytes rows = pattern(4 * 7);
    MemoryStage stage({{imageInfo(TWPT_GRAY, 8, 4, -1), cutRows(rows, 4, 4, 3)}});
    CHECK(stage.run() == Lines{"XferStart", "XferData", "XferData", "XferData", "XferEnd 0"});
    CHECK(stage.received == rows);
    CHECK(stage.host.images().front().ImageLength == -1);
}

TEST_CASE("sizes that make no sense are adjusted") {
    struct Row {
        TW_SETUPMEMXFER said;
        std::vector<unsigned> sizes;
        Lines warnings;
    };
    const std::string end = " in TScanModule::GetMemXferSize";
    const std::string noMin = "min == 0, Adjust it" + end, noMax = "max == 0, Adjust it" + end,
                      badPreferred = "illegal preferred size, Adjust it" + end;
    const Row rows[] = {
        {{10, 30, 20}, {10, 30, 20}, {}},
        {{10, 30, 10}, {10, 30, 10}, {}},
        {{10, 30, 30}, {10, 30, 30}, {}},
        {{10, 30, 9}, {10, 30, 10}, {badPreferred}},
        {{10, 30, 31}, {10, 30, 10}, {badPreferred}},
        {{10, 30, 0}, {10, 30, 10}, {badPreferred}},
        {{0, 100000, 70000}, {65536, 100000, 70000}, {noMin}},
        {{10, 0, 20}, {10, 65536, 20}, {noMax}},
        {{0, 0, 0}, {65536, 65536, 65536}, {noMin, noMax, badPreferred}},
        {{1, 0xFFFFFFFF, 0x80000000}, {1, 0xFFFFFFFF, 0x80000000}, {}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.said.MinBufSize);
        CAPTURE(row.said.Preferred);
        Stage stage;
        stage.open();
        stage.manager.answer(operation::setupMemory, copy(row.said));
        std::vector<unsigned> sizes(3);
        CHECK(stage.module.GetMemXferSize(&sizes[0], &sizes[1], &sizes[2]) == 0);
        CHECK(sizes == row.sizes);
        CHECK(stage.viewer.warnings() == row.warnings);
    }
}

TEST_CASE("sizes that can't be had") {
    const std::string method = "in TScanModule::GetMemXferSize";
    Stage stage;
    std::vector<unsigned> sizes = {1, 2, 3};
    const auto ask = [&] { return stage.module.GetMemXferSize(&sizes[0], &sizes[1], &sizes[2]); };
    SUBCASE("refused by the source") {
        stage.open();
        stage.manager.answer(operation::setupMemory, failWith(TWCC_OPERATIONERROR));
        CHECK(ask() == TWCC_OPERATIONERROR);
        CHECK(stage.manager.calls() == refused("SETUPMEMXFER"));
        CHECK(sizes == std::vector<unsigned>{0x10000, 0x10000, 0x10000});
        CHECK(stage.viewer.warnings() == Lines{"DSM_Entry returns failure " + method});
    }
    SUBCASE("no source open") {
        stage.forget();
        CHECK(ask() == 11);
        CHECK(stage.manager.calls() == Lines{});
        CHECK(sizes == std::vector<unsigned>{1, 2, 3});
        CHECK(stage.viewer.warnings() == Lines{"Sequence error " + method});
    }
}

TEST_CASE("the module's buffer: preferred size, else the minimum, else the maximum") {
    struct Row {
        TW_SETUPMEMXFER sizes;
        SIZE_T largest;  // allocations of this size fail
        TW_UINT32 used;  // 0: none could be had
    };
    const TW_UINT32 huge = 0x7FFF0000;
    const Row rows[] = {
        {{600000, 800000, 700000}, 800001, 700000},
        {{600000, 800000, 700000}, 700000, 600000},
        {{huge, 500000, huge},
         600000,
         500000},  // the preferred size becomes the minimum, the maximum is left
        {{600000, 800000, 700000}, 600000, 0},
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
        if (row.used == 0) {
            CHECK(stage.host.messages() == 2 * Lines{"XferStart", "XferEnd 2"});
            const Lines warnings = stage.viewer.warnings();
            CHECK(std::count(warnings.begin(), warnings.end(), "Low Memory in TScanModule::DoMemXfer") == 2);
        } else {
            CHECK(stage.host.messages() == 2 * wholePage);
            const TW_MEMORY& asked = stage.source.requests().back();
            CHECK(asked.Flags == 9);  // the application's memory, given as a pointer
            CHECK(asked.Length == row.used);
            CHECK(shown.BufferSize == row.used);
            CHECK(shown.BufferPointer == asked.TheMem);
            CHECK(
                tracesOf(stage, "Memory buffer size") ==
                2 * Lines{"Memory buffer size = " + std::to_string(row.used) + " in TScanModule::DoMemXfer"});
        }
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("where each strip goes is the host's choice") {
    GuardedBuffer first(100), second(200);
    // What the handler of the first strip puts into the descriptor, and the buffer that the next one gets.
    enum class Next { First, Second, Modules };
    struct Row {
        std::string name;
        bool ownAtStart;
        SmBufferDescriptor exchanged;
        Next next;
    };
    const Row rows[] = {
        {"the host's throughout", true, {100, first.data()}, Next::First},
        {"another of the host's", true, {200, second.data()}, Next::Second},
        {"the host's, later", false, {200, second.data()}, Next::Second},
        {"no more of the host's", true, {0, nullptr}, Next::Modules},
        {"a size without memory", true, {200, nullptr}, Next::Modules},
        {"memory without a size", true, {0, second.data()}, Next::Modules},
        {"the module's, cleared", false, {0, nullptr}, Next::Modules},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
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
        CHECK(stage.run() == wholePage);
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
        const auto allocated = tracesOf(stage, "Memory buffer size").size();
        CHECK(allocated == (row.ownAtStart && isHosts ? 0 : 1));
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("cancelling from each handler") {
    enum class From { Start, Data, End };
    struct Row {
        From from;
        bool all;
        Lines messages;
        Lines ends;
    };
    const Lines two = 2 * wholePage;
    const Lines afterStart = {"XferStart", "XferEnd -5"}, afterData = {"XferStart", "XferData", "XferEnd -5"};
    const Row rows[] = {
        {From::Start, false, afterStart + two, 3 * Lines{"ENDXFER"}},
        {From::Start, true, afterStart, {"ENDXFER", "RESET"}},
        {From::Data, false, afterData + two, 3 * Lines{"ENDXFER"}},
        {From::Data, true, afterData, {"ENDXFER", "RESET"}},
        {From::End, false, wholePage + two, 3 * Lines{"ENDXFER"}},
        {From::End, true, wholePage, {"ENDXFER", "RESET"}},
    };
    for (const Row& row : rows) {
        CAPTURE(static_cast<int>(row.from));
        CAPTURE(row.all);
        MemoryStage stage({grayPage(), grayPage(), grayPage()});
        bool done = false;
        const auto cancelFirst = [&](From from) {
            if (done || from != row.from) return;
            done = true;
            if (row.all)
                CHECK(stage.module.CancelAllXfer() == 1);
            else
                stage.module.CancelThisXfer();
        };
        stage.host.onXferStart = [&](TXferImageInfo&) { cancelFirst(From::Start); };
        stage.host.onXferData = [&](const TXferStripInfo&) { cancelFirst(From::Data); };
        stage.host.onXferEnd = [&](int, const TXferImageInfo&) { cancelFirst(From::End); };
        CHECK(stage.run() == row.messages);
        Lines ends = stage.manager.calls();
        ends.erase(
            std::remove_if(ends.begin(), ends.end(),
                           [](const std::string& call) { return call != "ENDXFER" && call != "RESET"; }),
            ends.end());
        CHECK(ends == row.ends);
        const Lines warnings = stage.viewer.warnings();
        CHECK(std::count(warnings.begin(), warnings.end(),
                         "AP cancel image xfer in TScanModule::DoMemXfer") == (row.from == From::Start));
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("a strip that fails ends its page with the source's reason, and the batch goes on") {
    struct Row {
        std::string name;
        Strip last;
        const char* end;
        const char* warning;
    };
    const char* const error = "Image xfer error in TScanModule::DoMemXfer";
    const Row rows[] = {
        {"cancelled", endedBy(TWRC_CANCEL), "XferEnd -4", "image xfer canceled in TScanModule::DoMemXfer"},
        {"unknown reason", failedWith(TWCC_BUMMER), "XferEnd 1", error},
        {"low memory", failedWith(TWCC_LOWMEMORY), "XferEnd 2", error},
        {"paper jam", failedWith(TWCC_PAPERJAM), "XferEnd 20", error},
        {"no reason", failedWith(TWCC_SUCCESS), "XferEnd 0", error},
        {"a code that makes no sense", endedBy(TWRC_ENDOFLIST), "XferEnd 0", error},
        {"a check condition", endedBy(TWRC_CHECKSTATUS), "XferEnd 0", error},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        Page page = grayPage();
        page.strips[1] = row.last;
        MemoryStage stage({page, grayPage()});
        stage.manager.answer(operation::getCurrent(ICAP_UNITS), give(oneValue(TWTY_UINT16, TWUN_INCHES)));
        stage.manager.answer(operation::getCurrent(ICAP_XFERMECH), give(oneValue(TWTY_UINT16, TWSX_MEMORY)));
        CHECK(stage.run() == Lines{"XferStart", "XferData", row.end} + wholePage);
        CHECK(stage.viewer.warnings() == Lines{row.warning});
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("an operation error ends the batch and asks for the source to be closed, twice") {
    for (const bool showUI : {false, true}) {
        CAPTURE(showUI);
        Page page = grayPage();
        page.strips[1] = failedWith(TWCC_OPERATIONERROR);
        MemoryStage stage({page, grayPage()});
        CHECK(stage.run(showUI) == Lines{"XferStart", "XferData", "XferEnd 5", "CloseDSReq", "CloseDSReq"});
        const Lines calls = stage.manager.calls();
        CHECK(Lines(calls.end() - 4, calls.end()) == Lines{"IMAGEMEMXFER", "STATUS", "ENDXFER", "RESET"});
        CHECK(tracesOf(stage, "Send SM_CLOSEDSREQ").size() == 1);
    }
}

TEST_CASE("a page that can't be described silences the ends of the batch") {
    MemoryStage stage({grayPage(), grayPage(), grayPage()});
    stage.manager.answerNext(operation::imageInfo, copy(grayPage().info));  // for the look at free memory
    SUBCASE("from the first page on") {
        stage.manager.answerNext(operation::imageInfo, failWith(TWCC_BADVALUE));
        CHECK(stage.run() == 2 * Lines{"XferStart", "XferData", "XferData"});
    }
    SUBCASE("from the second page on") {
        stage.manager.answerNext(operation::imageInfo, copy(grayPage().info));
        stage.manager.answerNext(operation::imageInfo, failWith(TWCC_BADVALUE));
        CHECK(stage.run() == wholePage + Lines{"XferStart", "XferData", "XferData"});
    }
    SUBCASE("and for an operation error ends it") {
        stage.manager.answerNext(operation::imageInfo, failWith(TWCC_OPERATIONERROR));
        CHECK(stage.run() == 2 * Lines{"CloseDSReq"});
        CHECK(stage.manager.calls().back() == "RESET");
    }
    const Lines warnings = stage.viewer.warnings();
    CHECK(std::count(warnings.begin(), warnings.end(),
                     "Error in get DAT_IMAGEINFO in TScanModule::DoMemXfer") == 1);
    // Until the next batch.
    stage.source.put({grayPage()});
    stage.host.takeMessages();
    stage.deliver(MSG_XFERREADY);
    CHECK(stage.host.messages() == wholePage);
}

TEST_CASE("the pending count is known inside the handler of an end, and there only") {
    MemoryStage stage({grayPage(), grayPage()});
    Lines counts;
    const auto note = [&](const char* when) {
        unsigned short count = 1;
        CHECK(stage.module.GetPendingCount(&count) == 0);
        counts.push_back(when + std::string(" ") + std::to_string(count));
    };
    stage.host.onXferStart = [&](TXferImageInfo&) { note("start"); };
    stage.host.onXferData = [&](const TXferStripInfo&) { note("data"); };
    stage.host.onXferEnd = [&](int, const TXferImageInfo&) { note("end"); };
    stage.host.onCloseRequest = [&] { note("close"); };
    stage.enable();
    note("before");
    stage.deliver(MSG_XFERREADY);
    note("after");
    CHECK(counts == Lines{"before 0", "start 9999", "data 9999", "data 9999", "end 1", "start 9999",
                          "data 9999", "data 9999", "end 0", "close 9999", "after 9999"});
}

TEST_CASE("a source that doesn't know how many pages follow is asked for the next") {
    MemoryStage stage({grayPage(), grayPage(), grayPage()});
    stage.source.hideCount();
    std::vector<int> counts;
    stage.host.onXferEnd = [&](int, const TXferImageInfo&) {
        unsigned short count = 1;
        stage.module.GetPendingCount(&count);
        counts.push_back(count);
    };
    CHECK(stage.run() == 3 * wholePage);
    CHECK(counts == std::vector<int>{0xFFFF, 0xFFFF, 0});
}

TEST_CASE("an end that fails ends the batch") {
    MemoryStage stage({grayPage(), grayPage()});
    stage.manager.answer(operation::endTransfer, failWith(TWCC_SEQERROR));
    CHECK(stage.run() == wholePage);
    CHECK(stage.viewer.warnings().back() == "DSM_Entry returns failure in TScanModule::EndThisXfer");
}

TEST_CASE("a batch leaves one message that wakes the host's loop") {
    MemoryStage stage({grayPage(), grayPage()});
    const auto posted = [&] {
        MSG message;
        int count = 0;
        while (PeekMessageA(&message, stage.host.window(), WM_NULL, WM_NULL, PM_REMOVE))
            ++count;
        return count;
    };
    stage.enable();
    CHECK(posted() == 0);
    stage.host.onCloseRequest = [&] { CHECK(posted() == 1); };
    stage.deliver(MSG_XFERREADY);
    CHECK(stage.host.messages().back() == "CloseDSReq");
    CHECK(posted() == 0);
}

TEST_CASE("strips that lie touch nothing outside the buffer") {
    constexpr TW_UINT32 size = 4000;  // the rest of the page lies before it
    constexpr TW_UINT32 most = 0xFFFFFFFF;
    struct Row {
        std::string name;
        StripFacts said;
        TW_UINT32 bytesSeen;
    };
    const Row rows[] = {
        {"rows of no bytes", {0, 10, 10, 0, 0, 300}, 300},
        {"rows of no bytes, no bytes", {0, 10, 10, 0, 0, 0}, 0},
        {"rows beyond the buffer", {60, 10, 1000, 0, 0, 600}, 600},
        {"bytes beyond the buffer", {60, 10, 10, 0, 0, 60000}, size},
        {"rows and bytes beyond the buffer", {60, 10, 1000, 0, 0, 60000}, size},
        {"columns wider than the row", {60, 100000, 66, 0, 0, 3960}, 3960},
        {"the last row only in part", {3000, 500, 2, 0, 0, 6000}, size},
        {"a row beyond the buffer", {8000, 1000, 1, 0, 0, 8000}, size},
        {"everything", {most, most, most, most, most, most}, size},
        {"a product that wraps to nothing", {0x10000, 0x10000, 0x10000, 0, 0, 0}, 0},
    };
    for (const Row& row : rows) {
        for (const auto& [pixelType, bits] : {std::pair{TWPT_RGB, 24}, {TWPT_RGB, 48}, {TWPT_GRAY, 16}}) {
            CAPTURE(row.name);
            CAPTURE(bits);
            const Strip strip{row.said, pattern(size), TWRC_XFERDONE};
            MemoryStage stage(
                {{imageInfo(static_cast<TW_INT16>(pixelType), static_cast<TW_INT16>(bits), 10, 10),
                  {strip}}});
            GuardedBuffer buffer(size);
            stage.host.onXferStart = [&](TXferImageInfo& image) {
                *image.Target.Buffer = {size, buffer.data()};
            };
            TW_UINT32 bytesSeen = most;
            uint64_t rowsEnd = 0;
            stage.host.onXferData = [&](const TXferStripInfo& seen) {
                bytesSeen = seen.BytesWritten;
                rowsEnd = uint64_t{seen.Rows} * seen.BytesPerRow;
            };
            CHECK(stage.run() == Lines{"XferStart", "XferData", "XferEnd 0"});
            CHECK(bytesSeen == row.bytesSeen);
            CHECK(rowsEnd <= size);
            const uint8_t* const before = buffer.data() - (4096 - size);
            CHECK(std::accumulate(before, before + (4096 - size), 0) == 0);
        }
    }
}
