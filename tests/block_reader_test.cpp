// Block reading: a host pulls the strips of the image that is ready, at its own pace.
#include <algorithm>

#include "PageSource.h"
#include "Story.h"

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
        enable();
    }

    // Asks for so many bytes, into a buffer with room for more; result and count end the journal.
    void pull(unsigned size) {
        buffer.assign(size + 1000, untouched);
        count = unwritten;
        const std::string result = std::to_string(module.ReadBlock(buffer.data(), size, &count));
        const std::string counted = count == over        ? "over"
                                    : count == unwritten ? "no"
                                                         : std::to_string(count);
        journal.push_back("result " + result + ", " + counted + " bytes");
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
// 4 pixels and a byte of padding.
Page grayRow() {
    return {imageInfo(TWPT_GRAY, 8, 4, 1), cutRows(pattern(5), 5, 4, 1)};
}

// Those bytes of a pattern, a pair for each piece: from here to before there.
Bytes pieces(const std::vector<std::pair<int, int>>& ranges) {
    const Bytes all = pattern(64);
    Bytes result;
    for (const auto& [begin, end] : ranges)
        result.insert(result.end(), all.begin() + begin, all.begin() + end);
    return result;
}

const std::string begin = "SETUPMEMXFER; IMAGEINFO; IMAGEMEMXFER; ";

}  // namespace

TEST_CASE("how much the source is asked for") {
    struct Row {
        std::string maker;
        TW_SETUPMEMXFER sizes;
        std::vector<unsigned> callers, asked;
        SIZE_T largest = ~SIZE_T{0};  // allocations of this size fail
    };
    const Row rows[] = {
        {other, {100, 9000, 1000}, {2000, 1000}, {1000, 1000}},
        // Lowered for a smaller buffer, also below the minimum, and staying so for the image.
        {other, {100, 9000, 1000}, {300, 2000, 50}, {300, 300, 50}},
        // The brand: what the host's buffer takes.
        {"KAVRO", {100, 9000, 1000}, {2000, 50, 300}, {2000, 50, 300}},
        {"Kavro", {100, 9000, 1000}, {2000}, {1000}},
        {"KAVRO Ltd", {100, 9000, 1000}, {2000}, {1000}},
        // When memory is short, or none is asked for.
        {"KAVRO", {100000, 9000000, 100001}, {200000}, {100000}, 150000},
        {"KAVRO", {200001, 150000, 0}, {300000}, {150000}, 200000},
        {"KAVRO", {100, 9000, 1000}, {0}, {100}},
    };
    for (const Row& row : rows) {
        CAPTURE(row.asked);
        PullStage stage({colorPage(2, 9, 6)}, row.maker);
        stage.source.setBufferSizes(row.sizes.MinBufSize, row.sizes.MaxBufSize, row.sizes.Preferred);
        stage.windows.largestAllocation = row.largest;
        for (const unsigned size : row.callers)
            stage.pull(size);
        std::vector<unsigned> asked;
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
        stage.pull(row.size);
        checkStory(stage, begin + "result 0, " + std::to_string(row.count) + " bytes");
        CHECK(stage.pulled().size() <= std::max<size_t>(row.count, row.delivered.size()));
        CHECK(Bytes(stage.buffer.begin(), stage.buffer.begin() + row.delivered.size()) == row.delivered);
    }
}

TEST_CASE("the last strip comes without its length, and the next page begins anew") {
    PullStage stage({colorPage(4, 2, 12), grayRow()});
    stage.pull(24);
    checkStory(stage, begin + "result 0, 12 bytes");
    stage.pull(24);
    // The lines name the pushed form.
    CHECK(outline(stage) == "DoMemXfer('Memory buffer size = 24' EndThisXfer())");
    checkStory(stage, "IMAGEMEMXFER; ENDXFER; result 1, over bytes");
    CHECK(stage.pulled() == pieces({{12, 24}}));
    // Gray now, a byte per pixel; as for a page that can't be described.
    for (const bool described : {true, false}) {
        if (!described) stage.source.put({colorPage(4, 1, 12)});
        if (!described) stage.manager.answer(operation::imageInfo, failWith(TWCC_BADVALUE));
        stage.pull(24);
        CHECK(stage.pulled() == pattern(4));
        checkStory(stage, begin + "ENDXFER; result 1, over bytes");
    }
}

