// Block reading: a host pulls the strips of the image that is ready, at its own pace.
#include <algorithm>

#include "PageSource.h"
#include "Story.h"

namespace {

constexpr unsigned over = 0xFFFFFFFF;
constexpr unsigned unwritten = 4711;
constexpr SIZE_T any = ~SIZE_T{0};
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

    // Asks for so many bytes, into a buffer with room for more; what the count then says ends the journal.
    void pull(unsigned size) {
        buffer.assign(size + 1000, untouched);
        count = unwritten;
        const bool isOver = module.ReadBlock(buffer.data(), size, &count) == 1;
        CHECK(isOver == (count == over));
        const std::string counted = count == unwritten ? "no count" : std::to_string(count) + " bytes";
        journal.push_back(isOver ? "over" : counted);
    }

    // What the buffer holds, without what wasn't touched at its end.
    Bytes pulled() const {
        const auto last =
            std::find_if(buffer.rbegin(), buffer.rend(), [](uint8_t byte) { return byte != untouched; });
        return {buffer.begin(), last.base()};
    }
};

// 4 pixels of 3 bytes, and of one with a byte of padding; a strip for each row.
Page colorPage(TW_INT32 length) {
    return imagePage(TWPT_RGB, 24, 4, length, 12, 1);
}
const Page grayRow = imagePage(TWPT_GRAY, 8, 4, 1, 5, 1);

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
    // Of a maker: the source's sizes, the caller's, and what is asked for. An allocation may fail.
    using Sizes = std::vector<unsigned>;
    const TW_SETUPMEMXFER sizes = {100, 9000, 1000};
    const std::tuple<std::string, TW_SETUPMEMXFER, SIZE_T, Sizes, Sizes> rows[] = {
        {other, sizes, any, {2000, 1000}, {1000, 1000}},
        // Lowered for a smaller buffer, also below the minimum, and staying so for the image.
        {other, sizes, any, {300, 2000, 50}, {300, 300, 50}},
        // The brand: what the host's buffer takes.
        {"KAVRO", sizes, any, {2000, 50, 300}, {2000, 50, 300}},
        {"Kavro", sizes, any, {2000}, {1000}},
        {"KAVRO Ltd", sizes, any, {2000}, {1000}},
        // When memory is short, or none is asked for.
        {"KAVRO", {100000, 9000000, 100001}, 150000, {200000}, {100000}},
        {"KAVRO", {200001, 150000, 0}, 200000, {300000}, {150000}},
        {"KAVRO", sizes, any, {0}, {100}},
    };
    for (const auto& [maker, said, largest, callers, expected] : rows) {
        CAPTURE(expected);
        PullStage stage({colorPage(9)}, maker);
        stage.source.bufferSizes = said;
        stage.windows.largestAllocation = largest;
        Sizes asked;
        for (const unsigned size : callers) {
            stage.pull(size);
            asked.push_back(stage.source.requests.back().Length);
        }
        CHECK(asked == expected);
        // The buffer of the last strip, and no other.
        CHECK(stage.windows.memoryComplaints() == storyOf("kept"));
    }
}

