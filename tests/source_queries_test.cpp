// Questions around a scan: the scan area, the palette, the coming image's size and the summary of a source.
#include <doctest.h>

#include <algorithm>
#include <cstring>

#include "CallRecord.h"
#include "GuardedBuffer.h"

namespace {

void useUnit(Stage& stage, TW_UINT32 unit) {
    stage.manager.answer(operation::getCurrent(ICAP_UNITS), give(oneValue(TWTY_UINT16, unit)));
}

void useResolution(Stage& stage, TW_UINT16 capability, double value) {
    stage.manager.answer(operation::get(capability), give(oneValue(TWTY_FIX32, fix32(value))));
}

const Lines unitAsked = {"GETCURRENT ICAP_UNITS"};
const Lines resolutionsAsked = {"GET ICAP_XRESOLUTION", "GETCURRENT ICAP_UNITS", "GET ICAP_YRESOLUTION",
                                "GETCURRENT ICAP_UNITS"};

}  // namespace

TEST_CASE("a scan area is converted, but not for a source that works in inches") {
    struct Row {
        const char* name;
        SmImageLayout area;
        int unit;
        TW_UINT32 sourceUnit;
        Lines asked;
        const char* frame;
    };
    const Row rows[] = {
        {"inches", SmImageLayout{1, 2, 3, 4}, 1, TWUN_INCHES, unitAsked, "1.0000 2.0000 3.0000 4.0000"},
        {"kept: centimetres for inches", SmImageLayout{0, 0, 2.54, 2.54}, 2, TWUN_INCHES, unitAsked,
         "0.0000 0.0000 2.5400 2.5400"},
        {"kept: pixels for inches", SmImageLayout{10, 20, 300, 400}, 32, TWUN_INCHES,
         resolutionsAsked + unitAsked, "10.0000 20.0000 300.0000 400.0000"},
        {"kept: points for an unknown unit", SmImageLayout{0, 0, 72, 144}, 8, 77, unitAsked,
         "0.0000 0.0000 72.0000 144.0000"},
        {"centimetres for points", SmImageLayout{0, 0, 2.54, 2.54}, 2, TWUN_POINTS, unitAsked,
         "0.0000 0.0000 72.0000 72.0000"},
        {"inches for centimetres", SmImageLayout{1, 2, 3, 4}, 1, TWUN_CENTIMETERS, unitAsked,
         "2.5400 5.0800 7.6200 10.1600"},
        {"points for picas", SmImageLayout{36, 72, 144, 720}, 8, TWUN_PICAS, unitAsked,
         "3.0000 6.0000 12.0000 60.0000"},
        {"picas for twips", SmImageLayout{1, 2, 3, 6}, 4, TWUN_TWIPS, unitAsked,
         "240.0000 480.0000 720.0000 1440.0000"},
        {"twips for points", SmImageLayout{20, 40, 60, 1440}, 16, TWUN_POINTS, unitAsked,
         "1.0000 2.0000 3.0000 72.0000"},
        {"an unknown unit is inches", SmImageLayout{1, 2, 3, 4}, 3, TWUN_PICAS, unitAsked,
         "6.0000 12.0000 18.0000 24.0000"},
        {"inches for pixels", SmImageLayout{1, 2, 3, 4}, 1, TWUN_PIXELS, unitAsked + resolutionsAsked,
         "144.0000 576.0000 432.0000 1152.0000"},
        {"pixels for picas", SmImageLayout{24, 48, 96, 144}, 32, TWUN_PICAS, resolutionsAsked + unitAsked,
         "6.0000 6.0000 24.0000 18.0000"},
        {"through single precision", SmImageLayout{0, 0, 16384.0005, 1}, 1, TWUN_INCHES, unitAsked,
         "0.0000 0.0000 16384.0000 1.0000"},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.name));
        Stage stage;
        stage.open();
        useUnit(stage, row.sourceUnit);
        // 144 and 288 as they are; 24 and 48 dots per inch in picas.
        useResolution(stage, ICAP_XRESOLUTION, 144);
        useResolution(stage, ICAP_YRESOLUTION, 288);
        int pageNumbers = -1;
        stage.manager.answer(operation::imageLayoutSet, fill<TW_IMAGELAYOUT>([&](TW_IMAGELAYOUT& layout) {
                                 pageNumbers = static_cast<int>(layout.DocumentNumber | layout.PageNumber |
                                                                layout.FrameNumber);
                             }));
        const auto call = [&] {
            return Lines{
                resultLine(stage.module.SetImageLayout(row.area, static_cast<unsigned short>(row.unit)))};
        };
        CHECK(CallRecord::of(stage, call) ==
              CallRecord("SetImageLayout")
                  .expected(row.asked + Lines{std::string("SET IMAGELAYOUT ") + row.frame, "result 0"}));
        CHECK(pageNumbers == 0);
    }
}

