// Block reading: a host pulls the strips of the image that is ready, at its own pace.
#include <doctest.h>

#include <algorithm>
#include <numeric>

#include "GuardedBuffer.h"
#include "PageSource.h"
#include "Stage.h"

namespace {

constexpr unsigned over = 0xFFFFFFFF;
constexpr unsigned unwritten = 4711;
constexpr uint8_t untouched = 0xEE;

// A source with pages that are ready to be pulled, and what the host's last call gave.
struct PullStage : Stage {
    PageSource source{manager};
    Bytes buffer;
    unsigned count = unwritten;

    explicit PullStage(std::vector<Page> pages = {}, const std::string& manufacturer = "Another Maker") {
        source.put(std::move(pages));
        lstrcpynA(manager.defaultSource().Manufacturer, manufacturer.c_str(), sizeof(TW_STR32));
    }

    // Asks for so many bytes, into a buffer with room for more.
    int pull(unsigned size) {
        buffer.assign(size + 1000, untouched);
        count = unwritten;
        return module.ReadBlock(buffer.data(), size, &count);
    }

    Bytes pulled(size_t size) const { return {buffer.begin(), buffer.begin() + size}; }
    bool isUntouchedFrom(size_t begin) const {
        return std::all_of(buffer.begin() + begin, buffer.end(),
                           [](uint8_t byte) { return byte == untouched; });
    }
};

Page colorPage(TW_INT32 width, TW_INT32 length, TW_UINT32 bytesPerRow, TW_UINT32 rowsPerStrip) {
    return {imageInfo(TWPT_RGB, 24, width, length),
            cutRows(pattern(bytesPerRow * length), bytesPerRow, width, rowsPerStrip)};
}

Bytes withoutPadding(const Bytes& rows, size_t bytesPerRow, size_t used) {
    Bytes result;
    for (size_t row = 0; row < rows.size(); row += bytesPerRow)
        result.insert(result.end(), rows.begin() + row, rows.begin() + row + used);
    return result;
}

}  // namespace

TEST_CASE("whole pages pulled while the module announces the first") {
    const Page first = colorPage(5, 5, 16, 2), second = colorPage(5, 3, 16, 2);
    PullStage stage({first, second});
    std::vector<Bytes> pages;
    stage.host.onXferStart = [&](TXferImageInfo&) {
        int width = 0, length = 0;
        for (stage.module.GetImageDim(&width, &length); width != 0;
             stage.module.GetImageDim(&width, &length)) {
            const size_t size = static_cast<size_t>(width) * 3 * length;
            Bytes& page = pages.emplace_back();
            // Two rows at a time; the last strip's length is what is missing.
            while (stage.pull(32) == 0) {
                const Bytes block = stage.pulled(stage.count);
                page.insert(page.end(), block.begin(), block.end());
            }
            const Bytes rest = stage.pulled(size - page.size());
            page.insert(page.end(), rest.begin(), rest.end());
        }
        stage.module.CancelAllXfer();
    };
    stage.enable(true);
    stage.deliver(MSG_XFERREADY);
    CHECK(pages == std::vector<Bytes>{withoutPadding(pattern(16 * 5), 16, 15),
                                      withoutPadding(pattern(16 * 3), 16, 15)});
    CHECK(stage.host.messages() == Lines{"XferStart", "XferEnd -5"});
    const Lines calls = stage.manager.calls();
    const auto start = std::find(calls.rbegin(), calls.rend(), "GET ICAP_UNITS").base() + 1;
    CHECK(Lines(start, calls.end()) == Lines{"IMAGEINFO",  // the host looks
                                             "SETUPMEMXFER", "IMAGEINFO", "IMAGEMEMXFER", "IMAGEMEMXFER",
                                             "IMAGEMEMXFER", "ENDXFER",
                                             "IMAGEINFO",  // and looks again
                                             "SETUPMEMXFER", "IMAGEINFO", "IMAGEMEMXFER", "IMAGEMEMXFER",
                                             "ENDXFER", "IMAGEINFO", "ENDXFER", "RESET"});
    CHECK(stage.windows.memoryComplaints() == Lines{});
}

TEST_CASE("a page that was pulled only in part ends with the batch") {
    PullStage stage({colorPage(5, 5, 15, 1), colorPage(5, 5, 15, 1)});
    stage.host.onXferStart = [&](TXferImageInfo&) {
        CHECK(stage.pull(15) == 0);
        stage.module.CancelAllXfer();
    };
    stage.enable(true);
    stage.deliver(MSG_XFERREADY);
    CHECK(stage.host.messages() == Lines{"XferStart", "XferEnd -5"});
    CHECK(stage.manager.calls().last(3) == Lines{"IMAGEMEMXFER", "ENDXFER", "RESET"});
}

