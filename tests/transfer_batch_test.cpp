// Batches of native, file and memory transfers: which of them a batch takes, the exchange between source and
// host in its order, the records, cancelling, every failure.
#include <algorithm>
#include <cstring>
#include <map>

#include "BatchStage.h"
#include "Story.h"

namespace {

// What is asked before the first image, and of each.
const std::string begin = "PROCESSEVENT; GETCURRENT ICAP_XFERMECH; GET ICAP_XFERMECH; IMAGEINFO; IMAGEINFO; ";
const std::string box = "box Insufficient memory or disk space. | (null) | 0";

}  // namespace

TEST_CASE("each mechanism, each way an image can end") {
    const std::string failed = "! Image xfer error in @; STATUS; ";
    const std::tuple<Strip, int, std::string> rows[] = {
        {endedBy(TWRC_CANCEL), -4, "! Image xfer canceled in @; "},
        {failedWith(TWCC_PAPERJAM), 20, failed},
        {failedWith(TWCC_SUCCESS), 0, failed},
        {endedBy(TWRC_ENDOFLIST), 0, failed},
        {failedWith(TWCC_OPERATIONERROR), 5, failed},
    };
    for (const Mechanism& by : mechanisms) {
        for (const bool showUI : {false, true}) {
            BatchStage stage({}, by, showUI);
            // Neither has an effect here.
            CHECK(stage.module.CancelAllXfer() == 1);
            CHECK(stage.module.EnableDS(!showUI, FALSE) == 0);
            for (auto [last, result, words] : rows) {
                Page page = grayPage();
                page.strips[1] = last;
                stage.run({page, grayPage()});
                std::string rest = by.goodPage() + (showUI ? "" : "CloseDSReq");
                if (by.isMemory() && result == -4) words[2] = 'i';
                // Ends the batch, and asks for the source to be closed twice.
                if (by.isMemory() && result == 5) rest = "RESET; CloseDSReq; CloseDSReq";
                checkStory(stage, begin + by.image(by.call + words, result) + rest, by.method);
                CHECK(stage.manager.state() == 5);
            }
        }
    }
}

TEST_CASE("the lines of a batch") {
    const std::string strip =
        " 'MSG_GET DAT_IMAGEMEMXFER' ImageBytesPerRow() ImageBytesPerRow() 'Send WM_XFERDATA'";
    // What follows the start of an image, up to what asks for the source to be closed.
    const std::string words[] = {
        "'MSG_GET DAT_IMAGENATIVEXFER' EndThisXfer() 'Send WM_CLOSEDSREQ",
        // Kept: the name of the native transfer.
        "'MSG_SET DAT_SETUPFILEXFER' 'Get image by DAT_IMAGEFILEXFER' EndThisXfer() "
        "'Send WM_CLOSEDSREQ in DoNativeXfer",
        "'Process memory buffer' 'Memory buffer size = 1024' 'Do while-loop to get image data'" + strip +
            strip + " EndThisXfer() 'Send SM_CLOSEDSREQ"};
    for (size_t i = 0; i < 3; ++i) {
        const Mechanism& by = mechanisms[i];
        BatchStage stage({grayPage()}, by, false);
        // A batch of memory transfers leaves a message that wakes the host's loop.
        bool isPosted = false;
        stage.host.onMessage = [&](const std::string& line) {
            MSG message;
            if (line == "CloseDSReq") isPosted = PeekMessageA(&message, stage.host.window(), 0, 0, PM_REMOVE);
        };
        stage.run();
        CHECK(isPosted == by.isMemory());
        const std::string sizes = "GetMemXferSize('Mem Xfer Size min = 64 max = 4096preferred = 1024') ";
        const std::string asked = "(CapNegotiate() ExtractOneValue())";
        CHECK(outline(stage) ==
              "IsDSEvent capturing MSG_XFERREADY(ProcessScanImage(GetXferMech" + asked +
                  " CanUseFileXfer('Can Use File Xfer.') HasEnoughMemFreeSpace() HasEnoughMemFreeSpace() " +
                  by.method + "(" + (by.isMemory() ? sizes : "") + "GetUnit" + asked +
                  " 'Send WM_XFERSTART' " + words[i] + "')))");
        // Kept: without the method's name.
        CHECK(stage.viewer.traces().with("Get image by DAT_IMAGEFILEXFER in") == Lines{});
    }
}