TEST_CASE("what one strip gives") {
    // Of an image of this type, bits and width, and a buffer of this size: what is counted and delivered.
    const std::tuple<TW_INT16, TW_INT16, TW_INT32, StripFacts, unsigned, unsigned, Bytes> rows[] = {
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
    for (const auto& [pixelType, bits, width, facts, size, count, delivered] : rows) {
        CAPTURE(pixelType);
        CAPTURE(facts.bytesPerRow);
        PullStage stage({{imageInfo(pixelType, bits, width, 100), {{facts, pattern(facts.bytesWritten)}}}});
        stage.pull(size);
        checkStory(stage, begin + std::to_string(count) + " bytes; kept");
        CHECK(stage.pulled() == delivered);
    }
}

TEST_CASE("the last strip comes without its length, and the next page begins anew") {
    PullStage stage({colorPage(2), grayRow});
    stage.pull(24);
    checkStory(stage, begin + "12 bytes; kept");
    stage.pull(24);
    // The lines name the pushed form.
    CHECK(outline(stage) == "DoMemXfer('Memory buffer size = 24' EndThisXfer())");
    checkStory(stage, "IMAGEMEMXFER; ENDXFER; over");
    CHECK(stage.pulled() == pieces({{12, 24}}));
    // Gray now, a byte per pixel; as for a page that can't be described.
    for (const bool described : {true, false}) {
        if (!described) stage.source.put({colorPage(1)});
        if (!described) stage.manager.answer(operation::imageInfo, failWith(TWCC_BADVALUE));
        stage.pull(24);
        CHECK(stage.pulled() == pattern(4));
        checkStory(stage, begin + "ENDXFER; over");
    }
}

TEST_CASE("a strip that doesn't come, and a cancel while the source works on one") {
    const std::string ends = "IMAGEMEMXFER; ENDXFER; over", fails = "IMAGEMEMXFER; STATUS; no count";
    // Cancelled is this one, all or none; the story of the call for it and of the one after it.
    const std::tuple<Strip, char, std::string, std::string> rows[] = {
        {endedBy(TWRC_CANCEL), '-', "ENDXFER; RESET; over", "SETUPMEMXFER; IMAGEINFO; " + fails},
        // Reset twice.
        {failedWith(TWCC_OPERATIONERROR), '-', "STATUS; RESET; RESET; over", fails},
        // What wasn't written may be tried again.
        {failedWith(TWCC_PAPERJAM), '-', "STATUS; no count", ends},
        {endedBy(TWRC_ENDOFLIST), '-', "STATUS; no count", ends},
        // The image isn't ended, even with its last strip.
        {colorPage(2).strips[0], 't', "12 bytes; kept", ends},
        {colorPage(1).strips[0], 't', "12 bytes; kept", ends},
        {colorPage(2).strips[0], 'a', "RESET; over", fails},
    };
    for (const auto& [strip, cancelled, story, next] : rows) {
        Page page = colorPage(2);
        page.strips.insert(page.strips.begin() + 1, strip);
        PullStage stage({page});
        stage.pull(12);
        stage.module.CancelAllXfer();  // before the call: doesn't count
        stage.forget();
        stage.source.whileTransferring = [&, asked = cancelled] {
            if (asked == 'a') stage.module.CancelAllXfer();
            if (asked == 't') stage.module.CancelThisXfer();
        };
        stage.pull(12);
        CHECK(stage.pulled() == (cancelled == '-' ? Bytes{} : pattern(12)));
        checkStory(stage, "IMAGEMEMXFER; " + story);
        stage.source.whileTransferring = nullptr;
        stage.pull(12);
        checkStory(stage, next);
        if (next == ends) CHECK(stage.pulled() == pieces({{12, 24}}));
    }
}

TEST_CASE("without memory, or without a source, nothing is asked and the count stays") {
    for (const bool open : {false, true}) {
        PullStage stage({colorPage(2)});
        if (!open) stage.module.DisableDS();
        if (!open) stage.module.CloseDS();
        stage.windows.largestAllocation = 12;
        stage.forget();
        stage.pull(12);
        CHECK(stage.viewer.warnings().last(1) == Lines{"Low Memory in TScanModule::DoMemXfer"});
        CHECK(stage.manager.calls().with("IMAGEMEMXFER") == Lines{});
        CHECK(stage.count == unwritten);
        stage.windows.largestAllocation = any;
        stage.pull(12);
        CHECK(stage.count == (open ? 12 : unwritten));
    }
}

TEST_CASE("an image that was pulled in part is forgotten with its batch and with the source") {
    for (const bool withBatch : {false, true}) {
        CAPTURE(withBatch);
        PullStage stage({colorPage(3)});
        stage.host.onXferStart = [&](TXferImageInfo& image) {
            // A pull takes back what the host said of its own buffer.
            *image.Target.Buffer = {4, &stage};
            stage.pull(12);
            CHECK(image.Target.Buffer->BufferSize == 0);
            CHECK(image.Target.Buffer->BufferPointer == nullptr);
            stage.module.CancelAllXfer();
        };
        stage.pull(12);
        if (withBatch) stage.deliver(MSG_XFERREADY);
        if (!withBatch) stage.module.DisableDS();
        CHECK(stage.windows.memoryComplaints() == Lines{});
        if (!withBatch) stage.module.CloseDS();
        if (!withBatch) stage.enable();
        stage.source.put({grayRow});
        stage.pull(24);
        CHECK(stage.count == over);
        CHECK(stage.pulled() == pattern(4));
    }
}

TEST_CASE("one buffer serves all strips of an image, but never two of them at a time") {
    PullStage stage({colorPage(9)});
    Bytes nested(12);
    unsigned nestedCount = 0;
    stage.source.whileTransferring = [&] {
        if (stage.source.requests.size() == 3) stage.module.ReadBlock(nested.data(), 12, &nestedCount);
    };
    for (int strip = 0; strip < 3; ++strip)
        stage.pull(12);
    const auto& requests = stage.source.requests;
    const auto& sizes = stage.windows.allocations;
    CHECK(std::count(sizes.begin(), sizes.end(), SIZE_T{12}) == 2);
    CHECK(requests[2].TheMem != requests[3].TheMem);
    CHECK(stage.pulled() == pieces({{36, 48}}));
    CHECK(nested == pieces({{24, 36}}));
    CHECK(stage.windows.memoryComplaints() == storyOf("kept"));
}

TEST_CASE("what lies behind a strip is not of the one before it") {
    // Of 1 bit a row counts as 8 bytes; of two rows the second isn't written. The strip before it, the strip,
    // and how many bytes are of it.
    const std::tuple<TW_INT16, StripFacts, StripFacts, size_t> rows[] = {
        {TWPT_BW, {10, 80, 1, 0, 0, 10}, {1, 8, 1, 0, 0, 1}, 1},
        {TWPT_GRAY, {5, 4, 3, 0, 0, 10}, {5, 4, 2, 0, 0, 5}, 4},
    };
    for (const auto& [type, before, facts, written] : rows) {
        CAPTURE(type);
        const TW_INT16 bits = type == TWPT_BW ? 1 : 8;
        PullStage stage({{imageInfo(type, bits, 80, 9),
                          {{before, Bytes(10, 0xAA)}, {facts, pattern(facts.bytesWritten)}}}});
        stage.pull(10);
        stage.pull(10);
        Bytes delivered = pattern(static_cast<int>(written));
        delivered.resize(8);
        CHECK(stage.pulled() == delivered);
    }
}
