// Questions around a scan: the scan area, the palette, the coming image's size and the summary of a source.
#include <algorithm>
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
        {"1 2 3 4 1",
         "state 2; ! Sequence error in TScanModule::GetUnit" + plain + " -> fail 10; !failure; result 10"},
        {"1 2 3 4 1", "state 5; !sequence"},
        {"1 2 3 4 1", "state 1; !manager"},
    };
    Stages stages;
    for (const auto& row : rows)
        checkCall(stages.forRow(row.record), "SetImageLayout " + row.area, row.record);
}

TEST_CASE("the palette, white where the source gives no colour") {
    constexpr int isUntouched = -1;
    const struct {
        int state;
        TW_UINT16 given;
        std::string record;
        int colors;
        Answer answer = succeed();
    } rows[] = {
        {4, 2, "PALETTE8; result 0", 2},
        {4, 257, "PALETTE8; ! Bad Value, palette.NumColors > 256, in @; result 10", 0},
        {4, 2, "PALETTE8; !failure; result 10", 0, failWith(TWCC_BADVALUE)},
        {4, 2, "PALETTE8; !failure; result 0", 0, returnCode(TWRC_CHECKSTATUS)},
        {5, 256, "PALETTE8; result 0", 256},
        {2, 2, "!sequence", isUntouched},
    };
    Stages stages;
    for (const auto& row : rows) {
        Stage& stage = stages.in(row.state);
        Answer answer = row.answer;
        answer.act = [&](TW_MEMREF data) {
            auto& palette = *static_cast<TW_PALETTE8*>(data);
            palette.NumColors = row.given;
            std::fill_n(palette.Colors, 256, TW_ELEMENT8{99, 6, 7, 8});
        };
        stage.manager.answer(operation::palette, answer);
        const GuardedBuffer table(sizeof(SmPalette));
        std::memset(table.data(), 85, table.size());
        auto* palette = reinterpret_cast<SmPalette*>(table.data());
        checkCall(stage, row.record, "GetDSPalette",
                  [&] { return resultText(stage.module.GetDSPalette(palette)); });
        const bool isLeft = row.colors == isUntouched;
        std::vector<SmPaletteEntry> expected(
            256, isLeft ? SmPaletteEntry{85, 85, 85, 85} : SmPaletteEntry{255, 255, 255, 0});
        if (row.colors > 0) std::fill_n(expected.begin(), row.colors, SmPaletteEntry{6, 7, 8, 0});
        CHECK(std::memcmp(palette, expected.data(), sizeof *palette) == 0);
    }
}

TEST_CASE("the coming image's size, without a trace in any state") {
    const struct {
        int state;
        TW_UINT16 code;
    } rows[] = {
        {5, TWRC_SUCCESS}, {5, TWRC_FAILURE}, {5, TWRC_CHECKSTATUS}, {2, TWRC_SUCCESS}, {1, TWRC_SUCCESS}};
    Stages stages;
    for (const auto& [state, code] : rows) {
        Stage& stage = stages.in(state);
        Answer answer =
            fill<TW_IMAGEINFO>([](TW_IMAGEINFO& info) { info.ImageWidth = 850, info.ImageLength = -1; });
        answer.returnCode = code;
        stage.manager.answer(operation::imageInfo, answer);
        stage.forget();
        int width = 777, length = 777;
        stage.module.GetImageDim(&width, &length);
        const bool isKnown = state > 1 && code == TWRC_SUCCESS;
        CHECK(width == (isKnown ? 850 : 0));
        CHECK(length == (isKnown ? -1 : 0));
        CHECK((state == 1 || stage.happened() == Lines{"IMAGEINFO"}));
        CHECK((state == 1 || stage.viewer.rawLines() == Lines{}));
    }
}

TEST_CASE("the summary of a source") {
    using Words = std::vector<unsigned int>;
    const Answer depth = give(oneValue(TWTY_UINT16, 24)), refusal = failWith(TWCC_BADCAP);
    const std::string refusedDepth =
        "! CapNegotiate returns failure in TScanModule::Getbitdepth; STATUS; GET ICAP_BITDEPTH; "
        "! Invalid container type in TScanModule::Getbitdepth; ";
    const struct {
        TW_UINT16 unit;
        double perInch, current, min, max;
        Words numbers;  // maximum, minimum and current resolution, unit
        Answer depth;
        std::string depthRecord = "";
    } rows[] = {
        // Raised to 300, but not above the maximum.
        {TWUN_INCHES, 1, 299, 50, 300, {300, 50, 300, 1}, depth},
        {TWUN_INCHES, 1, 200, 50, 299, {299, 50, 200, 1}, refusal, refusedDepth},
        {TWUN_POINTS, 72, 301, 75, 400, {400, 75, 301, 8}, depth},
        // Widened with the sign.
        {TWUN_INCHES, 1, -2, -3, -1, {0xffffffff, 0xfffffffd, 0xfffffffe, 1}, depth},
    };
    Stages stages;
    for (const auto& row : rows) {
        CAPTURE(row.current);
        Stage& stage = stages.in(4);
        const double f = row.perInch;
        stage.manager.answer(operation::get(ICAP_XRESOLUTION),
                             give(fix32Range(f * row.min, f * row.max, 1, f * row.current)));
        answer(stage, ICAP_UNITS, TWTY_UINT16, row.unit);
        // In 1200ths of an inch, cut to whole ones.
        answer(stage, ICAP_PHYSICALWIDTH, TWTY_FIX32, fix32(f * 8.5));
        answer(stage, ICAP_PHYSICALHEIGHT, TWTY_FIX32, fix32(f * 11.6907));
        answer(stage, ICAP_PIXELTYPE, TWTY_UINT16, TWPT_RGB);
        stage.manager.answer(operation::getCurrent(ICAP_BITDEPTH), row.depth);
        stage.manager.answer(operation::get(ICAP_BITDEPTH), give(array(TWTY_UINT16, {8})));
        stage.manager.answer(operation::setupMemory, copy(TW_SETUPMEMXFER{1000, 40000, 20000}));
        // Words 1 to 13 and the last two stay the host's.
        Words words(26, 0xeeeeeeee);
        const GuardedBuffer buffer(sizeof(SmScanAbility));
        std::memcpy(buffer.data(), words.data(), buffer.size());
        auto* ability = reinterpret_cast<SmScanAbility*>(buffer.data());
        const std::string asked =
            resolution + "GETCURRENT ICAP_PHYSICALWIDTH; GETCURRENT ICAP_PHYSICALHEIGHT; unit; " +
            resolution + "unit; GETCURRENT ICAP_PIXELTYPE; SETUPMEMXFER; GETCURRENT ICAP_BITDEPTH; ";
        checkCall(stage, asked + row.depthRecord + "result 0", "GetScanCap",
                  [&] { return resultText(stage.module.GetScanCap(ability)); });
        const Words& n = row.numbers;
        const Words known = {0, n[0], n[1], n[2], 8, 10200, 14028, n[3], SM_PIXEL_RGB, 40000};
        words[0] = 104;
        std::copy(known.begin(), known.end(), words.begin() + 14);
        CHECK(std::memcmp(ability, words.data(), sizeof *ability) == 0);
    }
}