TEST_CASE("cancelling from each handler") {
    // Of three images. Asked, at each message of this name: t for this one, a for all, b for all and then
    // only this one. Outcome: done, cancelled at the start, with the first or the last strip; with an r at
    // the end when the rest was dropped.
    const std::string rows[][3] = {
        {"XferStart", "t--", "cdd"},   {"XferStart", "--t", "ddc"}, {"XferStart", "ttt", "ccc"},
        {"XferStart", "a--", "cr"},    {"XferStart", "-a-", "dcr"}, {"XferStart", "b--", "cdd"},
        {"XferEnd", "-a-", "ddr"},     {"XferEnd", "ttt", "ddd"},   {"XferData", "t-----", "1dd"},
        {"XferData", "-t----", "2dd"}, {"XferData", "a", "1r"},     {"XferData", "-a", "2r"},
    };
    for (const Mechanism& by : mechanisms) {
        const std::map<char, std::string> outcomes = {
            {'d', by.goodPage()},
            {'c', by.image("! AP cancel image xfer in @; ", -5)},
            {'1', by.image("IMAGEMEMXFER; XferData; ", -5)},
            {'2', by.image(by.call + by.done, -5)},
            {'r', "RESET; "},
        };
        BatchStage stage({}, by, false);
        for (const auto& row : rows) {
            if (row[0] == "XferData" && !by.isMemory()) continue;
            size_t count = 0;
            stage.host.onMessage = [&](const std::string& line) {
                if (line.rfind(row[0], 0) != 0) return;
                const char asked = row[1].at(count++);
                if (asked == 'a' || asked == 'b') CHECK(stage.module.CancelAllXfer() == 1);
                if (asked == 't' || asked == 'b') stage.module.CancelThisXfer();
            };
            stage.run({grayPage(), grayPage(), grayPage()});
            std::string story = begin;
            for (const char letter : row[2])
                story += outcomes.at(letter);
            checkStory(stage, story + "CloseDSReq", by.method);
        }
    }
}

TEST_CASE("images without a description, and ends that fail") {
    Page bad = grayPage(), worse = grayPage();
    bad.refusal = TWCC_BADVALUE;
    worse.refusal = TWCC_OPERATIONERROR;
    for (const Mechanism& by : mechanisms) {
        BatchStage stage({grayPage(), bad, grayPage()}, by);
        const std::string failed = "! DSM_Entry returns failure in TScanModule::", done = by.goodPage();
        const std::string skipped = by.info() + "! Error in get DAT_IMAGEINFO in @; " +
                                    (by.isMemory() ? "STATUS; ENDXFER; " : "ENDXFER; ");
        stage.source.countIsKnown = false;
        stage.run();
        // From then on the ends of a memory transfer are silent, until the next batch.
        const std::string last = by.isMemory() ? done.substr(0, done.rfind("XferEnd")) : done;
        checkStory(stage, begin + done + skipped + last, by.method);

        // Further images that a failed end speaks of don't count.
        Answer failure = failWith(TWCC_SEQERROR);
        failure.act = pending(7).act;
        stage.manager.answerNext(operation::endTransfer, failure);
        stage.run({grayPage(), grayPage()});
        std::string only = done;
        only.insert(only.find("ENDXFER; ") + 9, failed + "EndThisXfer; STATUS; ");
        checkStory(stage, begin + only, by.method);

        // An operation error ends a batch of memory transfers here too. An end of all may fail.
        stage.manager.answer(operation::resetTransfers, failWith(TWCC_SEQERROR));
        size_t ends = 0;
        stage.host.onMessage = [&](const std::string& line) {
            if (line == "XferEnd 0" && ++ends == 2) stage.module.CancelAllXfer();
        };
        stage.run({grayPage(), worse, grayPage()});
        const std::string reset = "RESET; " + failed + "EndAllXfer; STATUS; ";
        const std::string rest = by.isMemory() ? reset + "CloseDSReq; CloseDSReq" : done + reset;
        checkStory(stage, begin + done + skipped + rest, by.method);

        // A batch that describes none any more ends, one that describes some goes on.
        stage.windows.switchesOff = true;
        for (const size_t described : {600, 10}) {
            std::vector<Page> pages(600, bad);
            for (size_t i = 0; i < pages.size(); i += described)
                pages[i] = grayPage();
            stage.run(pages);
            CHECK((stage.manager.calls().with("ENDXFER").size() == 600) == (described == 10));
        }
    }
}

