// Batches of native and file transfers: the exchange with the source, the messages to the host, cancelling
// from its handlers, every failure.
#include <doctest.h>

#include <cstring>

#include "TransferBatch.h"

TEST_CASE("a batch of three images") {
    for (Mechanism mechanism : bothMechanisms) {
        Batch batch(mechanism, 3);
        CHECK(batch.run() == batch.choice() + 3 * batch.image());
        CHECK(batch.host.messages() == 3 * imageDone + Lines{"CloseDSReq"});
        CHECK(batch.viewer.warnings() == 3 * batch.warningsOfSuccess());
        CHECK(batch.manager.state() == 5);
    }
}

TEST_CASE("what a native transfer writes into the trace") {
    Batch batch(Mechanism::Native);
    batch.run();
    CHECK(notesOf(batch) == Lines{"Can Use File Xfer.", "Send WM_XFERSTART in TScanModule::DoNativeXfer",
                                  "MSG_GET DAT_IMAGENATIVEXFER in TScanModule::DoNativeXfer",
                                  "Send WM_CLOSEDSREQ in TScanModule::DoNativeXfer"});
}

TEST_CASE("what a file transfer writes into the trace") {
    Batch batch(Mechanism::File);
    batch.run();
    CHECK(notesOf(batch) == Lines{"Can Use File Xfer.", "Send WM_XFERSTART in TScanModule::DoFileXfer",
                                  "MSG_SET DAT_SETUPFILEXFER in TScanModule::DoFileXfer",
                                  "Get image by DAT_IMAGEFILEXFER",
                                  "Send WM_CLOSEDSREQ in TScanModule::DoNativeXfer"});
}

TEST_CASE("a source with its own window is not closed after the batch") {
    for (Mechanism mechanism : bothMechanisms) {
        Batch batch(mechanism, 2, true);
        batch.run();
        CHECK(batch.host.messages() == 2 * imageDone);
    }
}

TEST_CASE("a host takes a DIB by naming a handle of its own") {
    Batch batch(Mechanism::Native, 2);
    HGLOBAL mine = nullptr;
    std::vector<void*> targets;
    batch.host.onXferStart = [&](TXferImageInfo& image) {
        targets.push_back(image.Target.Dib);
        if (targets.size() == 1) image.Target.Dib = &mine;
    };
    size_t atEnd = 0;
    batch.host.onXferEnd = [&](int, const TXferImageInfo&) {
        if (++atEnd != 1) return;
        CHECK(GlobalSize(mine) == 101);
        batch.windows.release(mine);
    };
    batch.run();
    // Each image begins without a target; the second DIB was the module's to free.
    CHECK(targets == std::vector<void*>{nullptr, nullptr});
    CHECK(batch.windows.ownedBlocks() == 0);
    CHECK(GlobalSize(mine) == 101);
    GlobalFree(mine);
}

TEST_CASE("a DIB that nobody wants is freed before the host hears of its end") {
    Batch batch(Mechanism::Native, 2);
    batch.host.onXferEnd = [&](int, const TXferImageInfo&) { CHECK(batch.windows.ownedBlocks() == 0); };
    batch.run();
}

