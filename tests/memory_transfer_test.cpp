// Memory transfer: a batch of pages pushed to the host, and every way in which a page or the batch can end.
#include <doctest.h>

#include <cstring>

#include "MemoryStage.h"

TEST_CASE("a batch of two pages: every operation, message and line in its order") {
    MemoryStage stage({grayPage(), grayPage()});
    // The batch leaves one message that wakes the host's loop.
    int posted = 0;
    stage.host.onCloseRequest = [&] {
        MSG message;
        while (PeekMessageA(&message, stage.host.window(), WM_NULL, WM_NULL, PM_REMOVE))
            ++posted;
    };
    CHECK(stage.run(false) == "SDDE0 SDDE0 C");
    CHECK(posted == 1);
    const Lines unit = refused("GETCURRENT ICAP_UNITS") + refused("GET ICAP_UNITS");
    const Lines page =
        Lines{"SETUPMEMXFER", "IMAGEINFO"} + unit + Lines{"IMAGEMEMXFER", "IMAGEMEMXFER", "ENDXFER"};
    CHECK(stage.manager.calls() == Lines{"PROCESSEVENT"} + refused("GETCURRENT ICAP_XFERMECH") +
                                       refused("GET ICAP_XFERMECH") + refused("GET ICAP_XFERMECH") +
                                       Lines{"IMAGEINFO"} + 2 * page);

    // The method's own lines, without those of the methods that it calls.
    const std::string in = " in TScanModule::DoMemXfer";
    const Lines pageLines = Lines{"Send WM_XFERSTART" + in, "Process memory buffer" + in,
                                  "Memory buffer size = 1024" + in, "Do while-loop to get image data" + in} +
                            2 * Lines{"MSG_GET DAT_IMAGEMEMXFER" + in, "Send WM_XFERDATA" + in};
    CHECK(stage.viewer.traces().with("DoMemXfer") ==
          Lines{"Coming TScanModule::DoMemXfer"} + 2 * pageLines +
              Lines{"Send SM_CLOSEDSREQ" + in, "Leaving TScanModule::DoMemXfer"});
    CHECK(stage.viewer.traces().with("Mem Xfer Size") ==
          2 * Lines{"Mem Xfer Size min = 64 max = 4096preferred = 1024 in TScanModule::GetMemXferSize"});
    CHECK(stage.windows.memoryComplaints() == Lines{});
}

TEST_CASE("the records describe image and strip") {
    MemoryStage stage({grayPage()});
    stage.manager.answer(operation::getCurrent(ICAP_UNITS), give(oneValue(TWTY_UINT16, TWUN_CENTIMETERS)));
    TXferImageInfo expected = {};
    expected.XResolution = expected.YResolution = 118;  // 300 x 0.3937
    expected.ImageWidth = expected.ImageLength = 4;
    expected.SamplesPerPixel = 1;
    expected.BitsPerSample[0] = expected.BitsPerPixel = 8;
    expected.PixelTypeFlag = 2;
    expected.XferMech = 4;
    stage.host.onXferStart = [&](TXferImageInfo& image) {
        expected.Target = image.Target;
        CHECK(image.Target.Buffer->BufferSize == 0);
        CHECK(image.Target.Buffer->BufferPointer == nullptr);
    };
    stage.host.onXferData = [&](const TXferStripInfo& strip) {
        CHECK(std::memcmp(&strip, &expected, 42) == 0);
        CHECK(strip.Buffer == expected.Target.Buffer);
    };
    stage.run();
    REQUIRE(stage.host.images().size() == 2);
    for (const TXferImageInfo& image : stage.host.images())
        CHECK(std::memcmp(&image, &expected, sizeof expected) == 0);
}

TEST_CASE("cancelling from each handler") {
    // Of the first page: at its start, with its first and its last strip, and at its end.
    for (const std::string first : {"SE-5 ", "SDE-5 ", "SDDE-5 ", "SDDE0 "}) {
        for (const bool all : {false, true}) {
            CAPTURE(first);
            CAPTURE(all);
            MemoryStage stage({grayPage(), grayPage(), grayPage()});
            const size_t messages = first == "SDDE0 " ? 4 : first.find('E');
            const auto handler = [&] {
                if (stage.host.messages().size() != messages) return;
                if (all)
                    CHECK(stage.module.CancelAllXfer() == 1);
                else
                    stage.module.CancelThisXfer();
            };
            stage.host.onXferStart = [&](TXferImageInfo&) { handler(); };
            stage.host.onXferData = [&](const TXferStripInfo&) { handler(); };
            stage.host.onXferEnd = [&](int, const TXferImageInfo&) { handler(); };
            CHECK(stage.run() == first + (all ? "" : "SDDE0 SDDE0 "));
            const Lines calls = stage.manager.calls();
            CHECK(calls.with("ENDXFER").size() == (all ? 1 : 3));
            CHECK(calls.with("RESET") == (all ? calls.last(1) : Lines{}));
            CHECK(stage.viewer.warnings().with("AP cancel image xfer in TScanModule::DoMemXfer").size() ==
                  (messages == 1));
            CHECK(stage.windows.memoryComplaints() == Lines{});
        }
    }
}

