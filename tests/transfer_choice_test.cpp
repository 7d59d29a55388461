// Which transfer a batch takes: the room an image needs, what the source offers, and what happens when
// neither will do.
#include <doctest.h>

#include "TransferBatch.h"

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
