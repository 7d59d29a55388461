// Questions around a scan: the scan area, the palette, the coming image's size and the summary of a source.
#include <algorithm>
#include <cstring>

#include "CallRecord.h"
#include "GuardedBuffer.h"

namespace {

void useUnit(Stage& stage, TW_UINT32 unit) {
    stage.manager.answer(operation::getCurrent(ICAP_UNITS), give(oneValue(TWTY_UINT16, unit)));
}

Answer fix(double value) {
    return give(oneValue(TWTY_FIX32, fix32(value)));
}

}  // namespace

TEST_CASE("a scan area is converted, but not for a source that works in inches") {
    struct Row {
        int state;
        SmImageLayout area;
        unsigned short unit;
        TW_UINT32 sourceUnit;
        std::string record;
        Answer answer = succeed();
    };
    const std::string unit = "GETCURRENT ICAP_UNITS; ", set = "SET IMAGELAYOUT ", taken = "; result 0";
    const std::string resolutions = "GET ICAP_XRESOLUTION; " + unit + "GET ICAP_YRESOLUTION; " + unit;
    const std::string plain = set + "1.0000 2.0000 3.0000 4.0000", failed = "!failure; result 10";
    const Answer no = failWith(TWCC_BADVALUE);
    const Row rows[] = {
        {4, {1, 2, 3, 4}, 1, TWUN_INCHES, unit + plain + taken},
        // Kept: for inches, and for an unknown unit, the numbers go as they are.
        {4, {1, 2, 3, 4}, 2, TWUN_INCHES, unit + plain + taken},
        {4, {1, 2, 3, 4}, 32, TWUN_INCHES, resolutions + unit + plain + taken},
        {4, {1, 2, 3, 4}, 8, 77, unit + plain + taken},
        {4, {0, 0, 2.54, 5.08}, 2, TWUN_POINTS, unit + set + "0.0000 0.0000 72.0000 144.0000" + taken},
        {4, {1, 2, 3, 6}, 4, TWUN_TWIPS, unit + set + "240.0000 480.0000 720.0000 1440.0000" + taken},
        {4, {1, 2, 3, 4}, 3, TWUN_PICAS, unit + set + "6.0000 12.0000 18.0000 24.0000" + taken},
        {4,
         {1, 2, 3, 4},
         1,
         TWUN_PIXELS,
         unit + resolutions + set + "144.0000 576.0000 432.0000 1152.0000" + taken},
        {4,
         {24, 48, 96, 144},
         32,
         TWUN_PICAS,
         resolutions + unit + set + "6.0000 6.0000 24.0000 18.0000" + taken},
        {4, {0, 0, 16384.0005, 1}, 1, TWUN_INCHES, unit + set + "0.0000 0.0000 16384.0000 1.0000" + taken},
        {4, {1, 2, 3, 4}, 1, TWUN_INCHES, unit + plain + "; STATUS; " + failed, no},
        {5, {1, 2, 3, 4}, 1, TWUN_INCHES, "!sequence"},
        // Too early, which the source decides.
        {2,
         {1, 2, 3, 4},
         1,
         TWUN_INCHES,
         plain + "; STATUS; ! Sequence error in TScanModule::GetUnit; " + failed,
         no},
        {1, {1, 2, 3, 4}, 1, TWUN_INCHES, "!manager"},
    };
    for (const Row& row : rows) {
        CAPTURE(row.record);
        StageIn stage(row.state);
        useUnit(*stage, row.sourceUnit);
        // 144 and 288 as they are; 24 and 48 dots per inch in picas.
        stage->manager.answer(operation::get(ICAP_XRESOLUTION), fix(144));
        stage->manager.answer(operation::get(ICAP_YRESOLUTION), fix(288));
        Answer answer = row.answer;
        answer.act = [](TW_MEMREF data) {
            const auto& layout = *static_cast<TW_IMAGELAYOUT*>(data);
            CHECK((layout.DocumentNumber | layout.PageNumber | layout.FrameNumber) == 0);
        };
        stage->manager.answer(operation::imageLayoutSet, answer);
        const Lines record =
            recordOf(*stage, [&] { return resultText(stage->module.SetImageLayout(row.area, row.unit)); });
        CHECK(record == expectedRecord(row.record, "SetImageLayout"));
    }
}

