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
const std::string other = "Another Maker";

// A source with pages that are ready to be pulled, and what the host's last call gave.
struct PullStage : Stage {
    PageSource source{manager};
    Bytes buffer;
    unsigned count = unwritten;

    explicit PullStage(std::vector<Page> pages = {}, const std::string& manufacturer = other) {
        source.put(std::move(pages));
        lstrcpynA(manager.defaultSource().Manufacturer, manufacturer.c_str(), sizeof(TW_STR32));
    }

    // Asks for so many bytes, into a buffer with room for more.
    int pull(unsigned size) {
        buffer.assign(size + 1000, untouched);
        count = unwritten;
        return module.ReadBlock(buffer.data(), size, &count);
    }

    // What the buffer holds, without what wasn't touched at its end.
    Bytes pulled() const {
        const auto last =
            std::find_if(buffer.rbegin(), buffer.rend(), [](uint8_t byte) { return byte != untouched; });
        return {buffer.begin(), last.base()};
    }
};

// A strip for each row.
Page colorPage(TW_INT32 width, TW_INT32 length, TW_UINT32 bytesPerRow) {
    return {imageInfo(TWPT_RGB, 24, width, length),
            cutRows(pattern(bytesPerRow * length), bytesPerRow, width, 1)};
}

// Those bytes of a pattern, a pair for each piece: from here to before there.
Bytes pieces(const std::vector<std::pair<int, int>>& ranges) {
    const Bytes all = pattern(64);
    Bytes result;
    for (const auto& [begin, end] : ranges)
        result.insert(result.end(), all.begin() + begin, all.begin() + end);
    return result;
}

}  // namespace