TEST_CASE("the recorded mechanism counts when the source doesn't say its own") {
    BatchStage stage({grayPage()});
    stage.module.DisableDS();
    CHECK(stage.module.SetXferMech(SM_MECH_FILE) == 0);
    stage.module.EnableDS(FALSE, FALSE);
    stage.manager.answer(operation::get(ICAP_XFERMECH), failWith(TWCC_BADCAP));
    stage.manager.answer(operation::getCurrent(ICAP_XFERMECH), failWith(TWCC_BADCAP));
    stage.run();
    CHECK(outline(stage).find(" DoFileXfer(") != std::string::npos);
}

TEST_CASE("the pending count is known inside the handler of a memory transfer's end, and there only") {
    BatchStage stage({grayPage(), grayPage()}, memory, false);
    stage.source.countIsKnown = false;
    std::vector<int> counts;
    stage.host.onMessage = [&](const std::string&) {
        unsigned short count = 1;
        CHECK(stage.module.GetPendingCount(&count) == 0);
        counts.push_back(count);
    };
    stage.run();
    CHECK(counts == std::vector<int>{9999, 9999, 9999, 0xFFFF, 9999, 9999, 9999, 0, 9999});
}

TEST_CASE("a host takes a DIB by naming a handle of its own, another is freed before its end") {
    Page page = grayPage();
    page.whole = pattern(101);
    BatchStage stage({page, page}, native);
    HGLOBAL mine = nullptr;
    stage.host.onXferStart = [&](TXferImageInfo& image) {
        CHECK(image.Target.Dib == nullptr);  // also of the second image
        if (mine == nullptr) image.Target.Dib = &mine;
    };
    stage.host.onMessage = [&](const std::string& line) {
        stage.windows.release(mine);
        CHECK((line == "XferStart" || stage.windows.ownedBlocks() == 0));
    };
    stage.run();
    CHECK(stage.host.messages().size() == 4);
    CHECK(GlobalSize(mine) == 101);
    GlobalFree(mine);
}

TEST_CASE("the name of a file is a format text, and no longer than its field") {
    const std::string longest(255, 'x'), start(200, 'x'), end(49, 'y');
    const std::pair<std::string, std::string> rows[] = {
        {"C:\\100%% sure.bmp", "C:\\100% sure.bmp"},
        {longest, longest},
        {longest + "x", longest},  // without an end
        {start + "%%%%%%" + end, start + "%%%" + end},
        {"%0300d", std::string(255, '0')},
    };
    for (const auto& [given, sent] : rows) {
        BatchStage stage({grayPage()}, file);
        stage.host.onXferStart = [&, name = given](TXferImageInfo& image) {
            std::memcpy(image.Target.FileName, name.c_str(), std::min<size_t>(name.size() + 1, 256));
        };
        stage.run();
        CHECK(stage.manager.calls().with("SETUPFILEXFER") ==
              Lines{"SET SETUPFILEXFER " + sent + " format 2"});
    }
    // One that the source refuses is not transferred.
    BatchStage stage({grayPage()}, file);
    stage.manager.answerNext(operation::setupFile, failWith(TWCC_BADVALUE));
    stage.run();
    const std::string words = "! MSG_SET DAT_SETUPFILEXFER error in @; STATUS; ";
    checkStory(stage, begin + file.image("SET SETUPFILEXFER C:\\page.bmp format 2; " + words, 10),
               file.method);
}