TEST_CASE("cancelling from the handlers") {
    struct Row {
        std::string name;
        void (*onStart)(Batch&, int image);
        void (*onEnd)(Batch&, int image);
        // For three images: done, cancelled by the host, or not begun.
        std::string outcome;
        bool reset;
    };
    const auto nothing = [](Batch&, int) {};
    const Row rows[] = {
        {"this one, the first",
         [](Batch& batch, int image) {
             if (image == 1) batch.module.CancelThisXfer();
         },
         nothing, "cdd", false},
        {"this one, the last",
         [](Batch& batch, int image) {
             if (image == 3) batch.module.CancelThisXfer();
         },
         nothing, "ddc", false},
        {"each", [](Batch& batch, int) { batch.module.CancelThisXfer(); }, nothing, "ccc", false},
        {"all, at the first",
         [](Batch& batch, int image) {
             if (image == 1) CHECK(batch.module.CancelAllXfer() == 1);
         },
         nothing, "c", true},
        {"all, at the second",
         [](Batch& batch, int image) {
             if (image == 2) CHECK(batch.module.CancelAllXfer() == 1);
         },
         nothing, "dc", true},
        {"all, then only this one",
         [](Batch& batch, int image) {
             if (image != 1) return;
             batch.module.CancelAllXfer();
             batch.module.CancelThisXfer();
         },
         nothing, "cdd", false},
        {"all, at the end of an image", nothing,
         [](Batch& batch, int image) {
             if (image == 2) CHECK(batch.module.CancelAllXfer() == 1);
         },
         "dd", true},
        {"this one, at its end", nothing, [](Batch& batch, int) { batch.module.CancelThisXfer(); }, "ddd",
         false},
    };
    for (Mechanism mechanism : bothMechanisms) {
        for (const Row& row : rows) {
            CAPTURE(row.name);
            Batch batch(mechanism, 3);
            int started = 0, ended = 0;
            batch.host.onXferStart = [&](TXferImageInfo& image) {
                batch.nameFile(image);
                row.onStart(batch, ++started);
            };
            batch.host.onXferEnd = [&](int, const TXferImageInfo&) { row.onEnd(batch, ++ended); };
            Lines calls = batch.choice(), messages, warnings;
            for (char outcome : row.outcome) {
                const bool isDone = outcome == 'd';
                calls += isDone ? batch.image() : batch.description() + Lines{"ENDXFER"};
                messages += isDone ? imageDone : Lines{"XferStart", "XferEnd -5"};
                warnings += isDone ? batch.warningsOfSuccess() : Lines{"AP cancel image xfer" + batch.in()};
            }
            if (row.reset) calls.push_back("RESET");
            CHECK(batch.run() == calls);
            CHECK(batch.host.messages() == messages + Lines{"CloseDSReq"});
            CHECK(batch.viewer.warnings() == warnings);
        }
    }
}

TEST_CASE("a cancel asked outside of a batch has no effect") {
    for (Mechanism mechanism : bothMechanisms) {
        Batch batch(mechanism, 2);
        CHECK(batch.module.CancelAllXfer() == 1);
        batch.viewer.forget();
        CHECK(batch.run() == batch.choice() + 2 * batch.image());
        CHECK(batch.host.messages() == 2 * imageDone + Lines{"CloseDSReq"});
    }
}

TEST_CASE("an image that fails doesn't end the batch") {
    struct Row {
        std::string name;
        Answer answer;
        int result;
        std::string warning;
        bool asksStatus;
    };
    const Row rows[] = {
        {"cancelled at the source", returnCode(TWRC_CANCEL), -4, "Image xfer canceled", false},
        {"a paper jam", failWith(TWCC_PAPERJAM), TWCC_PAPERJAM, "Image xfer error", true},
        {"an operation error", failWith(TWCC_OPERATIONERROR), TWCC_OPERATIONERROR, "Image xfer error", true},
        {"a failure without a reason", failWith(TWCC_SUCCESS), 0, "Image xfer error", true},
        {"success, but not done", returnCode(TWRC_SUCCESS), 0, "Image xfer error", true},
    };
    for (Mechanism mechanism : bothMechanisms) {
        for (const Row& row : rows) {
            CAPTURE(row.name);
            Batch batch(mechanism, 2);
            batch.manager.answerNext(batch.transferOperation(), row.answer);
            Lines failed = batch.description() + batch.transfer();
            if (row.asksStatus) failed.push_back("STATUS");
            failed.push_back("ENDXFER");
            CHECK(batch.run() == batch.choice() + failed + batch.image());
            CHECK(batch.host.messages() == Lines{"XferStart", "XferEnd " + std::to_string(row.result)} +
                                               imageDone + Lines{"CloseDSReq"});
            CHECK(batch.viewer.warnings() == Lines{row.warning + batch.in()} + batch.warningsOfSuccess());
        }
    }
}

TEST_CASE("an image without a description is ended unseen") {
    for (Mechanism mechanism : bothMechanisms) {
        Batch batch(mechanism, 3);
        // The memory check asks twice, the first image once; the second image gets the failure.
        for (int i = 0; i < 3; ++i)
            batch.manager.answerNext(operation::imageInfo, copy(colourImage()));
        batch.manager.answerNext(operation::imageInfo, failWith(TWCC_BUMMER));
        CHECK(batch.run() == batch.choice() + batch.image() + Lines{"IMAGEINFO", "ENDXFER"} + batch.image());
        CHECK(batch.host.messages() == 2 * imageDone + Lines{"CloseDSReq"});
        CHECK(batch.viewer.warnings() == batch.warningsOfSuccess() +
                                             Lines{"Error in get DAT_IMAGEINFO" + batch.in()} +
                                             batch.warningsOfSuccess());
    }
}