TEST_CASE("the lines of a call name the pushed form") {
    PullStage stage({colorPage(4, 2, 12, 1)});
    stage.enable();
    stage.pull(12);
    CHECK(stage.viewer.traces().with("DoMemXfer") ==
          Lines{"Coming TScanModule::DoMemXfer", "Memory buffer size = 12 in TScanModule::DoMemXfer",
                "Leaving TScanModule::DoMemXfer"});
    CHECK(stage.viewer.warnings() == Lines{});
}

TEST_CASE("how much the source is asked for") {
    struct Row {
        std::string name;
        std::string manufacturer;
        TW_SETUPMEMXFER sizes;
        SIZE_T largest;  // allocations of this size fail
        std::vector<unsigned> callers;
        std::vector<TW_UINT32> asked;
    };
    const SIZE_T any = ~SIZE_T{0};
    const Row rows[] = {
        {"the preferred size", "Another", {100, 9000, 1000}, any, {2000, 1000}, {1000, 1000}},
        {"lowered for a smaller buffer, also below the minimum",
         "Another",
         {100, 9000, 1000},
         any,
         {50},
         {50}},
        {"and staying so for the image",
         "Another",
         {100, 9000, 1000},
         any,
         {300, 2000, 200},
         {300, 300, 200}},
        {"the brand: what the host's buffer takes",
         "KAVRO",
         {100, 9000, 1000},
         any,
         {2000, 50, 300},
         {2000, 50, 300}},
        {"another case is another maker", "Kavro", {100, 9000, 1000}, any, {2000}, {1000}},
        {"more than the name is another maker", "KAVRO Ltd", {100, 9000, 1000}, any, {2000}, {1000}},
        {"the minimum when memory is short", "KAVRO", {100000, 9000000, 100001}, 150000, {200000}, {100000}},
        {"else the maximum", "KAVRO", {200001, 150000, 0}, 200000, {300000}, {150000}},
        {"a buffer of nothing", "KAVRO", {100, 9000, 1000}, any, {0}, {100}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        PullStage stage({colorPage(2, 9, 6, 1)}, row.manufacturer);
        stage.source.setBufferSizes(row.sizes.MinBufSize, row.sizes.MaxBufSize, row.sizes.Preferred);
        stage.enable();
        stage.windows.largestAllocation = row.largest;
        for (const unsigned size : row.callers)
            stage.pull(size);
        std::vector<TW_UINT32> asked;
        for (const TW_MEMORY& request : stage.source.requests()) {
            asked.push_back(request.Length);
            CHECK(request.Flags == 9);
        }
        CHECK(asked == row.asked);
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("what one strip gives") {
    const Bytes p = pattern(64);
    struct Row {
        std::string name;
        TW_INT16 pixelType, bits;
        TW_INT32 width;
        StripFacts strip;
        unsigned size;
        unsigned count;
        Bytes delivered;
    };
    const auto bytes = [&](std::initializer_list<std::pair<int, int>> ranges) {
        Bytes result;
        for (const auto& [begin, end] : ranges)
            result.insert(result.end(), p.begin() + begin, p.begin() + end);
        return result;
    };
    const Row rows[] = {
        {"colours without padding", TWPT_RGB, 24, 3, {9, 3, 2, 0, 0, 18}, 100, 18, bytes({{0, 18}})},
        {"colours, padded", TWPT_RGB, 24, 3, {12, 3, 2, 0, 0, 24}, 100, 18, bytes({{0, 9}, {12, 21}})},
        {"gray without padding", TWPT_GRAY, 8, 3, {3, 3, 2, 0, 0, 6}, 100, 6, bytes({{0, 6}})},
        {"gray, padded", TWPT_GRAY, 8, 3, {4, 3, 2, 0, 0, 8}, 100, 6, bytes({{0, 3}, {4, 7}})},
        {"into no buffer", TWPT_GRAY, 8, 3, {3, 3, 4, 0, 0, 12}, 0, 0, {}},
        {"no bytes", TWPT_GRAY, 8, 3, {3, 3, 2, 0, 0, 0}, 100, 0, {}},
        {"no bytes of padded rows", TWPT_GRAY, 8, 3, {4, 3, 2, 0, 0, 0}, 100, 0, {}},
        // Every type but RGB counts a byte per pixel: one row of 16 pixels takes the bytes of 8 rows.
        {"a row of 1 bit per pixel", TWPT_BW, 1, 16, {2, 16, 1, 0, 0, 2}, 2, 16, bytes({{0, 2}})},
        {"of two such rows the second finds no room",
         TWPT_BW,
         1,
         16,
         {2, 16, 2, 0, 0, 4},
         4,
         16,
         bytes({{0, 4}})},
        {"16 bits are cut to the row's first half",
         TWPT_GRAY,
         16,
         4,
         {8, 4, 2, 0, 0, 16},
         100,
         8,
         bytes({{0, 4}, {8, 12}})},
        {"48 bits as well", TWPT_RGB, 48, 2, {12, 2, 2, 0, 0, 24}, 100, 12, bytes({{0, 6}, {12, 18}})},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        const Strip strip{row.strip, Bytes(p.begin(), p.begin() + row.strip.bytesWritten)};
        PullStage stage({{imageInfo(row.pixelType, row.bits, row.width, 100), {strip}}});
        stage.enable();
        CHECK(stage.pull(row.size) == 0);
        CHECK(stage.count == row.count);
        CHECK(stage.pulled(row.delivered.size()) == row.delivered);
        CHECK(stage.isUntouchedFrom(std::max<size_t>(row.count, row.delivered.size())));
    }
}

TEST_CASE("the last strip comes without its length, and the next page begins anew") {
    PullStage stage({colorPage(4, 3, 12, 2), {imageInfo(TWPT_GRAY, 8, 4, 1), cutRows(pattern(5), 5, 4, 1)}});
    stage.enable();
    CHECK(stage.pull(24) == 0);
    CHECK(stage.count == 24);
    stage.manager.forgetCalls();
    CHECK(stage.pull(24) == 1);
    CHECK(stage.count == over);
    const Bytes sent = pattern(36);
    CHECK(stage.pulled(12) == Bytes(sent.begin() + 24, sent.end()));
    CHECK(stage.isUntouchedFrom(12));
    CHECK(stage.manager.takeCalls() == Lines{"IMAGEMEMXFER", "ENDXFER"});

    // Gray now: a byte per pixel.
    CHECK(stage.pull(24) == 1);
    CHECK(stage.pulled(4) == pattern(4));
    CHECK(stage.isUntouchedFrom(4));
    CHECK(stage.manager.takeCalls() == Lines{"SETUPMEMXFER", "IMAGEINFO", "IMAGEMEMXFER", "ENDXFER"});
    CHECK(stage.host.messages() == Lines{});
}

TEST_CASE("a page that can't be described is pulled as one byte per pixel") {
    PullStage stage({colorPage(4, 1, 12, 1)});
    stage.manager.answer(operation::imageInfo, failWith(TWCC_BADVALUE));
    stage.enable();
    CHECK(stage.pull(12) == 1);
    CHECK(stage.pulled(4) == pattern(4));
    CHECK(stage.isUntouchedFrom(4));
    CHECK(stage.manager.calls() == Lines{"SETUPMEMXFER", "IMAGEINFO", "IMAGEMEMXFER", "ENDXFER"});
}

TEST_CASE("a strip that doesn't come") {
    struct Row {
        std::string name;
        Strip strip;
        int result;
        unsigned count;
        Lines calls;
        bool isOver;  // the next call begins a page
    };
    const Row rows[] = {
        {"cancelled", endedBy(TWRC_CANCEL), 1, over, {"IMAGEMEMXFER", "ENDXFER", "RESET"}, true},
        {"operation error, reset twice",
         failedWith(TWCC_OPERATIONERROR),
         1,
         over,
         {"IMAGEMEMXFER", "STATUS", "RESET", "RESET"},
         false},
        {"unknown reason", failedWith(TWCC_BUMMER), 0, unwritten, {"IMAGEMEMXFER", "STATUS"}, false},
        {"paper jam", failedWith(TWCC_PAPERJAM), 0, unwritten, {"IMAGEMEMXFER", "STATUS"}, false},
        {"no reason", failedWith(TWCC_SUCCESS), 0, unwritten, {"IMAGEMEMXFER", "STATUS"}, false},
        {"a code that makes no sense",
         endedBy(TWRC_ENDOFLIST),
         0,
         unwritten,
         {"IMAGEMEMXFER", "STATUS"},
         false},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        Page page = colorPage(4, 2, 12, 1);
        page.strips.insert(page.strips.begin() + 1, row.strip);
        PullStage stage({page});
        stage.enable();
        stage.pull(12);
        stage.manager.forgetCalls();
        CHECK(stage.pull(12) == row.result);
        CHECK(stage.count == row.count);
        CHECK(stage.isUntouchedFrom(0));
        CHECK(stage.manager.takeCalls() == row.calls);
        CHECK(stage.windows.memoryComplaints() == Lines{});

        // What wasn't written may be tried again.
        stage.pull(12);
        CHECK((stage.manager.calls().front() == "SETUPMEMXFER") == row.isOver);
        if (row.count == unwritten) {
            const Bytes sent = pattern(24);
            CHECK(stage.count == over);
            CHECK(stage.pulled(12) == Bytes(sent.begin() + 12, sent.end()));
        }
    }
}

TEST_CASE("without memory, or without a source, nothing is asked and the count stays") {
    PullStage stage({colorPage(4, 2, 12, 1)});
    SUBCASE("no memory") {
        stage.enable();
        stage.windows.largestAllocation = 12;
        stage.source.setBufferSizes(64, 4096, 1024);
        CHECK(stage.pull(12) == 0);
        CHECK(stage.manager.calls() == Lines{"SETUPMEMXFER", "IMAGEINFO"});
        stage.windows.largestAllocation = ~SIZE_T{0};
        CHECK(stage.count == unwritten);
        CHECK(stage.pull(12) == 0);
        CHECK(stage.count == 12);
    }
    SUBCASE("no source") {
        CHECK(stage.pull(12) == 0);
        CHECK(stage.count == unwritten);
    }
    CHECK(stage.viewer.warnings().with("Low Memory in TScanModule::DoMemXfer").size() == 1);
}

TEST_CASE("cancelling while the source works on a strip") {
    enum class Cancelled { None, This, All };
    struct Row {
        std::string name;
        Cancelled cancelled;
        bool last;
        int result;
        unsigned count;
        Lines calls;
    };
    const Lines begin = {"SETUPMEMXFER", "IMAGEINFO", "IMAGEMEMXFER"};
    const Row rows[] = {
        {"nothing", Cancelled::None, false, 0, 12, begin},
        {"this page", Cancelled::This, false, 0, 12, begin},
        {"this page, by its last strip", Cancelled::This, true, 0, 12, begin},
        {"all pages", Cancelled::All, false, 1, over, begin + Lines{"RESET"}},
        {"all pages, by the last strip", Cancelled::All, true, 1, over, begin + Lines{"RESET"}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        PullStage stage({colorPage(4, row.last ? 1 : 2, 12, 1)});
        stage.enable();
        // What was cancelled before the call doesn't count.
        stage.module.CancelAllXfer();
        stage.source.whileTransferring = [&] {
            if (row.cancelled == Cancelled::All) stage.module.CancelAllXfer();
            if (row.cancelled == Cancelled::This) stage.module.CancelThisXfer();
        };
        CHECK(stage.pull(12) == row.result);
        CHECK(stage.count == row.count);
        CHECK(stage.pulled(12) == pattern(12));
        CHECK(stage.manager.calls() == row.calls);
    }
}

TEST_CASE("strips that lie touch nothing outside the host's buffer and its slack of one row") {
    constexpr TW_UINT32 most = 0xFFFFFFFF;
    struct Row {
        std::string name;
        StripFacts said;
    };
    const Row rows[] = {
        {"rows of no bytes", {0, 10, 10, 0, 0, 300}},
        {"rows beyond the buffer", {32, 10, 100000, 0, 0, 320}},
        {"bytes beyond the buffer", {30, 10, 10, 0, 0, 60000}},
        {"columns wider than the row", {30, 100000, 10, 0, 0, 300}},
        {"columns and rows wider than the page", {100000, 33333, 10, 0, 0, 300}},
        {"columns that fill the row, but not the buffer", {3000, 1000, 1, 0, 0, 3000}},
        {"everything", {most, most, most, most, most, most}},
        {"a product that wraps to a row's bytes", {2, 0x55555556, 2, 0, 0, 300}},
        {"no columns", {30, 0, 10, 0, 0, 300}},
    };
    for (const Row& row : rows) {
        for (const auto& [pixelType, bits] : {std::pair{TWPT_RGB, 24}, {TWPT_GRAY, 8}, {TWPT_BW, 1}}) {
            for (const std::string maker : {"KAVRO", "Another"}) {
                CAPTURE(row.name);
                CAPTURE(bits);
                CAPTURE(maker);
                const Strip strip{row.said, pattern(3000)};
                PullStage stage(
                    {{imageInfo(static_cast<TW_INT16>(pixelType), static_cast<TW_INT16>(bits), 10, 100),
                      {strip}}},
                    maker);
                stage.enable();
                stage.windows.guardBlocks = true;
                // 300 bytes and a row of 10 pixels, then nothing.
                GuardedBuffer buffer(300 + (pixelType == TWPT_RGB ? 30 : 10));
                unsigned count = unwritten;
                CHECK(stage.module.ReadBlock(buffer.data(), 300, &count) == 0);
                CHECK(count <= buffer.size());
                CHECK(std::accumulate(buffer.data() - 64, buffer.data(), 0) == 0);
            }
        }
    }
}