TEST_CASE("a strip that doesn't come, and a cancel while the source works on one") {
    enum { Nothing, This, All };
    const struct {
        Strip strip;
        int cancelled;
        std::string story, next;  // the call for it and the one after it
    } rows[] = {
        {endedBy(TWRC_CANCEL), Nothing, "ENDXFER; RESET; result 1, over", begin + "STATUS; result 0, no"},
        // Reset twice.
        {failedWith(TWCC_OPERATIONERROR), Nothing, "STATUS; RESET; RESET; result 1, over",
         "IMAGEMEMXFER; STATUS; result 0, no"},
        // What wasn't written may be tried again.
        {failedWith(TWCC_PAPERJAM), Nothing, "STATUS; result 0, no", "IMAGEMEMXFER; ENDXFER; result 1, over"},
        {endedBy(TWRC_ENDOFLIST), Nothing, "STATUS; result 0, no", "IMAGEMEMXFER; ENDXFER; result 1, over"},
        // The image isn't ended, even with its last strip.
        {colorPage(4, 2, 12).strips[0], This, "result 0, 12", "IMAGEMEMXFER; ENDXFER; result 1, over"},
        {colorPage(4, 1, 12).strips[0], This, "result 0, 12", "IMAGEMEMXFER; ENDXFER; result 1, over"},
        {colorPage(4, 2, 12).strips[0], All, "RESET; result 1, over", "IMAGEMEMXFER; STATUS; result 0, no"},
    };
    for (const auto& row : rows) {
        PullStage stage({colorPage(4, 2, 12)});
        Page page = colorPage(4, 2, 12);
        page.strips.insert(page.strips.begin() + 1, row.strip);
        stage.source.put({page});
        stage.pull(12);
        stage.module.CancelAllXfer();  // before the call: doesn't count
        stage.forget();
        stage.source.whileTransferring = [&] {
            if (row.cancelled == All) stage.module.CancelAllXfer();
            if (row.cancelled == This) stage.module.CancelThisXfer();
        };
        stage.pull(12);
        CHECK(stage.pulled() == (row.cancelled == Nothing ? Bytes{} : pattern(12)));
        checkStory(stage, "IMAGEMEMXFER; " + row.story + " bytes");
        stage.source.whileTransferring = nullptr;
        stage.pull(12);
        checkStory(stage, row.next + " bytes");
        if (row.next.find("ENDXFER") != std::string::npos) CHECK(stage.pulled() == pieces({{12, 24}}));
    }
}

TEST_CASE("without memory, or without a source, nothing is asked and the count stays") {
    for (const bool open : {false, true}) {
        PullStage stage({colorPage(4, 2, 12)});
        if (!open) stage.module.DisableDS();
        if (!open) stage.module.CloseDS();
        stage.windows.largestAllocation = 12;
        stage.forget();
        stage.pull(12);
        CHECK(stage.viewer.warnings().last(1) == Lines{"Low Memory in TScanModule::DoMemXfer"});
        CHECK(stage.manager.calls().with("IMAGEMEMXFER") == Lines{});
        stage.windows.largestAllocation = ~SIZE_T{0};
        for (const unsigned count : {unwritten, open ? 12 : unwritten}) {
            CHECK(stage.count == count);
            stage.pull(12);
        }
    }
}

TEST_CASE("an image that was pulled in part is forgotten with its batch and with the source") {
    for (const bool withBatch : {false, true}) {
        CAPTURE(withBatch);
        PullStage stage({colorPage(4, 3, 12)});
        stage.host.onXferStart = [&](TXferImageInfo& image) {
            // A pull takes back what the host said of its own buffer.
            *image.Target.Buffer = {4, &stage};
            stage.pull(12);
            CHECK(image.Target.Buffer->BufferSize == 0);
            CHECK(image.Target.Buffer->BufferPointer == nullptr);
            stage.module.CancelAllXfer();
        };
        stage.pull(12);
        if (withBatch) {
            stage.deliver(MSG_XFERREADY);
        } else {
            stage.module.DisableDS();
            stage.module.CloseDS();
            stage.enable();
        }
        stage.source.put({grayRow()});
        stage.pull(24);
        CHECK(stage.count == over);
        CHECK(stage.pulled() == pattern(4));
    }
}
