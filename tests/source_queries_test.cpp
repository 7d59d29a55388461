// Questions around a scan: the scan area, the palette, the coming image's size, the summary of a source, and
// the maker's blocks.
#include <algorithm>
#include <array>
#include <cstring>

#include "CallRecord.h"
#include "GuardedBuffer.h"

TEST_CASE("a scan area is converted, but not for a source that works in inches") {
    // 144 and 288 dots per inch where the source works in pixels, 24 and 48 where it does in picas.
    const std::string x = "GET ICAP_XRESOLUTION -> one FIX32 144; unit; ";
    const std::string y = "GET ICAP_YRESOLUTION -> one FIX32 288; unit; ";
    const std::string unit = "unit -> one UINT16 ", set = "; SET IMAGELAYOUT ";
    const std::string plain = set + "1.0000 2.0000 3.0000 4.0000";
    const struct {
        std::string area, record;
    } rows[] = {
        // Kept: for inches, and for an unknown unit, the numbers go as they are.
        {"1 2 3 4 2", unit + "0" + plain + "; result 0"},
        {"1 2 3 4 8", unit + "77" + plain + "; result 0"},
        {"0 0 2.54 5.08 2", unit + "3" + set + "0.0000 0.0000 72.0000 144.0000; result 0"},
        {"1 2 3 4 3", unit + "2" + set + "6.0000 12.0000 18.0000 24.0000; result 0"},
        {"1 2 3 4 1",
         unit + "5; " + x + y + "SET IMAGELAYOUT 144.0000 576.0000 432.0000 1152.0000; result 0"},
        {"24 48 96 144 32", x + y + unit + "2" + set + "6.0000 6.0000 24.0000 18.0000; result 0"},
        {"0 0 16384.0005 1 1", unit + "0" + set + "0.0000 0.0000 16384.0000 1.0000; result 0"},
        {"1 2 3 4 1", unit + "0" + plain + " -> fail 10; !failure; result 10"},
        {"1 2 3 4 1", unit + "0" + plain + " -> check; !failure; result 0"},
        // Too early, which the source decides.
        {"1 2 3 4 2",
         "state 2; ! Sequence error in TScanModule::GetUnit" + plain + " -> fail 10; !failure; result 10"},
        {"1 2 3 4 1", "state 5; !sequence"},
        {"1 2 3 4 1", "state 1; !manager"},
    };
    Stages stages;
    for (const auto& row : rows) {
        Stage& stage = stages.forRow(row.record);
        stage.manager.answer(operation::imageLayoutSet, succeed());
        checkCall(stage, "SetImageLayout " + row.area, row.record);
    }
}

TEST_CASE("the palette, white where the source gives no colour") {
    const SmPaletteEntry white = {255, 255, 255, 0}, hosts = {85, 85, 85, 85};
    const struct {
        TW_UINT16 given;
        int colors;
        SmPaletteEntry rest;
        std::string record;
    } rows[] = {
        {2, 2, white, "PALETTE8; result 0"},
        {257, 0, white, "PALETTE8; ! Bad Value, palette.NumColors > 256, in @; result 10"},
        {2, 0, white, "PALETTE8 -> fail 10; !failure; result 10"},
        {2, 0, white, "PALETTE8 -> check; !failure; result 0"},
        {256, 256, white, "state 5; PALETTE8; result 0"},
        {2, 0, hosts, "state 2; !sequence"},
    };
    Stages stages;
    for (const auto& row : rows) {
        Stage& stage = stages.forRow(row.record);
        TW_PALETTE8 given = {};
        given.NumColors = row.given;
        std::fill_n(given.Colors, 256, TW_ELEMENT8{99, 6, 7, 8});
        stage.manager.answerLine("PALETTE8", copy(given));
        const GuardedBuffer table(sizeof(SmPalette));
        std::memset(table.data(), 85, table.size());
        auto* palette = reinterpret_cast<SmPalette*>(table.data());
        const auto call = [&](Module& module) { return resultText(module.GetDSPalette(palette)); };
        checkCall(stage, "GetDSPalette", call, row.record);
        std::vector<SmPaletteEntry> expected(256, row.rest);
        std::fill_n(expected.begin(), row.colors, SmPaletteEntry{6, 7, 8, 0});
        CHECK(std::memcmp(palette, expected.data(), sizeof *palette) == 0);
    }
}

