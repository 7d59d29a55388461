// Batches of native and file transfers: which of them a batch takes, the exchange with the source, the
// records and messages for the host, cancelling from its handlers, every failure.
#include <doctest.h>

#include <cstring>

#include "TransferBatch.h"

namespace {

Lines warned(const std::string& text) {
    return {"! " + text};
}
Lines asWarned(const Lines& texts) {
    Lines lines;
    for (const std::string& text : texts)
        lines += warned(text);
    return lines;
}

const Lines closing = {"CloseDSReq"};

// The whole record of a batch: what the source was asked, the warnings, the host's messages.
Lines runWhole(Batch& batch) {
    const Lines calls = batch.run();
    return calls + asWarned(batch.viewer.warnings()) + batch.host.messages();
}

}  // namespace

TEST_CASE("a batch of three images, closed after it unless the source has its own window") {
    for (Mechanism mechanism : bothMechanisms) {
        for (const bool showUI : {false, true}) {
            Batch batch(mechanism, 3, showUI);
            CHECK(batch.module.CancelAllXfer() == 1);  // has no effect outside of a batch
            batch.forget();
            CHECK(runWhole(batch) == batch.choice() + 3 * batch.image() +
                                         asWarned(3 * batch.warningsOfSuccess()) + 3 * imageDone +
                                         (showUI ? Lines{} : closing));
            CHECK(batch.manager.state() == 5);
            const Lines ofImage =
                mechanism == Mechanism::Native
                    ? Lines{"MSG_GET DAT_IMAGENATIVEXFER" + batch.in()}
                    : Lines{"MSG_SET DAT_SETUPFILEXFER" + batch.in(), "Get image by DAT_IMAGEFILEXFER"};
            const Lines end = {"Send WM_CLOSEDSREQ in TScanModule::DoNativeXfer"};
            CHECK(notesOf(batch) == Lines{"Can Use File Xfer."} +
                                        3 * (Lines{"Send WM_XFERSTART" + batch.in()} + ofImage) +
                                        (showUI ? Lines{} : end));
        }
    }
}

TEST_CASE("a host takes a DIB by naming a handle of its own, another is freed before its end") {
    Batch batch(Mechanism::Native, 2);
    HGLOBAL mine = nullptr;
    std::vector<void*> targets;
    batch.host.onXferStart = [&](TXferImageInfo& image) {
        targets.push_back(image.Target.Dib);
        if (targets.size() == 1) image.Target.Dib = &mine;
    };
    batch.host.onXferEnd = [&](int, const TXferImageInfo&) {
        batch.windows.release(mine);
        CHECK(batch.windows.ownedBlocks() == 0);
    };
    batch.run();
    // Each image begins without a target.
    CHECK(targets == std::vector<void*>{nullptr, nullptr});
    CHECK(GlobalSize(mine) == 101);
    GlobalFree(mine);
}

TEST_CASE("cancelling from the handlers") {
    // One letter for each of three images. Asked: t for this one, a for all, b for all and then only this
    // one. Outcome: d done, c cancelled, with an r at the end when the rest was dropped.
    struct Row {
        std::string atStart, atEnd, outcome;
    };
    const Row rows[] = {
        {"t--", "---", "cdd"}, {"--t", "---", "ddc"}, {"ttt", "---", "ccc"}, {"a--", "---", "cr"},
        {"-a-", "---", "dcr"}, {"b--", "---", "cdd"}, {"---", "-a-", "ddr"}, {"---", "ttt", "ddd"},
    };
    const auto ask = [](Batch& batch, char what) {
        if (what == 'a' || what == 'b') CHECK(batch.module.CancelAllXfer() == 1);
        if (what == 't' || what == 'b') batch.module.CancelThisXfer();
    };
    for (Mechanism mechanism : bothMechanisms) {
        for (const Row& row : rows) {
            CAPTURE(row.outcome);
            Batch batch(mechanism, 3);
            size_t started = 0, ended = 0;
            batch.host.onXferStart = [&](TXferImageInfo& image) {
                batch.nameFile(image);
                ask(batch, row.atStart[started++]);
            };
            batch.host.onXferEnd = [&](int, const TXferImageInfo&) { ask(batch, row.atEnd[ended++]); };
            Lines calls = batch.choice(), messages, warnings;
            for (char outcome : row.outcome) {
                if (outcome == 'd') {
                    calls += batch.image();
                    warnings += asWarned(batch.warningsOfSuccess());
                    messages += imageDone;
                } else if (outcome == 'c') {
                    calls += batch.description() + Lines{"ENDXFER"};
                    warnings += warned("AP cancel image xfer" + batch.in());
                    messages += Lines{"XferStart", "XferEnd -5"};
                } else {
                    calls.push_back("RESET");
                }
            }
            CHECK(runWhole(batch) == calls + warnings + messages + closing);
        }
    }
}