TEST_CASE("a scan area that the source doesn't take") {
    const std::string sent = "SET IMAGELAYOUT 1.0000 2.0000 3.0000 4.0000";
    const std::string failure = "! DSM_Entry returns failure in @";
    struct Row {
        const char* name;
        Session session;
        Lines record;
    };
    const Row rows[] = {
        {"refused", Session::Open, unitAsked + Lines{sent, "STATUS", failure, "result 10"}},
        {"too late", Session::Enabled, withoutSource},
        {"too early, which the source decides", Session::Closed,
         Lines{sent, "STATUS", "! Sequence error in TScanModule::GetUnit", failure, "result 10"}},
        {"no manager", Session::NoManager, withoutManager},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.name));
        SessionStage stage(row.session);
        useUnit(*stage, TWUN_INCHES);
        stage->manager.answer(operation::imageLayoutSet, failWith(TWCC_BADVALUE));
        const auto call = [&] {
            return Lines{resultLine(stage->module.SetImageLayout({1, 2, 3, 4}, SM_UNIT_INCHES))};
        };
        CHECK(CallRecord::of(*stage, call) == CallRecord("SetImageLayout").expected(row.record));
    }
}

namespace {

// Colour i is i, 255 - i, 7.
Answer paletteOf(TW_UINT16 colors) {
    return fill<TW_PALETTE8>([colors](TW_PALETTE8& palette) {
        palette.NumColors = colors;
        for (int i = 0; i < 256; ++i) {
            const auto channel = static_cast<TW_UINT8>(i);
            palette.Colors[i] = {99, channel, static_cast<TW_UINT8>(255 - channel), 7};
        }
    });
}

constexpr uint8_t untouched = 0x55;
constexpr int isUntouched = -1;

// So many of the source's colours and white after them; anything else is shown by its first wrong entry.
std::string tableText(const uint8_t* table, int colors) {
    for (int i = 0; i < 256; ++i) {
        const auto low = static_cast<uint8_t>(i);
        uint8_t expected[] = {255, 255, 255, 0};
        if (i < colors) {
            const uint8_t color[] = {low, static_cast<uint8_t>(255 - low), 7, 0};
            std::memcpy(expected, color, 4);
        }
        if (colors == isUntouched) std::memset(expected, untouched, 4);
        if (std::memcmp(table + 4 * i, expected, 4) != 0) return "wrong from entry " + std::to_string(i);
    }
    return "table of " + std::to_string(colors);
}

}  // namespace

TEST_CASE("the palette, white where the source gives no colour") {
    struct Row {
        const char* name;
        Session session;
        Answer answer;
        Lines record;
        int colors;
    };
    const Lines tooMany = {"PALETTE8", "! Bad Value, palette.NumColors > 256, in @", "result 10"};
    const Row rows[] = {
        {"two", Session::Open, paletteOf(2), {"PALETTE8", "result 0"}, 2},
        {"all", Session::Enabled, paletteOf(256), {"PALETTE8", "result 0"}, 256},
        {"none", Session::Open, paletteOf(0), {"PALETTE8", "result 0"}, 0},
        {"one too many", Session::Open, paletteOf(257), tooMany, 0},
        {"300", Session::Open, paletteOf(300), tooMany, 0},
        {"refused", Session::Open, failWith(TWCC_BADVALUE),
         Lines{"PALETTE8", "STATUS", "! DSM_Entry returns failure in @", "result 10"}, 0},
        {"no source", Session::Closed, paletteOf(2), withoutSource, isUntouched},
        {"no manager", Session::NoManager, paletteOf(2), withoutManager, isUntouched},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.name));
        SessionStage stage(row.session);
        stage->manager.answer(operation::palette, row.answer);
        const GuardedBuffer table(sizeof(SmPalette));
        std::memset(table.data(), untouched, table.size());
        const auto call = [&] {
            const int result = stage->module.GetDSPalette(reinterpret_cast<SmPalette*>(table.data()));
            return Lines{resultLine(result), tableText(table.data(), row.colors)};
        };
        CHECK(CallRecord::of(*stage, call) ==
              CallRecord("GetDSPalette")
                  .expected(row.record + Lines{"table of " + std::to_string(row.colors)}));
    }
}

