// Batches of native and file transfers: the exchange with the source, the messages to the host, cancelling
// from its handlers, every failure.
#include <doctest.h>

#include <cstring>

#include "Stage.h"

namespace {

enum class Mechanism { Native, File };

TW_IMAGEINFO colourImage() {
    TW_IMAGEINFO info = {};
    info.XResolution = {150, 0};
    info.YResolution = {300, 0};
    info.ImageWidth = 20;
    info.ImageLength = 10;
    info.SamplesPerPixel = 3;
    for (int i = 0; i < 3; ++i)
        info.BitsPerSample[i] = 8;
    info.BitsPerPixel = 24;
    info.PixelType = TWPT_RGB;
    return info;
}

HGLOBAL newDib(TW_UINT32 number) {
    const HGLOBAL dib = GlobalAlloc(GMEM_MOVEABLE, 100 + number);
    ModuleCalls::adopt(dib);
    return dib;
}

// An enabled source with a batch of images.
class Batch : public Stage {
public:
    explicit Batch(Mechanism mechanism, int images = 1, bool showUI = false) : mechanism_(mechanism) {
        enable(showUI);
        const TW_UINT32 twain = mechanism == Mechanism::Native ? TWSX_NATIVE : TWSX_FILE;
        manager.answer(operation::getCurrent(ICAP_XFERMECH), give(oneValue(TWTY_UINT16, twain)));
        manager.answer(operation::get(ICAP_XFERMECH), give(enumeration(TWTY_UINT16, {0, 1, 2})));
        manager.answer(operation::getCurrent(ICAP_UNITS), give(oneValue(TWTY_UINT16, TWUN_INCHES)));
        manager.answer(operation::imageInfo, copy(colourImage()));
        manager.answer(operation::nativeTransfer, dibGiven());
        manager.answer(operation::setupFile, succeed());
        manager.answer(operation::fileTransfer, returnCode(TWRC_XFERDONE));
        for (int left = images - 1; left >= 0; --left)
            manager.answerNext(operation::endTransfer, pending(static_cast<TW_UINT16>(left)));
        host.onXferStart = [this](TXferImageInfo& image) { nameFile(image); };
    }

    Answer dibGiven() {
        return {TWRC_XFERDONE, TWCC_SUCCESS, {}, [this](TW_MEMREF data) {
                    *static_cast<HGLOBAL*>(data) = newDib(++dibs_);
                }};
    }
    void nameFile(TXferImageInfo& image) const {
        if (image.XferMech == SM_MECH_FILE) std::strcpy(image.Target.FileName, "C:\\page.bmp");
    }

    // Runs the batch and gives what the source was asked, without the message that started it.
    Lines run() {
        CHECK(deliver(MSG_XFERREADY));
        Lines calls = manager.takeCalls();
        CHECK(calls.front() == "PROCESSEVENT");
        calls.erase(calls.begin());
        CHECK(windows.memoryComplaints() == Lines{});
        return calls;
    }

    // What is asked before the first image, and for a whole image.
    Lines choice() const {
        return {"GETCURRENT ICAP_XFERMECH", "GET ICAP_XFERMECH", "IMAGEINFO", "IMAGEINFO"};
    }
    Lines description() const { return {"IMAGEINFO", "GETCURRENT ICAP_UNITS"}; }
    Lines transfer() const {
        if (mechanism_ == Mechanism::Native) return {"IMAGENATIVEXFER"};
        return {"SET SETUPFILEXFER C:\\page.bmp format 2", "IMAGEFILEXFER"};
    }
    Lines image() const { return description() + transfer() + Lines{"ENDXFER"}; }

