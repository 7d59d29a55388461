// Batches of native, file and memory transfers: which of them a batch takes, the exchange between source and
// host in its order, the records, cancelling, every failure.
#include <algorithm>
#include <cstring>
#include <map>
#include <tuple>

#include "BatchStage.h"
#include "Story.h"

namespace {

// What is asked before the first image, and of each.
const std::string choice =
    "PROCESSEVENT; GETCURRENT ICAP_XFERMECH; GET ICAP_XFERMECH; IMAGEINFO; IMAGEINFO; ";
const std::string box = "box Insufficient memory or disk space. | (null) | 0";
const std::string undescribed = "! Error in get DAT_IMAGEINFO in @; ";

bool isMemory(const Mechanism& by) {
    return by.code == SM_MECH_MEMORY;
}
std::string info(const Mechanism& by) {
    return isMemory(by) ? "SETUPMEMXFER; IMAGEINFO; " : "IMAGEINFO; ";
}
std::string image(const Mechanism& by, const std::string& transfer, int result) {
    const std::string told = "XferEnd " + std::to_string(result) + "; ";
    return info(by) + "GETCURRENT ICAP_UNITS; XferStart; " + transfer +
           (isMemory(by) ? "ENDXFER; " + told : told + "ENDXFER; ");
}
std::string imageDone(const Mechanism& by) {
    return image(by, by.call + by.done, 0);
}

}  // namespace

TEST_CASE("each mechanism, each way an image can end") {
    struct Row {
        Strip last;
        int result;
        std::string words;
    };
    const std::string failed = "! Image xfer error in @; STATUS; ";
    const Row rows[] = {
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
            for (const Row& row : rows) {
                Page page = grayPage();
                page.strips[1] = row.last;
                stage.run({page, grayPage()});
                std::string words = row.words, rest = imageDone(by) + (showUI ? "" : "CloseDSReq");
                if (isMemory(by) && row.result == -4) words[2] = 'i';
                // Ends the batch, and asks for the source to be closed twice.
                if (isMemory(by) && row.result == 5) rest = "RESET; CloseDSReq; CloseDSReq";
                checkStory(stage, choice + image(by, by.call + words, row.result) + rest, by.method);
                CHECK(stage.manager.state() == 5);
            }
        }
    }
}

TEST_CASE("the lines of a batch") {
    const std::string strip =
        " 'MSG_GET DAT_IMAGEMEMXFER' ImageBytesPerRow() ImageBytesPerRow() 'Send WM_XFERDATA'";
    // What follows the start of an image, and what asks for the source to be closed.
    const std::string words[][2] = {
        {" 'MSG_GET DAT_IMAGENATIVEXFER'", "WM_CLOSEDSREQ"},
        // Kept: the name of the native transfer.
        {" 'MSG_SET DAT_SETUPFILEXFER' 'Get image by DAT_IMAGEFILEXFER'", "WM_CLOSEDSREQ in DoNativeXfer"},
        {" 'Process memory buffer' 'Memory buffer size = 1024' 'Do while-loop to get image data'" + strip +
             strip,
         "SM_CLOSEDSREQ"},
    };
    for (size_t i = 0; i < 3; ++i) {
        const Mechanism& by = mechanisms[i];
        BatchStage stage({grayPage()}, by, false);
        // A batch of memory transfers leaves one message that wakes the host's loop.
        int posted = 0;
        stage.host.onMessage = [&](const std::string& line) {
            MSG message;
            if (line != "CloseDSReq") return;
            while (PeekMessageA(&message, stage.host.window(), WM_NULL, WM_NULL, PM_REMOVE))
                ++posted;
        };
        stage.run();
        CHECK(posted == isMemory(by));
        const std::string sizes =
            isMemory(by) ? "GetMemXferSize('Mem Xfer Size min = 64 max = 4096preferred = 1024') " : "";
        CHECK(outline(stage) ==
              "IsDSEvent capturing MSG_XFERREADY(ProcessScanImage(GetXferMech(CapNegotiate() "
              "ExtractOneValue()) "
              "CanUseFileXfer('Can Use File Xfer.') HasEnoughMemFreeSpace() HasEnoughMemFreeSpace() " +
                  by.method + "(" + sizes + "GetUnit(CapNegotiate() ExtractOneValue()) 'Send WM_XFERSTART'" +
                  words[i][0] + " EndThisXfer() 'Send " + words[i][1] + "')))");
    }
}