namespace {

// Colour i is i, 255 - i, 7.
Answer paletteOf(TW_UINT16 colors) {
    return fill<TW_PALETTE8>([colors](TW_PALETTE8& palette) {
        palette.NumColors = colors;
        for (int i = 0; i < 256; ++i)
            palette.Colors[i] = {99, static_cast<TW_UINT8>(i), static_cast<TW_UINT8>(255 - i), 7};
    });
}

using Bytes = std::vector<uint8_t>;

// So many of the source's colours and white after them.
Bytes tableOf(int colors) {
    Bytes table;
    for (int i = 0; i < 256; ++i) {
        const Bytes color = {static_cast<uint8_t>(i), static_cast<uint8_t>(255 - i), 7, 0};
        const Bytes entry = i < colors ? color : Bytes{255, 255, 255, 0};
        table.insert(table.end(), entry.begin(), entry.end());
    }
    return table;
}

}  // namespace

TEST_CASE("the palette, white where the source gives no colour") {
    struct Row {
        int state;
        Answer answer;
        std::string record;
        Bytes table;
    };
    const Bytes untouched(sizeof(SmPalette), 0x55);
    const Row rows[] = {
        {4, paletteOf(2), "PALETTE8; result 0", tableOf(2)},
        {5, paletteOf(256), "PALETTE8; result 0", tableOf(256)},
        {4, paletteOf(257), "PALETTE8; ! Bad Value, palette.NumColors > 256, in @; result 10", tableOf(0)},
        {4, failWith(TWCC_BADVALUE), "PALETTE8; STATUS; !failure; result 10", tableOf(0)},
        {2, paletteOf(2), "!sequence", untouched},
        {1, paletteOf(2), "!manager", untouched},
    };
    for (const Row& row : rows) {
        CAPTURE(row.record);
        StageIn stage(row.state);
        stage->manager.answer(operation::palette, row.answer);
        const GuardedBuffer table(sizeof(SmPalette));
        std::memset(table.data(), 0x55, table.size());
        const Lines record = recordOf(*stage, [&] {
            return resultText(stage->module.GetDSPalette(reinterpret_cast<SmPalette*>(table.data())));
        });
        CHECK(record == expectedRecord(row.record, "GetDSPalette"));
        CHECK(Bytes(table.data(), table.data() + table.size()) == row.table);
    }
}

TEST_CASE("the coming image's size, without a trace in any state") {
    struct Row {
        int state;
        Answer answer;
        int width, length;
    };
    const Row rows[] = {
        {5, succeed(), 850, -1},
        {2, succeed(), 850, -1},
        {5, failWith(TWCC_SEQERROR), 0, 0},
        {1, succeed(), 0, 0},
    };
    for (const Row& row : rows) {
        StageIn stage(row.state);
        Answer answer = row.answer;
        answer.act = [&](TW_MEMREF data) {
            static_cast<TW_IMAGEINFO*>(data)->ImageWidth = 850;
            static_cast<TW_IMAGEINFO*>(data)->ImageLength = -1;
        };
        stage->manager.answer(operation::imageInfo, answer);
        stage->forget();
        int width = 777, length = 777;
        stage->module.GetImageDim(&width, &length);
        CHECK(width == row.width);
        CHECK(length == row.length);
        if (row.state == 1) continue;
        CHECK(stage->manager.calls() == Lines{"IMAGEINFO"});
        CHECK(stage->viewer.rawLines() == Lines{});
    }
}