TEST_CASE("a strip that fails ends its page with the source's reason") {
    struct Row {
        Strip last;
        const char* story;
        const char* warning;
    };
    const Row rows[] = {
        {endedBy(TWRC_CANCEL), "SDE-4 SDDE0 ", "image xfer canceled"},
        {failedWith(TWCC_PAPERJAM), "SDE20 SDDE0 ", "Image xfer error"},
        {failedWith(TWCC_SUCCESS), "SDE0 SDDE0 ", "Image xfer error"},
        {endedBy(TWRC_ENDOFLIST), "SDE0 SDDE0 ", "Image xfer error"},
        // Ends the batch and asks for the source to be closed, twice.
        {failedWith(TWCC_OPERATIONERROR), "SDE5 CC", "Image xfer error"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.story);
        Page page = grayPage();
        page.strips[1] = row.last;
        MemoryStage stage({page, grayPage()});
        stage.manager.answer(operation::getCurrent(ICAP_UNITS), give(oneValue(TWTY_UINT16, TWUN_INCHES)));
        stage.manager.answer(operation::getCurrent(ICAP_XFERMECH), give(oneValue(TWTY_UINT16, TWSX_MEMORY)));
        CHECK(stage.run() == row.story);
        CHECK(stage.viewer.warnings() == Lines{row.warning + std::string(" in TScanModule::DoMemXfer")});
        const bool isOver = row.last.conditionCode == TWCC_OPERATIONERROR;
        if (isOver)
            CHECK(stage.manager.calls().last(4) == Lines{"IMAGEMEMXFER", "STATUS", "ENDXFER", "RESET"});
        CHECK(stage.viewer.traces().with("Send SM_CLOSEDSREQ").size() == isOver);
        CHECK(stage.windows.memoryComplaints() == Lines{});
    }
}

TEST_CASE("a page that can't be described silences the ends of the batch, until the next") {
    struct Row {
        int describedBefore;
        TW_UINT16 code;
        const char* story;
    };
    const Row rows[] = {
        {0, TWCC_BADVALUE, "SDDSDD"}, {1, TWCC_BADVALUE, "SDDE0 SDD"}, {0, TWCC_OPERATIONERROR, "CC"}};
    for (const Row& row : rows) {
        CAPTURE(row.story);
        MemoryStage stage({grayPage(), grayPage(), grayPage()});
        for (int i = 0; i <= row.describedBefore; ++i)  // one more, for the look at free memory
            stage.manager.answerNext(operation::imageInfo, copy(grayPage().info));
        stage.manager.answerNext(operation::imageInfo, failWith(row.code));
        CHECK(stage.run() == row.story);
        CHECK(stage.viewer.warnings().with("Error in get DAT_IMAGEINFO in TScanModule::DoM").size() == 1);
        stage.source.put({grayPage()});
        stage.deliver(MSG_XFERREADY);
        CHECK(stage.story() == "SDDE0 ");
        // A batch that describes none ends.
        stage.source.put(std::vector<Page>(1000, grayPage()));
        stage.manager.answerNext(operation::imageInfo, copy(grayPage().info));
        stage.manager.answer(operation::imageInfo, failWith(TWCC_BADVALUE));
        stage.deliver(MSG_XFERREADY);
        CHECK(stage.manager.calls().last(2) == Lines{"ENDXFER", "RESET"});
    }
}

TEST_CASE("the pending count is known inside the handler of an end, and there only") {
    for (const bool hidden : {false, true}) {
        CAPTURE(hidden);
        MemoryStage stage({grayPage(), grayPage()});
        if (hidden) stage.source.hideCount();
        std::vector<int> counts;
        const auto note = [&] {
            unsigned short count = 1;
            CHECK(stage.module.GetPendingCount(&count) == 0);
            counts.push_back(count);
        };
        stage.host.onXferStart = [&](TXferImageInfo&) { note(); };
        stage.host.onXferData = [&](const TXferStripInfo&) { note(); };
        stage.host.onXferEnd = [&](int, const TXferImageInfo&) { note(); };
        stage.host.onCloseRequest = note;
        stage.enable();
        note();
        stage.deliver(MSG_XFERREADY);
        CHECK(counts ==
              std::vector<int>{0, 9999, 9999, 9999, hidden ? 0xFFFF : 1, 9999, 9999, 9999, 0, 9999});
    }
}

TEST_CASE("an end that fails ends the batch") {
    MemoryStage stage({grayPage(), grayPage()});
    stage.manager.answer(operation::endTransfer, failWith(TWCC_SEQERROR));
    CHECK(stage.run() == "SDDE0 ");
    CHECK(stage.viewer.warnings().back() == "DSM_Entry returns failure in TScanModule::EndThisXfer");
}