TEST_CASE("cancelling from each handler") {
    // Of three images. Asked, at each message of this name: t for this one, a for all, b for all and then
    // only this one. Outcome: done, cancelled at the start, with the first or the last strip; with an r at
    // the end when the rest was dropped.
    struct Row {
        std::string message, asked, outcome;
        bool withStrips = false;
    };
    const Row rows[] = {
        {"XferStart", "t--", "cdd"},         {"XferStart", "--t", "ddc"},
        {"XferStart", "ttt", "ccc"},         {"XferStart", "a--", "cr"},
        {"XferStart", "-a-", "dcr"},         {"XferStart", "b--", "cdd"},
        {"XferEnd", "-a-", "ddr"},           {"XferEnd", "ttt", "ddd"},
        {"XferData", "t-----", "1dd", true}, {"XferData", "a", "1r", true},
        {"XferData", "-t----", "2dd", true}, {"XferData", "-a", "2r", true},
    };
    for (const Mechanism& by : mechanisms) {
        const std::map<char, std::string> outcomes = {
            {'d', imageDone(by)},
            {'c', image(by, "! AP cancel image xfer in @; ", -5)},
            {'1', image(by, "IMAGEMEMXFER; XferData; ", -5)},
            {'2', image(by, by.call + by.done, -5)},
            {'r', "RESET; "},
        };
        BatchStage stage({}, by, false);
        for (const Row& row : rows) {
            if (row.withStrips && !isMemory(by)) continue;
            size_t count = 0;
            stage.host.onMessage = [&](const std::string& line) {
                if (line.rfind(row.message, 0) != 0) return;
                const char asked = row.asked.at(count++);
                if (asked == 'a' || asked == 'b') CHECK(stage.module.CancelAllXfer() == 1);
                if (asked == 't' || asked == 'b') stage.module.CancelThisXfer();
            };
            stage.run({grayPage(), grayPage(), grayPage()});
            std::string story = choice;
            for (const char letter : row.outcome)
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
        const std::string status = isMemory(by) ? "STATUS; " : "", done = imageDone(by);
        stage.source.hideCount();
        stage.run();
        // From then on the ends of a memory transfer are silent, until the next batch.
        std::string last = done;
        if (isMemory(by)) last.erase(last.rfind("XferEnd"));
        checkStory(stage, choice + done + info(by) + undescribed + status + "ENDXFER; " + last, by.method);

        // Further images that a failed end speaks of don't count.
        stage.source.put({grayPage(), grayPage()});
        Answer failure = pending(7);
        failure.returnCode = TWRC_FAILURE;
        failure.conditionCode = TWCC_SEQERROR;
        stage.manager.answerNext(operation::endTransfer, failure);
        stage.run();
        std::string only = done;
        only.insert(only.find("ENDXFER; ") + 9,
                    "! DSM_Entry returns failure in TScanModule::EndThisXfer; STATUS; ");
        checkStory(stage, choice + only, by.method);

        // An operation error ends a batch of memory transfers here too. An end of all may fail.
        stage.source.put({grayPage(), worse, grayPage()});
        stage.manager.answer(operation::resetTransfers, failWith(TWCC_SEQERROR));
        size_t ends = 0;
        stage.host.onMessage = [&](const std::string& line) {
            if (line == "XferEnd 0" && ++ends == 2) stage.module.CancelAllXfer();
        };
        stage.run();
        const std::string reset = "RESET; ! DSM_Entry returns failure in TScanModule::EndAllXfer; STATUS; ";
        checkStory(stage,
                   choice + done + info(by) + undescribed + status + "ENDXFER; " +
                       (isMemory(by) ? reset + "CloseDSReq; CloseDSReq" : done + reset),
                   by.method);

        // A batch that describes none any more ends, one that describes some goes on.
        stage.windows.switchesOff = true;
        for (const size_t described : {600, 10}) {
            std::vector<Page> pages(600, bad);
            for (size_t i = 0; i < pages.size(); i += described)
                pages[i] = grayPage();
            stage.source.put(pages);
            stage.forget();
            stage.run();
            const size_t count = stage.manager.calls().with("ENDXFER").size();
            CHECK((count == pages.size()) == (described == 10));
        }
    }
}

TEST_CASE("the recorded mechanism counts when the source doesn't say its own") {
    for (const Mechanism& by : mechanisms) {
        BatchStage stage({grayPage()}, by);
        stage.module.DisableDS();
        CHECK(stage.module.SetXferMech(by.code) == 0);
        stage.module.EnableDS(FALSE, FALSE);
        for (const Operation& question :
             {operation::get(ICAP_XFERMECH), operation::getCurrent(ICAP_XFERMECH)})
            stage.manager.answer(question, failWith(TWCC_BADCAP));
        stage.run();
        CHECK(outline(stage).find(" " + by.method + "(") != std::string::npos);
    }
}

TEST_CASE("the pending count is known inside the handler of a memory transfer's end, and there only") {
    for (const bool hidden : {false, true}) {
        BatchStage stage({grayPage(), grayPage()}, memory, false);
        if (hidden) stage.source.hideCount();
        std::vector<int> counts;
        const auto note = [&](const std::string&) {
            unsigned short count = 1;
            CHECK(stage.module.GetPendingCount(&count) == 0);
            counts.push_back(count);
        };
        note("");
        stage.host.onMessage = note;
        stage.run();
        CHECK(counts ==
              std::vector<int>{0, 9999, 9999, 9999, hidden ? 0xFFFF : 1, 9999, 9999, 9999, 0, 9999});
    }
}

TEST_CASE("a host takes a DIB by naming a handle of its own, another is freed before its end") {
    Page page = grayPage();
    page.whole = pattern(101);
    BatchStage stage({page, page}, native);
    HGLOBAL mine = nullptr;
    std::vector<void*> targets;
    stage.host.onXferStart = [&](TXferImageInfo& image) {
        targets.push_back(image.Target.Dib);
        if (targets.size() == 1) image.Target.Dib = &mine;
    };
    stage.host.onMessage = [&](const std::string& line) {
        stage.windows.release(mine);
        CHECK((line == "XferStart" || stage.windows.ownedBlocks() == 0));
    };
    stage.run();
    // Each image begins without a target.
    CHECK(targets == std::vector<void*>{nullptr, nullptr});
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
    const std::string refusal = file.call.substr(0, file.call.find(';'));
    checkStory(stage,
               choice + image(file, refusal + "; ! MSG_SET DAT_SETUPFILEXFER error in @; STATUS; ", 10),
               file.method);
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
    const std::string asked = choice.substr(0, choice.rfind("IMAGEINFO"));
    for (const auto& [offer, isFile] : rows) {
        stage.manager.answer(operation::get(ICAP_XFERMECH), give(offer));
        stage.run({grayPage()});
        const Lines notes = stage.viewer.traces().with("Use File Xfer");
        CHECK(notes == Lines{isFile ? "Can Use File Xfer." : "Cannot Use File Xfer."});
        checkStory(stage, asked + (isFile ? imageDone(file) : box), file.method);
    }
}

TEST_CASE("an image too large for memory and without a file is only told to the user") {
    BatchStage stage({}, file);  // nor has it a description
    stage.manager.answer(operation::get(ICAP_XFERMECH), failWith(TWCC_BADCAP));
    SetFocus(stage.host.window());
    stage.run();
    checkStory(stage, "PROCESSEVENT; GETCURRENT ICAP_XFERMECH; GET ICAP_XFERMECH; STATUS; IMAGEINFO; " + box);
    // This path leaves the nesting of the trace raised: what comes next counts as nested.
    stage.module.IsTWAINAvailable();
    CHECK(stage.viewer.lines().front() == "Trace: Coming TScanModule::IsTWAINAvailable");
}

TEST_CASE("the condition code of a source that doesn't say its mechanisms, in words") {
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
    }
}

