// Memory transfer: a batch of pages pushed to the host, and every way in which a page or the batch can end.
#include <doctest.h>

#include "MemoryStage.h"

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
    const Lines strip = {"MSG_GET DAT_IMAGEMEMXFER in TScanModule::DoMemXfer",
                         "Send WM_XFERDATA in TScanModule::DoMemXfer"};
    const Lines pageLines = Lines{"Send WM_XFERSTART in TScanModule::DoMemXfer",
                                  "Process memory buffer in TScanModule::DoMemXfer",
                                  "Memory buffer size = 1024 in TScanModule::DoMemXfer",
                                  "Do while-loop to get image data in TScanModule::DoMemXfer"} +
                            2 * strip;
    CHECK(stage.viewer.traces().with("DoMemXfer") ==
          Lines{"Coming TScanModule::DoMemXfer"} + 2 * pageLines +
              Lines{"Send SM_CLOSEDSREQ in TScanModule::DoMemXfer", "Leaving TScanModule::DoMemXfer"});
    CHECK(stage.viewer.traces().with("Mem Xfer Size") ==
          2 * Lines{"Mem Xfer Size min = 64 max = 4096preferred = 1024 in "
                    "TScanModule::GetMemXferSize"});
    CHECK(stage.windows.memoryComplaints() == Lines{});
}

TEST_CASE("cancelling from each handler") {
    enum class From { Start, Data, LastData, End };
    struct Row {
        From from;
        bool all;
        Lines messages;
    };
    const Lines two = 2 * wholePage;
    const Lines afterStart = {"XferStart", "XferEnd -5"}, afterData = {"XferStart", "XferData", "XferEnd -5"},
                afterLast = {"XferStart", "XferData", "XferData", "XferEnd -5"};
    const Row rows[] = {
        {From::Start, false, afterStart + two},   {From::Start, true, afterStart},
        {From::Data, false, afterData + two},     {From::Data, true, afterData},
        {From::LastData, false, afterLast + two}, {From::LastData, true, afterLast},
        {From::End, false, wholePage + two},      {From::End, true, wholePage},
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
        stage.host.onXferData = [&](const TXferStripInfo& strip) {
            cancelFirst(strip.YOffset == 0 ? From::Data : From::LastData);
        };
        stage.host.onXferEnd = [&](int, const TXferImageInfo&) { cancelFirst(From::End); };
        CHECK(stage.run() == row.messages);
        const Lines calls = stage.manager.calls();
        CHECK(calls.with("ENDXFER").size() == (row.all ? 1 : 3));
        CHECK(calls.with("RESET") == (row.all ? calls.last(1) : Lines{}));
        CHECK(stage.viewer.warnings().with("AP cancel image xfer in TScanModule::DoMemXfer").size() ==
              (row.from == From::Start));
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
        CHECK(stage.manager.calls().last(4) == Lines{"IMAGEMEMXFER", "STATUS", "ENDXFER", "RESET"});
        CHECK(stage.viewer.traces().with("Send SM_CLOSEDSREQ").size() == 1);
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
    CHECK(stage.viewer.warnings().with("Error in get DAT_IMAGEINFO in TScanModule::DoMemXfer").size() == 1);
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