TEST_CASE("an image that fails doesn't end the batch") {
    struct Row {
        Answer answer;
        int result;
        const char* warning;
    };
    const Row rows[] = {
        {returnCode(TWRC_CANCEL), -4, "Image xfer canceled"},
        {failWith(TWCC_OPERATIONERROR), TWCC_OPERATIONERROR, "Image xfer error"},
        {failWith(TWCC_SUCCESS), 0, "Image xfer error"},
        {returnCode(TWRC_SUCCESS), 0, "Image xfer error"},
    };
    for (Mechanism mechanism : bothMechanisms) {
        for (const Row& row : rows) {
            CAPTURE(row.result);
            Batch batch(mechanism, 2);
            batch.manager.answerNext(batch.transferOperation(), row.answer);
            const Lines status = row.result != -4 ? Lines{"STATUS"} : Lines{};
            CHECK(runWhole(batch) ==
                  batch.choice() + batch.description() + batch.transfer() + status + Lines{"ENDXFER"} +
                      batch.image() + warned(row.warning + batch.in()) + asWarned(batch.warningsOfSuccess()) +
                      Lines{"XferStart", "XferEnd " + std::to_string(row.result)} + imageDone + closing);
        }
    }
}

TEST_CASE("an image without a description is ended unseen, and one without an end ends the batch") {
    for (Mechanism mechanism : bothMechanisms) {
        Batch batch(mechanism, 0);
        const Lines success = asWarned(batch.warningsOfSuccess());
        // The memory check asks twice, the first image once; the second image gets the failure.
        for (int i = 0; i < 3; ++i)
            batch.manager.answerNext(operation::imageInfo, copy(colourImage()));
        batch.manager.answerNext(operation::imageInfo, failWith(TWCC_BUMMER));
        for (TW_UINT16 left : {0xffff, 0xffff})
            batch.manager.answerNext(operation::endTransfer, pending(left));
        batch.manager.answerNext(operation::endTransfer, failWith(TWCC_SEQERROR));
        CHECK(runWhole(batch) ==
              batch.choice() + batch.image() + Lines{"IMAGEINFO", "ENDXFER"} + batch.image() +
                  Lines{"STATUS"} + success + warned("Error in get DAT_IMAGEINFO" + batch.in()) + success +
                  warned("DSM_Entry returns failure in TScanModule::EndThisXfer") + 2 * imageDone + closing);
    }
}

TEST_CASE("a file that the source refuses is not transferred, a refused end of all ends the batch too") {
    Batch batch(Mechanism::File, 3);
    batch.manager.answerNext(operation::setupFile, failWith(TWCC_BADVALUE));
    batch.manager.answer(operation::resetTransfers, failWith(TWCC_SEQERROR));
    batch.host.onXferEnd = [&](int result, const TXferImageInfo&) {
        if (result == 0) batch.module.CancelAllXfer();
    };
    CHECK(runWhole(batch) == batch.choice() + batch.description() +
                                 refused("SET SETUPFILEXFER C:\\page.bmp format 2") + Lines{"ENDXFER"} +
                                 batch.image() + refused("RESET") +
                                 warned("MSG_SET DAT_SETUPFILEXFER error in TScanModule::DoFileXfer") +
                                 warned("DSM_Entry returns failure in TScanModule::EndAllXfer") +
                                 Lines{"XferStart", "XferEnd 10"} + imageDone + closing);
}