    Operation transferOperation() const {
        return mechanism_ == Mechanism::Native ? operation::nativeTransfer : operation::fileTransfer;
    }
    std::string in() const {
        return mechanism_ == Mechanism::Native ? " in TScanModule::DoNativeXfer"
                                               : " in TScanModule::DoFileXfer";
    }
    // Kept by the module: a native transfer that worked says "error".
    Lines warningsOfSuccess() const {
        if (mechanism_ == Mechanism::File) return {};
        return {"MSG_GET DAT_IMAGENATIVEXFER error in TScanModule::DoNativeXfer"};
    }

private:
    Mechanism mechanism_;
    TW_UINT32 dibs_ = 0;
};

const Mechanism bothMechanisms[] = {Mechanism::Native, Mechanism::File};
const Lines imageDone = {"XferStart", "XferEnd 0"};

Lines notesOf(const Stage& stage) {
    Lines notes;
    for (const std::string& text : stage.viewer.traces()) {
        const bool isBracket = text.rfind("Coming ", 0) == 0 || text.rfind("Leaving ", 0) == 0;
        if (!isBracket && text.find(" returns ") == std::string::npos) notes.push_back(text);
    }
    return notes;
}

bool hasTrace(const Stage& stage, const std::string& text) {
    const Lines traces = stage.viewer.traces();
    return std::find(traces.begin(), traces.end(), text) != traces.end();
}

}  // namespace

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

TEST_CASE("the record of an image") {
    TW_IMAGEINFO info = colourImage();
    info.XResolution = {150, 32768};
    info.ImageLength = -1;
    info.BitsPerSample[7] = 99;
    info.Planar = 1;
    info.Compression = TWCP_PACKBITS;
    for (Mechanism mechanism : bothMechanisms) {
        Batch batch(mechanism);
        batch.manager.answer(operation::imageInfo, copy(info));
        batch.run();
        REQUIRE(batch.host.images().size() == 2);
        for (const TXferImageInfo& image : batch.host.images()) {
            CHECK(image.XResolution == 150);
            CHECK(image.YResolution == 300);
            CHECK(image.ImageWidth == 20);
            CHECK(image.ImageLength == -1);
            CHECK(image.SamplesPerPixel == 3);
            CHECK(std::memcmp(image.BitsPerSample, info.BitsPerSample, sizeof image.BitsPerSample) == 0);
            CHECK(image.BitsPerPixel == 24);
            CHECK(image.Planar == 1);
            CHECK(image.PixelTypeFlag == SM_PIXEL_RGB);
            CHECK(image.Compression == TWCP_PACKBITS);
            CHECK(image.XferMech == (mechanism == Mechanism::Native ? SM_MECH_NATIVE : SM_MECH_FILE));
            CHECK((image.Target.Dib == nullptr) == (mechanism == Mechanism::Native));
        }
    }
}

TEST_CASE("the pixel type of a record, which an unknown type leaves as it was") {
    for (Mechanism mechanism : bothMechanisms) {
        Batch batch(mechanism, 12);
        int number = 0;
        const TW_INT16 types[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, -1, 0};
        batch.manager.answer(operation::imageInfo, fill<TW_IMAGEINFO>([&](TW_IMAGEINFO& image) {
                                 image = colourImage();
                                 image.PixelType = number < 2 ? 0 : types[number - 2];
                                 ++number;
                             }));
        batch.run();
        std::vector<int> flags;
        for (size_t i = 0; i < batch.host.images().size(); i += 2)
            flags.push_back(batch.host.images()[i].PixelTypeFlag);
        CHECK(flags == std::vector<int>{1, 2, 4, 8, 16, 32, 64, 128, 256, 256, 256, 1});
    }
}

