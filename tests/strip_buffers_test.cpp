// The buffer of a memory transfer: how large the source wants it, whose it is, and what a source that lies
// may do to it.
#include <doctest.h>

#include <algorithm>
#include <numeric>

#include "GuardedBuffer.h"
#include "MemoryStage.h"

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
    const std::string method = " in TScanModule::GetMemXferSize";
    std::vector<unsigned> sizes = {1, 2, 3};
    const auto ask = [&](Stage& stage) {
        stage.forget();
        return stage.module.GetMemXferSize(&sizes[0], &sizes[1], &sizes[2]);
    };
    SUBCASE("refused by the source") {
        Stage stage;
        stage.open();
        stage.manager.answer(operation::setupMemory, failWith(TWCC_OPERATIONERROR));
        CHECK(ask(stage) == TWCC_OPERATIONERROR);
        CHECK(stage.manager.calls() == refused("SETUPMEMXFER"));
        CHECK(sizes == std::vector<unsigned>{0x10000, 0x10000, 0x10000});
        CHECK(stage.viewer.warnings() == Lines{"DSM_Entry returns failure" + method});
    }
    SUBCASE("no source open") {
        Stage stage;
        CHECK(ask(stage) == 11);
        CHECK(stage.manager.calls() == Lines{});
        CHECK(sizes == std::vector<unsigned>{1, 2, 3});
        CHECK(stage.viewer.warnings() == Lines{"Sequence error" + method});
    }
    SUBCASE("no manager") {
        const ManagerFile missing(ManagerFile::Kind::Missing);
        Stage stage;
        CHECK(ask(stage) == -1);
        CHECK(sizes == std::vector<unsigned>{1, 2, 3});
        CHECK(stage.viewer.warnings().last(1) == Lines{"TWAIN is not available" + method});
    }
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
        // The preferred size becomes the minimum.
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
        std::vector<SIZE_T> tried = stage.windows.allocations;
        tried.erase(std::remove_if(tried.begin(), tried.end(), [](SIZE_T size) { return size < 500000; }),
                    tried.end());
        CHECK(std::vector<SIZE_T>(tried.begin(), tried.begin() + tried.size() / 2) == row.tried);
        if (row.used == 0) {
            CHECK(stage.host.messages() == 2 * Lines{"XferStart", "XferEnd 2"});
            CHECK(stage.viewer.warnings().with("Low Memory in TScanModule::DoMemXfer").size() == 2);
        } else {
            CHECK(stage.host.messages() == 2 * wholePage);
            const TW_MEMORY& asked = stage.source.requests().back();
            CHECK(asked.Flags == 9);  // the application's memory, given as a pointer
            CHECK(asked.Length == row.used);
            CHECK(shown.BufferSize == row.used);
            CHECK(shown.BufferPointer == asked.TheMem);
            CHECK(
                stage.viewer.traces().with("Memory buffer size") ==
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
        const auto allocated = stage.viewer.traces().with("Memory buffer size").size();
        CHECK(allocated == (row.ownAtStart && isHosts ? 0 : 1));
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
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