TEST_CASE("the coming image's size, without a trace in any state") {
    struct Row {
        const char* name;
        Session session;
        bool succeeds;
        int width, length;
    };
    const Row rows[] = {
        {"enabled", Session::Enabled, true, 850, 1100},
        {"unknown length", Session::Open, true, 850, -1},
        {"not open", Session::Closed, true, 850, 1100},
        {"refused", Session::Enabled, false, 0, 0},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.name));
        SessionStage stage(row.session);
        Answer answer = row.succeeds ? succeed() : failWith(TWCC_SEQERROR);
        answer.act = [&](TW_MEMREF data) {
            static_cast<TW_IMAGEINFO*>(data)->ImageWidth = 850;
            static_cast<TW_IMAGEINFO*>(data)->ImageLength = row.succeeds ? row.length : 1100;
        };
        stage->manager.answer(operation::imageInfo, answer);
        stage->forget();
        int width = 777, length = 777;
        stage->module.GetImageDim(&width, &length);
        CHECK(width == row.width);
        CHECK(length == row.length);
        CHECK(stage->manager.calls() == Lines{"IMAGEINFO"});
        CHECK(stage->viewer.rawLines() == Lines{});
    }
}

TEST_CASE("without a manager no image is coming") {
    SessionStage stage(Session::NoManager);
    int width = 777, length = 777;
    stage->module.GetImageDim(&width, &length);
    CHECK(width == 0);
    CHECK(length == 0);
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

// Words 1 to 13 and the last two stay the host's.
Words ability(unsigned int maxDpi, unsigned int minDpi, unsigned int dpi, unsigned int unit) {
    Words words(26, before);
    words[0] = 104;
    const Words known = {0, maxDpi, minDpi, dpi, 8, 10200, 14028, unit, SM_PIXEL_RGB, 40000};
    std::copy(known.begin(), known.end(), words.begin() + 14);
    return words;
}

}  // namespace

TEST_CASE("the summary of a source") {
    struct Row {
        const char* name;
        TW_UINT16 unit;
        double perInch;
        double current, min, max;
        Words words;
    };
    const Row rows[] = {
        {"raised", TWUN_INCHES, 1, 200, 50, 600, ability(600, 50, 300, 1)},
        {"raised to the maximum", TWUN_INCHES, 1, 299, 50, 300, ability(300, 50, 300, 1)},
        {"not above the maximum", TWUN_INCHES, 1, 200, 50, 200, ability(200, 50, 200, 1)},
        {"just not", TWUN_INCHES, 1, 200, 50, 299, ability(299, 50, 200, 1)},
        {"high enough", TWUN_INCHES, 1, 400, 50, 600, ability(600, 50, 400, 1)},
        {"another unit", TWUN_POINTS, 72, 300, 75, 400, ability(400, 75, 300, 8)},
        {"widened with the sign", TWUN_INCHES, 1, -2, -3, -1, ability(0xffffffff, 0xfffffffd, 0xfffffffe, 1)},
    };
    for (const Row& row : rows) {
        CAPTURE(std::string(row.name));
        Stage stage;
        stage.open();
        useUnit(stage, row.unit);
        const double f = row.perInch;
        stage.manager.answer(operation::get(ICAP_XRESOLUTION),
                             give(fix32Range(f * row.min, f * row.max, 1, f * row.current)));
        stage.manager.answer(operation::getCurrent(ICAP_PHYSICALWIDTH),
                             give(oneValue(TWTY_FIX32, fix32(f * 8.5))));
        stage.manager.answer(operation::getCurrent(ICAP_PHYSICALHEIGHT),
                             give(oneValue(TWTY_FIX32, fix32(f * 11.6901))));
        stage.manager.answer(operation::getCurrent(ICAP_PIXELTYPE), give(oneValue(TWTY_UINT16, TWPT_RGB)));
        stage.manager.answer(operation::getCurrent(ICAP_BITDEPTH), give(oneValue(TWTY_UINT16, 24)));
        stage.manager.answer(operation::setupMemory, copy(TW_SETUPMEMXFER{1000, 40000, 20000}));
        CHECK(abilityOf(stage) == row.words);
        CHECK(stage.manager.calls() ==
              Lines{"GET ICAP_XRESOLUTION", "GETCURRENT ICAP_UNITS", "GETCURRENT ICAP_PHYSICALWIDTH",
                    "GETCURRENT ICAP_PHYSICALHEIGHT", "GETCURRENT ICAP_UNITS", "GET ICAP_XRESOLUTION",
                    "GETCURRENT ICAP_UNITS", "GETCURRENT ICAP_UNITS", "GETCURRENT ICAP_PIXELTYPE",
                    "SETUPMEMXFER", "GETCURRENT ICAP_BITDEPTH"});
        CHECK(stage.viewer.warnings() == Lines{});
        CHECK(stage.viewer.traces().front() == "Coming TScanModule::GetScanCap");
        CHECK(stage.viewer.traces().back() == "Leaving TScanModule::GetScanCap");
        CHECK(stage.windows.memoryComplaints() == Lines{});
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
