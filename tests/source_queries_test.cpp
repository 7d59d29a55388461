// Questions around a scan: the scan area, the palette, the coming image's size and the summary of a source.
#include <algorithm>
#include <cstring>

#include "CallRecord.h"
#include "GuardedBuffer.h"

namespace {

void answer(Stage& stage, TW_UINT16 capability, TW_UINT16 type, TW_UINT32 item) {
    stage.manager.answer(operation::getCurrent(capability), give(oneValue(type, item)));
}

const std::string unit = "GETCURRENT ICAP_UNITS; ", resolution = "GET ICAP_XRESOLUTION; " + unit;

}  // namespace

TEST_CASE("a scan area is converted, but not for a source that works in inches") {
    struct Row {
        int state;
        SmImageLayout area;
        unsigned short unit;
        TW_UINT32 sourceUnit;
        std::string asked, sent, rest = "; result 0";
    };
    const std::string resolutions = resolution + "GET ICAP_YRESOLUTION; " + unit;
    const std::string plain = "1.0000 2.0000 3.0000 4.0000";
    const std::string early = "; STATUS; ! Sequence error in TScanModule::GetUnit; ";
    const Row rows[] = {
        // Kept: for inches, and for an unknown unit, the numbers go as they are.
        {4, {1, 2, 3, 4}, 2, TWUN_INCHES, unit, plain},
        {4, {1, 2, 3, 4}, 8, 77, unit, plain},
        {4, {0, 0, 2.54, 5.08}, 2, TWUN_POINTS, unit, "0.0000 0.0000 72.0000 144.0000"},
        {4, {1, 2, 3, 4}, 3, TWUN_PICAS, unit, "6.0000 12.0000 18.0000 24.0000"},
        {4, {1, 2, 3, 4}, 1, TWUN_PIXELS, unit + resolutions, "144.0000 576.0000 432.0000 1152.0000"},
        {4, {24, 48, 96, 144}, 32, TWUN_PICAS, resolutions + unit, "6.0000 6.0000 24.0000 18.0000"},
        {4, {0, 0, 16384.0005, 1}, 1, TWUN_INCHES, unit, "0.0000 0.0000 16384.0000 1.0000"},
        {4, {1, 2, 3, 4}, 1, TWUN_INCHES, unit, plain, "; STATUS; !failure; result 10"},
        // Too early, which the source decides.
        {2, {1, 2, 3, 4}, 1, 0, "", plain, early + "!failure; result 10"},
        {5, {1, 2, 3, 4}, 1, TWUN_INCHES, "", "", "!sequence"},
        {1, {1, 2, 3, 4}, 1, TWUN_INCHES, "", "", "!manager"},
    };
    for (const Row& row : rows) {
        StageIn stage(row.state);
        answer(*stage, ICAP_UNITS, TWTY_UINT16, row.sourceUnit);
        // 144 and 288 as they are; 24 and 48 dots per inch in picas.
        stage->manager.answer(operation::get(ICAP_XRESOLUTION), give(oneValue(TWTY_FIX32, fix32(144))));
        stage->manager.answer(operation::get(ICAP_YRESOLUTION), give(oneValue(TWTY_FIX32, fix32(288))));
        const bool isRefused = row.rest.find("STATUS") != std::string::npos;
        stage->manager.answer(operation::imageLayoutSet, isRefused ? failWith(TWCC_BADVALUE) : succeed());
        const std::string sent = row.sent.empty() ? "" : "SET IMAGELAYOUT " + row.sent;
        checkCall(*stage, row.asked + sent + row.rest, "SetImageLayout",
                  [&] { return resultText(stage->module.SetImageLayout(row.area, row.unit)); });
    }
}

TEST_CASE("the palette, white where the source gives no colour") {
    constexpr int isRefused = -1, isUntouched = -1;
    const struct {
        int state, given;
        std::string record;
        int colors;
    } rows[] = {
        {4, 2, "PALETTE8; result 0", 2},
        {5, 256, "PALETTE8; result 0", 256},
        {4, 257, "PALETTE8; ! Bad Value, palette.NumColors > 256, in @; result 10", 0},
        {4, isRefused, "PALETTE8; STATUS; !failure; result 10", 0},
        {2, 2, "!sequence", isUntouched},
    };
    for (const auto& row : rows) {
        StageIn stage(row.state);
        Answer answer = row.given == isRefused ? failWith(TWCC_BADVALUE) : succeed();
        answer.act = [&](TW_MEMREF data) {
            auto& palette = *static_cast<TW_PALETTE8*>(data);
            palette.NumColors = static_cast<TW_UINT16>(row.given);
            std::fill_n(palette.Colors, 256, TW_ELEMENT8{99, 6, 7, 8});
        };
        stage->manager.answer(operation::palette, answer);
        const GuardedBuffer table(sizeof(SmPalette));
        std::memset(table.data(), 85, table.size());
        auto* palette = reinterpret_cast<SmPalette*>(table.data());
        checkCall(*stage, row.record, "GetDSPalette",
                  [&] { return resultText(stage->module.GetDSPalette(palette)); });
        const bool isLeft = row.colors == isUntouched;
        std::vector<SmPaletteEntry> expected(
            256, isLeft ? SmPaletteEntry{85, 85, 85, 85} : SmPaletteEntry{255, 255, 255, 0});
        if (row.colors > 0) std::fill_n(expected.begin(), row.colors, SmPaletteEntry{6, 7, 8, 0});
        CHECK(std::memcmp(palette, expected.data(), sizeof *palette) == 0);
    }
}