namespace {

using Words = std::vector<unsigned int>;

constexpr unsigned int before = 0xeeeeeeee;

Words abilityOf(Stage& stage) {
    const GuardedBuffer record(sizeof(SmScanAbility));
    Words words(sizeof(SmScanAbility) / sizeof(unsigned int), before);
    std::memcpy(record.data(), words.data(), record.size());
    CHECK(stage.module.GetScanCap(reinterpret_cast<SmScanAbility*>(record.data())) == 0);
    std::memcpy(words.data(), record.data(), record.size());
    return words;
}

}  // namespace

TEST_CASE("the summary of a source") {
    struct Row {
        TW_UINT16 unit;
        double perInch;
        double current, min, max;
        Words numbers;  // maximum, minimum and current resolution, unit
    };
    const Row rows[] = {
        {TWUN_INCHES, 1, 299, 50, 300, {300, 50, 300, 1}},  // raised
        {TWUN_INCHES, 1, 200, 50, 299, {299, 50, 200, 1}},  // not above the maximum
        {TWUN_INCHES, 1, 400, 50, 600, {600, 50, 400, 1}},
        {TWUN_POINTS, 72, 300, 75, 400, {400, 75, 300, 8}},
        {TWUN_INCHES, 1, -2, -3, -1, {0xffffffff, 0xfffffffd, 0xfffffffe, 1}},  // widened with the sign
    };
    for (const Row& row : rows) {
        CAPTURE(row.current);
        Stage stage;
        stage.open();
        useUnit(stage, row.unit);
        const double f = row.perInch;
        const auto answer = [&](TW_UINT16 capability, const Answer& answer) {
            stage.manager.answer(operation::getCurrent(capability), answer);
        };
        stage.manager.answer(operation::get(ICAP_XRESOLUTION),
                             give(fix32Range(f * row.min, f * row.max, 1, f * row.current)));
        answer(ICAP_PHYSICALWIDTH, fix(f * 8.5));
        answer(ICAP_PHYSICALHEIGHT, fix(f * 11.6901));
        answer(ICAP_PIXELTYPE, give(oneValue(TWTY_UINT16, TWPT_RGB)));
        answer(ICAP_BITDEPTH, give(oneValue(TWTY_UINT16, 24)));
        stage.manager.answer(operation::setupMemory, copy(TW_SETUPMEMXFER{1000, 40000, 20000}));
        // Words 1 to 13 and the last two stay the host's.
        Words words(26, before);
        words[0] = 104;
        const Words& n = row.numbers;
        const Words known = {0, n[0], n[1], n[2], 8, 10200, 14028, n[3], SM_PIXEL_RGB, 40000};
        std::copy(known.begin(), known.end(), words.begin() + 14);
        CHECK(abilityOf(stage) == words);
        const std::string unit = "GETCURRENT ICAP_UNITS; ", resolution = "GET ICAP_XRESOLUTION; " + unit;
        CHECK(stage.manager.calls() ==
              splitRow(resolution + "GETCURRENT ICAP_PHYSICALWIDTH; GETCURRENT ICAP_PHYSICALHEIGHT; " + unit +
                       resolution + unit +
                       "GETCURRENT ICAP_PIXELTYPE; SETUPMEMXFER; GETCURRENT ICAP_BITDEPTH"));
        CHECK(stage.viewer.traces().front() == "Coming TScanModule::GetScanCap");
        CHECK(stage.viewer.traces().back() == "Leaving TScanModule::GetScanCap");
    }
}

TEST_CASE("the summary of a source that knows nothing, and of none") {
    Stage stage;
    CHECK(abilityOf(stage)[0] == 104);
    CHECK(stage.manager.calls() == Lines{});

    stage.open();
    const Words words = abilityOf(stage);
    CHECK(Words(words.begin() + 14, words.begin() + 19) == Words{0, 100, 100, 100, 8});
    CHECK(words[21] == SM_UNIT_INCHES);
    CHECK(words[23] == 0x10000);
}