TEST_CASE("the file's name is a format text, and no longer than its field") {
    const std::string longest(255, 'x');
    struct Row {
        std::string given, sent;
    };
    const Row rows[] = {
        {"C:\\100%% sure.bmp", "C:\\100% sure.bmp"},
        {longest, longest},
        {longest + "x", longest},  // without an end
        {std::string(200, 'x') + "%%%%%%" + std::string(49, 'y'),
         std::string(200, 'x') + "%%%" + std::string(49, 'y')},
        {"%0300d", std::string(255, '0')},
    };
    for (const Row& row : rows) {
        CAPTURE(row.given);
        Batch batch(Mechanism::File);
        std::string sent;
        batch.host.onXferStart = [&](TXferImageInfo& image) {
            std::memcpy(image.Target.FileName, row.given.c_str(),
                        std::min<size_t>(row.given.size() + 1, 256));
        };
        batch.manager.answer(operation::setupFile, fill<TW_SETUPFILEXFER>([&](TW_SETUPFILEXFER& setup) {
                                 sent.assign(setup.FileName, strnlen(setup.FileName, sizeof setup.FileName));
                             }));
        batch.run();
        CHECK(sent == row.sent);
    }
}

TEST_CASE("the room that is tried for an image") {
    struct Row {
        TW_INT16 bits;
        TW_INT32 width, length;
        TW_UINT32 room;
    };
    const Row rows[] = {
        {1, 9, 1, 1 + 0x39000},
        {24, 100, -1, 0x38ed4},  // the low half of a negative product
        {24, 40000, 40000, 505032704 + 0x39000},
    };
    for (const Row& row : rows) {
        Batch batch(Mechanism::Native);
        TW_IMAGEINFO info = colourImage();
        info.BitsPerPixel = row.bits;
        info.ImageWidth = row.width;
        info.ImageLength = row.length;
        batch.manager.answer(operation::imageInfo, copy(info));
        batch.windows.largestAllocation = 100000000;
        batch.run();
        REQUIRE_FALSE(batch.windows.allocations.empty());
        CHECK(batch.windows.allocations.front() == row.room);
    }
}

TEST_CASE("an image too large for memory comes by file where the source can") {
    struct Row {
        const char* name;
        ContainerImage image;
        bool offers;
    };
    const Row rows[] = {
        {"at the start of a list", enumeration(TWTY_UINT16, {1, 0, 2}), true},
        {"at its end", enumeration(TWTY_UINT16, {0, 2, 1}), true},
        {"not in a list", enumeration(TWTY_UINT16, {0, 2}), false},
        {"as one value of any type", oneValue(TWTY_STR32, TWSX_FILE), true},
        {"as another value", oneValue(TWTY_UINT16, TWSX_NATIVE), false},
        {"only the low 16 bits count", oneValue(TWTY_UINT32, 0x50001), true},
        {"a list of any type, in 16-bit steps", enumeration(TWTY_STR32, {0x10000, 5}), true},
        {"in an array", array(TWTY_UINT16, {1}), false},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        const Lines fileImage = Batch(Mechanism::File).image();
        Batch batch(Mechanism::Native);
        batch.manager.answer(operation::get(ICAP_XFERMECH), give(row.image));
        batch.windows.largestAllocation = 0x39000;
        CHECK(batch.run() == Lines{"GETCURRENT ICAP_XFERMECH", "GET ICAP_XFERMECH", "IMAGEINFO"} +
                                 (row.offers ? fileImage : Lines{}));
        CHECK(batch.windows.messageBoxes.empty() == row.offers);
        CHECK(hasTrace(batch, row.offers ? "Can Use File Xfer." : "Cannot Use File Xfer."));
    }
}