TEST_CASE("a host that names no file") {
    BatchStage stage({grayPage()}, file);
    stage.run();
    HGLOBAL dib = nullptr, found = nullptr;
    stage.host.onXferStart = [&](TXferImageInfo& image) {
        if (image.XferMech == SM_MECH_NATIVE) image.Target.Dib = &dib;
        if (image.XferMech == SM_MECH_FILE) std::memcpy(&found, image.Target.FileName, sizeof found);
    };
    // Finds the last name, and after a native transfer the handle in front.
    stage.run({grayPage()});
    CHECK(std::memcmp(&found, "C:\\p", sizeof found) == 0);
    for (const Mechanism* by : {&native, &file}) {
        stage.manager.answer(operation::getCurrent(ICAP_XFERMECH), give(oneValue(TWTY_UINT16, by->twain)));
        stage.run({grayPage()});
    }
    CHECK((dib != nullptr && found == dib));
    GlobalFree(dib);
}

TEST_CASE("an image too large for memory comes by file where the source can") {
    constexpr SIZE_T headroom = 0x39000;
    const std::tuple<TW_INT16, TW_INT32, TW_INT32, SIZE_T> sizes[] = {
        {1, 9, 1, 1 + headroom},
        {24, 100, -1, 0x38ed4},  // the low half of a negative product
        {24, 40000, 40000, 505032704 + headroom},
    };
    BatchStage stage;
    stage.windows.largestAllocation = 100000000;
    for (const auto& [bits, width, length, room] : sizes) {
        stage.run({{imageInfo(TWPT_RGB, bits, width, length), {endedBy(TWRC_CANCEL)}}});
        CHECK(stage.windows.allocations.front() == room);
    }
    const std::pair<ContainerImage, bool> rows[] = {
        {enumeration(TWTY_UINT16, {1, 0, 2}), true},
        {enumeration(TWTY_UINT16, {0, 2, 1}), true},
        {enumeration(TWTY_UINT16, {0, 2}), false},
        {oneValue(TWTY_UINT16, TWSX_NATIVE), false},
        {array(TWTY_UINT16, {1}), false},
        // Any type: of one value the low 16 bits count, a list goes by steps of 16 bits.
        {oneValue(TWTY_STR32, TWSX_FILE), true},
        {oneValue(TWTY_UINT32, 0x50001), true},
        {enumeration(TWTY_STR32, {0x10000, 5}), true},
    };
    stage.windows.largestAllocation = headroom;
    const std::string asked = begin.substr(0, begin.rfind("IMAGEINFO"));
    for (const auto& [offer, isFile] : rows) {
        stage.manager.answer(operation::get(ICAP_XFERMECH), give(offer));
        stage.run({grayPage()});
        const Lines notes = stage.viewer.traces().with("Use File Xfer");
        CHECK(notes == Lines{isFile ? "Can Use File Xfer." : "Cannot Use File Xfer."});
        checkStory(stage, asked + (isFile ? file.goodPage() : box), file.method);
    }
}