TEST_CASE("how much the source is asked for") {
    struct Row {
        std::string maker;
        TW_SETUPMEMXFER sizes;
        SIZE_T largest;  // allocations of this size fail
        std::vector<unsigned> callers;
        std::vector<TW_UINT32> asked;
    };
    const SIZE_T any = ~SIZE_T{0};
    const Row rows[] = {
        {other, {100, 9000, 1000}, any, {2000, 1000}, {1000, 1000}},
        // Lowered for a smaller buffer, also below the minimum, and staying so for the image.
        {other, {100, 9000, 1000}, any, {300, 2000, 50}, {300, 300, 50}},
        // The brand: what the host's buffer takes.
        {"KAVRO", {100, 9000, 1000}, any, {2000, 50, 300}, {2000, 50, 300}},
        {"Kavro", {100, 9000, 1000}, any, {2000}, {1000}},
        {"KAVRO Ltd", {100, 9000, 1000}, any, {2000}, {1000}},
        // When memory is short, or none is asked for.
        {"KAVRO", {100000, 9000000, 100001}, 150000, {200000}, {100000}},
        {"KAVRO", {200001, 150000, 0}, 200000, {300000}, {150000}},
        {"KAVRO", {100, 9000, 1000}, any, {0}, {100}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.asked);
        PullStage stage({colorPage(2, 9, 6)}, row.maker);
        stage.source.setBufferSizes(row.sizes.MinBufSize, row.sizes.MaxBufSize, row.sizes.Preferred);
        stage.enable();
        stage.windows.largestAllocation = row.largest;
        for (const unsigned size : row.callers)
            stage.pull(size);
        std::vector<TW_UINT32> asked;
        for (const TW_MEMORY& request : stage.source.requests())
            asked.push_back(request.Length);
        CHECK(asked == row.asked);
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("what one strip gives") {
    struct Row {
        TW_INT16 pixelType, bits;
        TW_INT32 width;
        StripFacts strip;
        unsigned size, count;
        Bytes delivered;
    };
    const Row rows[] = {
        {TWPT_RGB, 24, 3, {9, 3, 2, 0, 0, 18}, 100, 18, pieces({{0, 18}})},
        {TWPT_RGB, 24, 3, {12, 3, 2, 0, 0, 24}, 100, 18, pieces({{0, 9}, {12, 21}})},
        {TWPT_GRAY, 8, 3, {4, 3, 2, 0, 0, 8}, 100, 6, pieces({{0, 3}, {4, 7}})},
        // Rows come whole, unless they are wider than can be.
        {TWPT_GRAY, 8, 3, {4, 3, 2, 0, 0, 8}, 5, 6, pieces({{0, 3}, {4, 5}})},
        {TWPT_GRAY, 8, -1, {4, 3, 2, 0, 0, 8}, 5, 6, pieces({{0, 3}, {4, 5}})},
        {TWPT_GRAY, 8, -1, {2, 3, 2, 0, 0, 4}, 5, 5, pieces({{0, 3}, {2, 4}})},
        {TWPT_GRAY, 8, 3, {3, 3, 4, 0, 0, 12}, 0, 0, {}},
        {TWPT_GRAY, 8, 3, {3, 3, 2, 0, 0, 0}, 100, 0, {}},
        {TWPT_GRAY, 8, 3, {4, 3, 2, 0, 0, 0}, 100, 0, {}},
        // Every type but RGB counts a byte per pixel: one row of 16 pixels takes the bytes of 8 rows, and of
        // two the second finds no room.
        {TWPT_BW, 1, 16, {2, 16, 1, 0, 0, 2}, 2, 16, pieces({{0, 2}})},
        {TWPT_BW, 1, 16, {2, 16, 2, 0, 0, 4}, 4, 16, pieces({{0, 4}})},
        // Deep ones are cut to the first half of each row.
        {TWPT_GRAY, 16, 4, {8, 4, 2, 0, 0, 16}, 100, 8, pieces({{0, 4}, {8, 12}})},
        {TWPT_RGB, 48, 2, {12, 2, 2, 0, 0, 24}, 100, 12, pieces({{0, 6}, {12, 18}})},
    };
    for (const Row& row : rows) {
        CAPTURE(&row - rows);
        const Strip strip{row.strip, pattern(row.strip.bytesWritten)};
        PullStage stage({{imageInfo(row.pixelType, row.bits, row.width, 100), {strip}}});
        stage.enable();
        CHECK(stage.pull(row.size) == 0);
        CHECK(stage.count == row.count);
        CHECK(stage.pulled().size() <= std::max<size_t>(row.count, row.delivered.size()));
        CHECK(Bytes(stage.buffer.begin(), stage.buffer.begin() + row.delivered.size()) == row.delivered);
    }
}

TEST_CASE("the last strip comes without its length, and the next page begins anew") {
    PullStage stage({colorPage(4, 2, 12), {imageInfo(TWPT_GRAY, 8, 4, 1), cutRows(pattern(5), 5, 4, 1)}});
    stage.enable();
    CHECK(stage.pull(24) == 0);
    CHECK(stage.count == 12);
    stage.manager.forgetCalls();
    stage.viewer.forget();
    CHECK(stage.pull(24) == 1);
    CHECK(stage.count == over);
    CHECK(stage.pulled() == pieces({{12, 24}}));
    CHECK(stage.manager.takeCalls() == Lines{"IMAGEMEMXFER", "ENDXFER"});
    // The lines name the pushed form.
    CHECK(stage.viewer.traces().with("DoMemXfer") ==
          Lines{"Coming TScanModule::DoMemXfer", "Memory buffer size = 24 in TScanModule::DoMemXfer",
                "Leaving TScanModule::DoMemXfer"});

    // Gray now: a byte per pixel.
    CHECK(stage.pull(24) == 1);
    CHECK(stage.pulled() == pattern(4));
    CHECK(stage.manager.takeCalls() == Lines{"SETUPMEMXFER", "IMAGEINFO", "IMAGEMEMXFER", "ENDXFER"});
    CHECK(stage.host.messages() == Lines{});

    // As for a page that can't be described.
    stage.source.put({colorPage(4, 1, 12)});
    stage.manager.answer(operation::imageInfo, failWith(TWCC_BADVALUE));
    CHECK(stage.pull(24) == 1);
    CHECK(stage.pulled() == pattern(4));
    CHECK(stage.manager.takeCalls() == Lines{"SETUPMEMXFER", "IMAGEINFO", "IMAGEMEMXFER", "ENDXFER"});
}

TEST_CASE("a strip that doesn't come") {
    struct Row {
        Strip strip;
        int result;
        unsigned count;
        Lines calls;
    };
    const Row rows[] = {
        {endedBy(TWRC_CANCEL), 1, over, {"IMAGEMEMXFER", "ENDXFER", "RESET"}},
        // Reset twice.
        {failedWith(TWCC_OPERATIONERROR), 1, over, {"IMAGEMEMXFER", "STATUS", "RESET", "RESET"}},
        {failedWith(TWCC_PAPERJAM), 0, unwritten, {"IMAGEMEMXFER", "STATUS"}},
        {endedBy(TWRC_ENDOFLIST), 0, unwritten, {"IMAGEMEMXFER", "STATUS"}},
    };
    for (const Row& row : rows) {
        CAPTURE(&row - rows);
        Page page = colorPage(4, 2, 12);
        page.strips.insert(page.strips.begin() + 1, row.strip);
        PullStage stage({page});
        stage.enable();
        stage.pull(12);
        stage.manager.forgetCalls();
        CHECK(stage.pull(12) == row.result);
        CHECK(stage.count == row.count);
        CHECK(stage.pulled() == Bytes{});
        CHECK(stage.manager.takeCalls() == row.calls);
        CHECK(stage.windows.memoryComplaints() == Lines{});

        // What wasn't written may be tried again.
        stage.pull(12);
        CHECK((stage.manager.calls().front() == "SETUPMEMXFER") == (row.strip.returnCode == TWRC_CANCEL));
        if (row.count == unwritten) CHECK(stage.pulled() == pieces({{12, 24}}));
    }
}

TEST_CASE("without memory, or without a source, nothing is asked and the count stays") {
    for (const bool open : {false, true}) {
        CAPTURE(open);
        PullStage stage({colorPage(4, 2, 12)});
        if (open) stage.enable();
        stage.source.setBufferSizes(64, 4096, 1024);
        stage.windows.largestAllocation = 12;
        CHECK(stage.pull(12) == 0);
        CHECK(stage.count == unwritten);
        CHECK(stage.manager.calls().with("IMAGEMEMXFER") == Lines{});
        CHECK(stage.viewer.warnings().last(1) == Lines{"Low Memory in TScanModule::DoMemXfer"});
        stage.windows.largestAllocation = ~SIZE_T{0};
        CHECK(stage.pull(12) == 0);
        CHECK(stage.count == (open ? 12 : unwritten));
    }
}

TEST_CASE("an image that was pulled in part is forgotten with its batch and with the source") {
    for (const bool withBatch : {false, true}) {
        CAPTURE(withBatch);
        PullStage stage({colorPage(4, 2, 12)});
        stage.host.onXferStart = [&](TXferImageInfo&) { stage.module.CancelAllXfer(); };
        stage.enable();
        stage.pull(12);
        if (withBatch) {
            stage.deliver(MSG_XFERREADY);
        } else {
            stage.module.DisableDS();
            stage.module.CloseDS();
            stage.enable();
        }
        stage.source.put({{imageInfo(TWPT_GRAY, 8, 4, 1), cutRows(pattern(5), 5, 4, 1)}});
        CHECK(stage.pull(24) == 1);
        CHECK(stage.pulled() == pattern(4));
    }
}

TEST_CASE("cancelling while the source works on a strip") {
    enum { Nothing, This, All };
    for (const int cancelled : {Nothing, This, All}) {
        for (const int length : {1, 2}) {
            if (cancelled == Nothing && length == 1) continue;
            CAPTURE(cancelled);
            CAPTURE(length);
            PullStage stage({colorPage(4, length, 12)});
            stage.enable();
            stage.module.CancelAllXfer();  // before the call: doesn't count
            stage.source.whileTransferring = [&] {
                if (cancelled == All) stage.module.CancelAllXfer();
                if (cancelled == This) stage.module.CancelThisXfer();
            };
            const bool all = cancelled == All;
            CHECK(stage.pull(12) == all);
            CHECK(stage.count == (all ? over : 12));
            CHECK(stage.pulled() == pattern(12));
            CHECK(stage.manager.calls() ==
                  Lines{"SETUPMEMXFER", "IMAGEINFO", "IMAGEMEMXFER"} + (all ? Lines{"RESET"} : Lines{}));
        }
    }
}

TEST_CASE("strips that lie touch nothing outside the host's buffer and its slack of one row") {
    for (const StripFacts& said : lies) {
        for (const auto& [type, bits] : {std::pair<TW_INT16, TW_INT16>{2, 24}, {1, 8}, {0, 1}}) {
            for (const std::string& maker : {std::string("KAVRO"), other}) {
                CAPTURE(&said - lies.data());
                PullStage stage({{imageInfo(type, bits, 10, 100), {{said, pattern(3000)}}}}, maker);
                stage.enable();
                stage.windows.guardBlocks = true;
                // 300 bytes and a row of 10 pixels, then nothing.
                GuardedBuffer buffer(300 + (type == TWPT_RGB ? 30 : 10));
                unsigned count = unwritten;
                CHECK(stage.module.ReadBlock(buffer.data(), 300, &count) == 0);
                CHECK(count <= buffer.size());
                CHECK(std::accumulate(buffer.data() - 64, buffer.data(), 0) == 0);
            }
        }
    }
}