TEST_CASE("an image too large for memory and without a file is only told to the user") {
    Batch batch(Mechanism::File);
    batch.manager.answer(operation::get(ICAP_XFERMECH), give(enumeration(TWTY_UINT16, {0, 2})));
    batch.manager.answer(operation::imageInfo, failWith(TWCC_SEQERROR));  // nor with a description
    SetFocus(batch.host.window());
    CHECK(runWhole(batch) == Lines{"GETCURRENT ICAP_XFERMECH", "GET ICAP_XFERMECH", "IMAGEINFO"});
    REQUIRE(batch.windows.messageBoxes.size() == 1);
    const MessageBoxCall& box = batch.windows.messageBoxes.front();
    CHECK(box.owner == GetFocus());
    CHECK(box.text == "Insufficient memory or disk space.");
    CHECK_FALSE(box.hasCaption);
    CHECK(box.style == MB_OK);

    // This path leaves the nesting of the trace raised: what comes next counts as nested.
    CHECK_FALSE(hasTrace(batch, "Leaving TScanModule::ProcessScanImage"));
    batch.viewer.forget();
    batch.module.IsTWAINAvailable();
    CHECK(batch.viewer.lines().front() == "Trace: Coming TScanModule::IsTWAINAvailable");
}

TEST_CASE("the condition code of a source that doesn't say its mechanisms, in words") {
    struct Row {
        TW_UINT16 code;
        std::string text;
        size_t blanks = 0;
    };
    const Row rows[] = {
        {0, "TWCC_SUCCESS: It worked!"},
        {1, "TWCC_BUMMER: Failure due to unknown causes"},
        {2, "TWCC_LOWMEMORY: Not enough memory to perform operation"},
        {3, "TWCC_NODS: No Data Source"},
        {4, "TWCC_MAXCONNECTIONS: DS is connected to max possible apps", 6},
        {5, "TWCC_OPERATIONERROR: DS or DSM reported error, app shouldn't", 3},
        {6, "TWCC_BADCAP: Unknown capability", 24},
        {9, "TWCC_BADPROTOCOL: Unrecognized MSG DG DAT combination", 7},
        {10, "TWCC_BADVALUE: Data parameter out of range", 15},
        {11, "TWCC_SEQERROR: DG DAT MSG out of expected sequence", 7},
        {12, "TWCC_BADDEST: Unknown destination App/Src in DSM_Entry", 2},
        {7, "Unknown Value: Unknown Message"},
    };
    for (const Row& row : rows) {
        Batch batch(Mechanism::Native);
        batch.manager.answer(operation::get(ICAP_XFERMECH), failWith(row.code));
        batch.run();
        CHECK(notesOf(batch).front() == row.text + std::string(row.blanks, ' ') + "\n");
        CHECK_FALSE(hasTrace(batch, "Cannot Use File Xfer."));
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
    for (Mechanism mechanism : bothMechanisms) {
        Batch batch(mechanism, 6);
        TW_IMAGEINFO info = colourImage();
        info.ImageLength = -1;
        info.BitsPerSample[7] = 99;
        info.Planar = 1;
        info.Compression = TWCP_PACKBITS;
        // The memory check asks twice.
        for (int i = -2; i < 6; ++i) {
            info.PixelType = rows[std::max(i, 0)].type;
            info.YResolution = rows[std::max(i, 0)].resolution;
            batch.manager.answerNext(operation::imageInfo, copy(info));
        }
        for (const Row& row : rows)
            batch.manager.answerNext(operation::getCurrent(ICAP_UNITS),
                                     give(oneValue(TWTY_UINT16, row.unit)));
        batch.run();
        REQUIRE(batch.host.images().size() == 12);
        TXferImageInfo expected = {150, 299,           20, -1, 3, {8, 8, 8, 0, 0, 0, 0, 99}, 24, 1,
                                   4,   TWCP_PACKBITS, 1,  {}};
        if (mechanism == Mechanism::File) expected.XferMech = SM_MECH_FILE;
        for (int i = 0; i < 12; ++i) {
            TXferImageInfo image = batch.host.images()[i];
            CHECK((image.Target.Dib == nullptr) == (mechanism == Mechanism::Native));
            CHECK(image.PixelTypeFlag == rows[i / 2].flag);
            CHECK(image.YResolution == rows[i / 2].recorded);
            expected.Target = image.Target;
            if (i < 2) CHECK(std::memcmp(&image, &expected, sizeof expected) == 0);
        }
    }
}