TEST_CASE("the coming image's size, without a trace in any state") {
    Stages stages;
    const auto check = [&](int state, TW_UINT16 code, const std::string& size) {
        Stage& stage = stages.in(state);
        TW_IMAGEINFO info = {};
        info.ImageWidth = 850, info.ImageLength = -1;
        Answer answer = copy(info);
        answer.returnCode = code;
        stage.manager.answerLine("IMAGEINFO", answer);
        stage.forget();
        CHECK(callByText(stage.module, "GetImageDim") == "value " + size);
        CHECK((state == 1 || stage.happened() == Lines{"IMAGEINFO"}));
        CHECK((state == 1 || stage.viewer.rawLines() == Lines{}));
    };
    check(5, TWRC_SUCCESS, "850 -1");
    check(5, TWRC_FAILURE, "0 0");
    check(5, TWRC_CHECKSTATUS, "0 0");
    check(2, TWRC_SUCCESS, "850 -1");
    check(1, TWRC_SUCCESS, "0 0");
}

TEST_CASE("the summary of a source") {
    using Words = std::vector<unsigned int>;
    const std::string depth = "-> one UINT16 24; ";
    const std::string refusedDepth =
        "-> fail 6; ! CapNegotiate returns failure in TScanModule::Getbitdepth; STATUS; GET ICAP_BITDEPTH "
        "-> array UINT16 [8]; ! Invalid container type in TScanModule::Getbitdepth; ";
    const std::string height = "; GETCURRENT ICAP_PHYSICALHEIGHT -> one FIX32 ";
    const std::string inInches = "8.5" + height + "11.6907; ", inPoints = "612" + height + "841.7304; ";
    const struct {
        std::string resolution, unit, area;
        Words numbers;  // maximum, minimum and current resolution, unit
        std::string depth;
    } rows[] = {
        // Raised to 300, but not above the maximum.
        {"50 300 1 50 299", "0", inInches, {300, 50, 300, 1}, depth},
        {"50 299 1 50 200", "0", inInches, {299, 50, 200, 1}, refusedDepth},
        {"5400 28800 1 5400 21672", "3", inPoints, {400, 75, 301, 8}, depth},
        // Widened with the sign.
        {"-3 -1 1 -3 -2", "0", inInches, {0xffffffff, 0xfffffffd, 0xfffffffe, 1}, depth},
    };
    Stages stages;
    for (const auto& row : rows) {
        Stage& stage = stages.in(4);
        stage.manager.answer(operation::setupMemory, copy(TW_SETUPMEMXFER{1000, 40000, 20000}));
        // Words 1 to 13 and the last two stay the host's.
        Words words(26, 0xeeeeeeee);
        const GuardedBuffer buffer(sizeof(SmScanAbility));
        std::memcpy(buffer.data(), words.data(), buffer.size());
        auto* ability = reinterpret_cast<SmScanAbility*>(buffer.data());
        const auto call = [&](Module& module) { return resultText(module.GetScanCap(ability)); };
        const std::string asked =
            "GET ICAP_XRESOLUTION -> range FIX32 " + row.resolution + "; unit -> one UINT16 " + row.unit +
            "; GETCURRENT ICAP_PHYSICALWIDTH -> one FIX32 " + row.area +
            "unit; GET ICAP_XRESOLUTION; unit; unit; "
            "GETCURRENT ICAP_PIXELTYPE -> one UINT16 2; SETUPMEMXFER; GETCURRENT ICAP_BITDEPTH ";
        checkCall(stage, "GetScanCap", call, asked + row.depth + "result 0");
        // The area in 1200ths of an inch, cut to whole ones.
        const Words& n = row.numbers;
        const Words known = {0, n[0], n[1], n[2], 8, 10200, 14028, n[3], SM_PIXEL_RGB, 40000};
        words[0] = 104;
        std::copy(known.begin(), known.end(), words.begin() + 14);
        CHECK(std::memcmp(ability, words.data(), sizeof *ability) == 0);
    }
}

TEST_CASE("a block of the host's goes to the source as it is") {
    const std::string early = "!sequence; value before", done = "%; result 0; value source's";
    const struct {
        std::string method, sent, withoutSource;
    } operations[] = {
        {"SetKvAutoExposureMode", "DG 2 DAT 0x8001 SET", early},
        {"GetKvDefaultRgbMatrix", "DG 2 DAT 0x8002 GETDEFAULT", early},
        // Kept: the response curve needs no open source.
        {"SetKvRgbResponse", "DG 2 DAT 0x0108 SET", done},
        {"GetKvRgbResponse", "DG 2 DAT 0x0108 GET", done},
    };
    Stages stages;
    for (const auto& operation : operations) {
        const std::string rows[] = {
            done,
            "state 5; % -> fail 6; !failure; result 6; value before",
            "state 5; % -> check; !failure; result 0; value before",
            "state 2; " + operation.withoutSource,
            "state 1; !manager; value before",
        };
        for (const std::string& row : rows) {
            Stage& stage = stages.forRow(row);
            stage.manager.answerLine(operation.sent, copy(std::array<char, 9>{"source's"}));
            checkCall(stage, operation.method, filled(row, '%', operation.sent));
        }
    }
}