TEST_CASE("a record's resolution by the factor of a length in the source's unit") {
    struct Row {
        TW_UINT16 unit;
        TW_FIX32 source;
        int record;
    };
    const Row rows[] = {
        {TWUN_INCHES, {300, 0}, 300},      {TWUN_INCHES, {299, 65535}, 299}, {TWUN_CENTIMETERS, {118, 0}, 46},
        {TWUN_CENTIMETERS, {762, 0}, 299}, {TWUN_PICAS, {1800, 0}, 300},     {TWUN_POINTS, {21600, 0}, 300},
        {TWUN_TWIPS, {28800, 0}, 20},      {TWUN_PIXELS, {200, 0}, 200},     {77, {75, 0}, 75},
        {TWUN_INCHES, {-5, 0}, -1},        {TWUN_POINTS, {-720, 0}, -1},     {TWUN_CENTIMETERS, {0, 0}, 0},
    };
    for (const Row& row : rows) {
        CAPTURE(row.unit);
        CAPTURE(row.source.Whole);
        Batch batch(Mechanism::Native);
        batch.manager.answer(operation::getCurrent(ICAP_UNITS), give(oneValue(TWTY_UINT16, row.unit)));
        TW_IMAGEINFO info = colourImage();
        info.YResolution = row.source;
        batch.manager.answer(operation::imageInfo, copy(info));
        batch.run();
        CHECK(batch.host.images().front().YResolution == row.record);
    }
}

TEST_CASE("the room that is tried for an image") {
    struct Row {
        TW_INT16 bits;
        TW_INT32 width, length;
        TW_UINT32 room;
    };
    const Row rows[] = {
        {24, 100, 200, 60000 + 0x39000},
        {1, 9, 1, 1 + 0x39000},
        {24, 100, -1, 0x38ed4},  // the low half of a negative product
        {24, 40000, 40000, 505032704 + 0x39000},
    };
    for (const Row& row : rows) {
        CAPTURE(row.length);
        Batch batch(Mechanism::Native);
        TW_IMAGEINFO info = colourImage();
        info.BitsPerPixel = row.bits;
        info.ImageWidth = row.width;
        info.ImageLength = row.length;
        batch.manager.answer(operation::imageInfo, copy(info));
        batch.windows.largestAllocation = 100000000;
        batch.windows.allocations.clear();
        batch.run();
        REQUIRE_FALSE(batch.windows.allocations.empty());
        CHECK(batch.windows.allocations.front() == row.room);
    }
}

TEST_CASE("an image too large for memory comes by file where the source can") {
    Batch batch(Mechanism::Native, 2);
    batch.windows.largestAllocation = 0x39000;
    batch.host.onXferStart = [&](TXferImageInfo& image) { batch.nameFile(image); };
    const Lines fileImage = {"IMAGEINFO", "GETCURRENT ICAP_UNITS", "SET SETUPFILEXFER C:\\page.bmp format 2",
                             "IMAGEFILEXFER", "ENDXFER"};
    CHECK(batch.run() == Lines{"GETCURRENT ICAP_XFERMECH", "GET ICAP_XFERMECH", "IMAGEINFO"} + 2 * fileImage);
    CHECK(batch.host.images().front().XferMech == SM_MECH_FILE);
    CHECK(batch.windows.messageBoxes.empty());
}

TEST_CASE("an image too large for memory and without a file is only told to the user") {
    for (Mechanism mechanism : bothMechanisms) {
        Batch batch(mechanism);
        batch.manager.answer(operation::get(ICAP_XFERMECH), give(enumeration(TWTY_UINT16, {0, 2})));
        batch.windows.largestAllocation = 0x39000;
        SetFocus(batch.host.window());
        CHECK(batch.run() == Lines{"GETCURRENT ICAP_XFERMECH", "GET ICAP_XFERMECH", "IMAGEINFO"});
        CHECK(batch.host.messages() == Lines{});
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
        CHECK(batch.viewer.rawLines().front().find("Coming TScanModule::IsTWAINAvailable") !=
              std::string::npos);
    }
}

TEST_CASE("an image that can't be described counts as too large") {
    Batch batch(Mechanism::Native, 1);
    batch.manager.answer(operation::get(ICAP_XFERMECH), failWith(TWCC_BADCAP));
    batch.manager.answer(operation::imageInfo, failWith(TWCC_SEQERROR));
    CHECK(batch.run() == Lines{"GETCURRENT ICAP_XFERMECH", "GET ICAP_XFERMECH", "STATUS", "IMAGEINFO"});
    CHECK(batch.windows.messageBoxes.size() == 1);
}