TEST_CASE("the coming image's size, without a trace in any state") {
    for (const auto& [state, code] : {std::pair(5, TWRC_SUCCESS), std::pair(2, TWRC_SUCCESS),
                                      std::pair(5, TWRC_FAILURE), std::pair(1, TWRC_SUCCESS)}) {
        StageIn stage(state);
        Answer answer =
            fill<TW_IMAGEINFO>([](TW_IMAGEINFO& info) { info.ImageWidth = 850, info.ImageLength = -1; });
        answer.returnCode = code;
        stage->manager.answer(operation::imageInfo, answer);
        stage->forget();
        int width = 777, length = 777;
        stage->module.GetImageDim(&width, &length);
        const bool isKnown = state > 1 && code == TWRC_SUCCESS;
        CHECK(width == (isKnown ? 850 : 0));
        CHECK(length == (isKnown ? -1 : 0));
        CHECK(stage->manager.calls() == (state > 1 ? Lines{"IMAGEINFO"} : Lines{}));
        CHECK((state == 1 || stage->viewer.rawLines() == Lines{}));
    }
}

TEST_CASE("the summary of a source") {
    using Words = std::vector<unsigned int>;
    const struct {
        TW_UINT16 unit;
        double perInch, current, min, max;
        Words numbers;  // maximum, minimum and current resolution, unit
    } rows[] = {
        // Raised to 300, but not above the maximum.
        {TWUN_INCHES, 1, 299, 50, 300, {300, 50, 300, 1}},
        {TWUN_INCHES, 1, 200, 50, 299, {299, 50, 200, 1}},
        {TWUN_POINTS, 72, 301, 75, 400, {400, 75, 301, 8}},
        // Widened with the sign.
        {TWUN_INCHES, 1, -2, -3, -1, {0xffffffff, 0xfffffffd, 0xfffffffe, 1}},
    };
    for (const auto& row : rows) {
        CAPTURE(row.current);
        Stage stage;
        stage.open();
        const double f = row.perInch;
        stage.manager.answer(operation::get(ICAP_XRESOLUTION),
                             give(fix32Range(f * row.min, f * row.max, 1, f * row.current)));
        answer(stage, ICAP_UNITS, TWTY_UINT16, row.unit);
        answer(stage, ICAP_PHYSICALWIDTH, TWTY_FIX32, fix32(f * 8.5));
        answer(stage, ICAP_PHYSICALHEIGHT, TWTY_FIX32, fix32(f * 11.6901));
        answer(stage, ICAP_PIXELTYPE, TWTY_UINT16, TWPT_RGB);
        answer(stage, ICAP_BITDEPTH, TWTY_UINT16, 24);
        stage.manager.answer(operation::setupMemory, copy(TW_SETUPMEMXFER{1000, 40000, 20000}));
        // Words 1 to 13 and the last two stay the host's.
        Words words(26, 0xeeeeeeee);
        const GuardedBuffer buffer(sizeof(SmScanAbility));
        std::memcpy(buffer.data(), words.data(), buffer.size());
        auto* ability = reinterpret_cast<SmScanAbility*>(buffer.data());
        const std::string asked =
            resolution + "GETCURRENT ICAP_PHYSICALWIDTH; GETCURRENT ICAP_PHYSICALHEIGHT; " + unit +
            resolution + unit + "GETCURRENT ICAP_PIXELTYPE; SETUPMEMXFER; GETCURRENT ICAP_BITDEPTH; ";
        checkCall(stage, asked + "result 0", "GetScanCap",
                  [&] { return resultText(stage.module.GetScanCap(ability)); });
        const Words& n = row.numbers;
        const Words known = {0, n[0], n[1], n[2], 8, 10200, 14028, n[3], SM_PIXEL_RGB, 40000};
        words[0] = 104;
        std::copy(known.begin(), known.end(), words.begin() + 14);
        CHECK(std::memcmp(ability, words.data(), sizeof *ability) == 0);
    }
}