TEST_CASE("without memory and without a file the user is told, and a log why the source says no mechanisms") {
    const std::pair<TW_UINT16, std::string> rows[] = {
        {0, "TWCC_SUCCESS: It worked!"},
        {1, "TWCC_BUMMER: Failure due to unknown causes"},
        {2, "TWCC_LOWMEMORY: Not enough memory to perform operation"},
        {3, "TWCC_NODS: No Data Source"},
        {4, "TWCC_MAXCONNECTIONS: DS is connected to max possible apps      "},
        {5, "TWCC_OPERATIONERROR: DS or DSM reported error, app shouldn't   "},
        {6, "TWCC_BADCAP: Unknown capability                        "},
        {9, "TWCC_BADPROTOCOL: Unrecognized MSG DG DAT combination       "},
        {10, "TWCC_BADVALUE: Data parameter out of range               "},
        {11, "TWCC_SEQERROR: DG DAT MSG out of expected sequence       "},
        {12, "TWCC_BADDEST: Unknown destination App/Src in DSM_Entry  "},
        {7, "Unknown Value: Unknown Message"},
    };
    BatchStage stage;
    for (const auto& [code, text] : rows) {
        stage.manager.answer(operation::get(ICAP_XFERMECH), failWith(code));
        stage.run({});
        CHECK(outline(stage).find("CanUseFileXfer(GetStatus('" + text + "\n')) ") != std::string::npos);
        const std::string asked = "PROCESSEVENT; GETCURRENT ICAP_XFERMECH; GET ICAP_XFERMECH; STATUS; ";
        checkStory(stage, asked + "IMAGEINFO; " + box);
    }
    // This path leaves the nesting of the trace raised: what comes next counts as nested.
    stage.module.IsTWAINAvailable();
    CHECK(stage.viewer.lines().front() == "Trace: Coming TScanModule::IsTWAINAvailable");
}

TEST_CASE("the records of images: what is known, by a length's factor in the source's unit, or as it was") {
    // An unknown pixel type leaves the record's as it was.
    // The last columns are recorded: the type as a flag, and the resolutions.
    const std::tuple<TW_INT16, TW_UINT16, TW_FIX32, unsigned short, short, short> rows[] = {
        {2, TWUN_INCHES, {299, 65535}, 4, 150, 299}, {0, TWUN_CENTIMETERS, {762, 0}, 1, 59, 299},
        {1, TWUN_TWIPS, {28800, 0}, 2, 0, 20},       {8, TWUN_PIXELS, {200, 0}, 256, 150, 200},
        {9, TWUN_POINTS, {-720, 0}, 256, 2, -1},     {-1, 77, {75, 0}, 256, 150, 75},
    };
    for (const Mechanism& by : mechanisms) {
        BatchStage stage({}, by);
        TXferImageInfo expected = {0,       0, 20, -1, 3, {8, 8, 8, 0, 0, 0, 0, 99}, 24, 1, 0, TWCP_PACKBITS,
                                   by.code, {}};
        for (const auto& [type, unit, resolution, flag, x, y] : rows) {
            TW_IMAGEINFO info = {{150, 0}, resolution, 20, -1, 3, {8, 8, 8}, 24, 1, type, TWCP_PACKBITS};
            info.BitsPerSample[7] = 99;
            stage.manager.answer(operation::getCurrent(ICAP_UNITS), give(oneValue(TWTY_UINT16, unit)));
            expected.PixelTypeFlag = flag;
            expected.XResolution = x;
            expected.YResolution = y;
            const auto check = [&](const TXferImageInfo& image) {
                CHECK((image.Target.Dib == nullptr) == (by.code == SM_MECH_NATIVE));
                expected.Target = image.Target;
                CHECK(std::memcmp(&image, &expected, sizeof expected) == 0);
            };
            stage.host.onXferStart = stage.host.onXferEnd = check;
            // What a strip is told with begins like its image.
            stage.host.onXferData = [&](const TXferStripInfo& strip) {
                CHECK(std::memcmp(&strip, &expected, offsetof(TXferStripInfo, BytesPerRow)) == 0);
                CHECK(strip.Buffer == expected.Target.Buffer);
            };
            stage.run({{info, {endedBy(TWRC_XFERDONE)}}});
            CHECK(stage.host.messages().size() == (by.isMemory() ? 3 : 2));
        }
    }
}