TEST_CASE("a source that can't end an image ends the batch") {
    for (Mechanism mechanism : bothMechanisms) {
        Batch batch(mechanism, 0);
        batch.manager.answer(operation::endTransfer, failWith(TWCC_SEQERROR));
        CHECK(batch.run() == batch.choice() + batch.image() + Lines{"STATUS"});
        CHECK(batch.host.messages() == imageDone + Lines{"CloseDSReq"});
        CHECK(batch.viewer.warnings() ==
              batch.warningsOfSuccess() + Lines{"DSM_Entry returns failure in TScanModule::EndThisXfer"});
    }
}

TEST_CASE("a source that can't drop its images ends the batch all the same") {
    Batch batch(Mechanism::Native, 3);
    batch.manager.answer(operation::resetTransfers, failWith(TWCC_SEQERROR));
    batch.host.onXferStart = [&](TXferImageInfo&) { batch.module.CancelAllXfer(); };
    CHECK(batch.run() == batch.choice() + batch.description() + Lines{"ENDXFER", "RESET", "STATUS"});
    CHECK(batch.viewer.warnings() == Lines{"AP cancel image xfer in TScanModule::DoNativeXfer",
                                           "DSM_Entry returns failure in TScanModule::EndAllXfer"});
}

TEST_CASE("an unknown number of images goes on until there is none") {
    for (Mechanism mechanism : bothMechanisms) {
        Batch batch(mechanism, 0);
        for (TW_UINT16 left : {0xffff, 0xffff, 0})
            batch.manager.answerNext(operation::endTransfer, pending(left));
        CHECK(batch.run() == batch.choice() + 3 * batch.image());
    }
}

TEST_CASE("a file that the source refuses is not transferred") {
    Batch batch(Mechanism::File, 2);
    batch.manager.answerNext(operation::setupFile, failWith(TWCC_BADVALUE));
    const std::string setup = "SET SETUPFILEXFER C:\\page.bmp format 2";
    CHECK(batch.run() ==
          batch.choice() + batch.description() + refused(setup) + Lines{"ENDXFER"} + batch.image());
    CHECK(batch.host.messages() == Lines{"XferStart", "XferEnd 10"} + imageDone + Lines{"CloseDSReq"});
    CHECK(batch.viewer.warnings() == Lines{"MSG_SET DAT_SETUPFILEXFER error in TScanModule::DoFileXfer"});
}

TEST_CASE("the file's name is a format text, and no longer than its field") {
    struct Row {
        std::string given, sent;
    };
    const Row rows[] = {
        {"C:\\a.bmp", "C:\\a.bmp"},
        {"C:\\100%% sure.bmp", "C:\\100% sure.bmp"},
        {std::string(255, 'x'), std::string(255, 'x')},
        {std::string(200, 'x') + "%%%%%%" + std::string(49, 'y'),
         std::string(200, 'x') + "%%%" + std::string(49, 'y')},
        {"%0300d", std::string(255, '0')},
    };
    for (const Row& row : rows) {
        CAPTURE(row.given);
        Batch batch(Mechanism::File);
        std::string sent;
        batch.host.onXferStart = [&](TXferImageInfo& image) {
            std::memcpy(image.Target.FileName, row.given.c_str(), row.given.size() + 1);
        };
        batch.manager.answer(operation::setupFile, fill<TW_SETUPFILEXFER>([&](TW_SETUPFILEXFER& setup) {
                                 sent.assign(setup.FileName, strnlen(setup.FileName, sizeof setup.FileName));
                             }));
        batch.run();
        const bool isNumber = row.given == "%0300d";
        CHECK((isNumber ? sent.substr(0, 200) : sent) == (isNumber ? row.sent.substr(0, 200) : row.sent));
        CHECK(sent.size() <= 255);
    }
}

TEST_CASE("a file name without an end stays inside the module's memory") {
    Batch batch(Mechanism::File);
    batch.host.onXferStart = [](TXferImageInfo& image) { std::memset(image.Target.FileName, 'x', 256); };
    size_t length = 0;
    batch.manager.answer(operation::setupFile, fill<TW_SETUPFILEXFER>([&](TW_SETUPFILEXFER& setup) {
                             length = strnlen(setup.FileName, sizeof setup.FileName);
                         }));
    batch.run();
    CHECK(length == 255);
}