TEST_CASE("the records of images: what is known, by a length's factor in the source's unit, or as it was") {
    struct Row {
        TW_INT16 type;
        TW_UINT16 unit;
        TW_FIX32 resolution;
        int flag, recorded;
    };
    // An unknown pixel type leaves the record's as it was.
    const Row rows[] = {
        {2, TWUN_INCHES, {299, 65535}, 4, 299}, {0, TWUN_CENTIMETERS, {762, 0}, 1, 299},
        {1, TWUN_TWIPS, {28800, 0}, 2, 20},     {8, TWUN_PIXELS, {200, 0}, 256, 200},
        {9, TWUN_POINTS, {-720, 0}, 256, -1},   {-1, 77, {75, 0}, 256, 75},
    };
    for (const Mechanism& by : mechanisms) {
        BatchStage stage({}, by);
        std::vector<Page> pages;
        for (const Row& row : rows) {
            TW_IMAGEINFO info = imageInfo(TWPT_RGB, 24, 20, -1);
            info.XResolution = {150, 0};
            info.YResolution = row.resolution;
            info.BitsPerSample[7] = 99;
            info.Planar = 1;
            info.PixelType = row.type;
            info.Compression = TWCP_PACKBITS;
            pages.push_back({info, {endedBy(TWRC_XFERDONE)}});
            stage.manager.answerNext(operation::getCurrent(ICAP_UNITS),
                                     give(oneValue(TWTY_UINT16, row.unit)));
        }
        stage.source.put(pages);
        // What a strip is told with begins like its image.
        stage.host.onXferData = [&](const TXferStripInfo& strip) {
            const TXferImageInfo& image = stage.host.images().back();
            CHECK(std::memcmp(&strip, &image, offsetof(TXferStripInfo, BytesPerRow)) == 0);
            CHECK(strip.Buffer == image.Target.Buffer);
        };
        stage.run();
        REQUIRE(stage.host.images().size() == 12);
        TXferImageInfo expected = {150, 299,           20,      -1, 3, {8, 8, 8, 0, 0, 0, 0, 99}, 24, 1,
                                   4,   TWCP_PACKBITS, by.code, {}};
        for (int i = 0; i < 12; ++i) {
            const TXferImageInfo& image = stage.host.images()[i];
            CHECK((image.Target.Dib == nullptr) == (by.code == SM_MECH_NATIVE));
            expected.Target = image.Target;
            expected.PixelTypeFlag = static_cast<unsigned short>(rows[i / 2].flag);
            expected.YResolution = static_cast<short>(rows[i / 2].recorded);
            if (i < 2) CHECK(std::memcmp(&image, &expected, sizeof expected) == 0);
            CHECK(image.PixelTypeFlag == expected.PixelTypeFlag);
            CHECK(image.YResolution == expected.YResolution);
        }
    }
}