TEST_CASE("which containers offer a file transfer") {
    struct Row {
        std::string name;
        ContainerImage image;
        bool offers;
    };
    const Row rows[] = {
        {"in a list", enumeration(TWTY_UINT16, {0, 1, 2}), true},
        {"at its start", enumeration(TWTY_UINT16, {1, 0, 2}), true},
        {"at its end", enumeration(TWTY_UINT16, {0, 2, 1}), true},
        {"not in a list", enumeration(TWTY_UINT16, {0, 2}), false},
        {"in an empty list", enumeration(TWTY_UINT16, {}), false},
        {"as one value", oneValue(TWTY_UINT16, TWSX_FILE), true},
        {"as another value", oneValue(TWTY_UINT16, TWSX_NATIVE), false},
        {"one value of any type", oneValue(TWTY_STR32, TWSX_FILE), true},
        {"only the low 16 bits count", oneValue(TWTY_UINT32, 0x50001), true},
        {"a list of any type, in 16-bit steps", enumeration(TWTY_STR32, {0x10000, 5}), true},
        {"in a range", range(TWTY_UINT16, {1, 1, 1, 1, 1}), false},
        {"in an array", array(TWTY_UINT16, {1}), false},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        Batch batch(Mechanism::Native);
        batch.manager.answer(operation::get(ICAP_XFERMECH), give(row.image));
        batch.windows.largestAllocation = 0x39000;
        batch.run();
        CHECK(batch.windows.messageBoxes.empty() == row.offers);
        CHECK(hasTrace(batch, row.offers ? "Can Use File Xfer." : "Cannot Use File Xfer."));
    }
}

TEST_CASE("the condition code of a source that doesn't say its mechanisms, in words") {
    struct Row {
        TW_UINT16 code;
        std::string text;
    };
    const std::string unknown = "Unknown Value: Unknown Message\n";
    const auto padded = [](const std::string& text, size_t blanks) {
        return text + std::string(blanks, ' ') + "\n";
    };
    const Row rows[] = {
        {0, "TWCC_SUCCESS: It worked!\n"},
        {1, "TWCC_BUMMER: Failure due to unknown causes\n"},
        {2, "TWCC_LOWMEMORY: Not enough memory to perform operation\n"},
        {3, "TWCC_NODS: No Data Source\n"},
        {4, padded("TWCC_MAXCONNECTIONS: DS is connected to max possible apps", 6)},
        {5, padded("TWCC_OPERATIONERROR: DS or DSM reported error, app shouldn't", 3)},
        {6, padded("TWCC_BADCAP: Unknown capability", 24)},
        {9, padded("TWCC_BADPROTOCOL: Unrecognized MSG DG DAT combination", 7)},
        {10, padded("TWCC_BADVALUE: Data parameter out of range", 15)},
        {11, padded("TWCC_SEQERROR: DG DAT MSG out of expected sequence", 7)},
        {12, padded("TWCC_BADDEST: Unknown destination App/Src in DSM_Entry", 2)},
        {7, unknown},
        {8, unknown},
        {13, unknown},
        {0xffff, unknown},
    };
    for (const Row& row : rows) {
        CAPTURE(row.code);
        Batch batch(Mechanism::Native);
        batch.manager.answer(operation::get(ICAP_XFERMECH), failWith(row.code));
        batch.run();
        CHECK(notesOf(batch).front() == row.text);
        CHECK_FALSE(hasTrace(batch, "Cannot Use File Xfer."));
    }
    Batch batch(Mechanism::Native);
    batch.manager.answer(operation::get(ICAP_XFERMECH), failWith(TWCC_BADCAP));
    batch.manager.answer(operation::status, failWith(TWCC_BUMMER));
    batch.run();
    CHECK(notesOf(batch).front() == "Send WM_XFERSTART in TScanModule::DoNativeXfer");
}
