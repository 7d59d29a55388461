// What the module makes of a host's numbers, as pure functions: the scales of tones, the factors of units,
// and the settings of a one-shot scan.
#include <PrestoSettings.h>
#include <doctest.h>
#include <scanmodule/scanmodule.h>

#include <cstring>
#include <string>

#include "ToneMapping.h"
#include "Units.h"

namespace {

constexpr ToneRange wide = {-1000, 1000, 1};
constexpr ToneRange percent = {-100, 100, 1};
constexpr ToneRange coarse = {0, 255, 5};
constexpr ToneRange bytes = {0, 255, 1};

}  // namespace

TEST_CASE("a host's value snaps to the source's nearest step, and is never clamped") {
    struct Row {
        const char* name;
        int16_t value;
        HostScale scale;
        ToneRange range;
        double sent;
    };
    const Row rows[] = {
        {"the middle of an odd scale", 128, {0, 255}, percent, 0},
        {"just below a step", 49, {0, 100}, coarse, 125},
        {"on half a step, up", 50, {0, 100}, coarse, 130},
        {"the low end", -100, {-100, 100}, wide, -1000},
        {"steps count from the minimum", 1, {0, 2}, {1, 10, 4}, 5},
        {"fractions", 1, {0, 3}, {0, 1.5, 0.25}, 0.5},
        {"above the scale", 300, {0, 255}, bytes, 300},
        // Truncation toward zero rounds the other way below the minimum.
        {"below the scale", -10, {0, 100}, {0, 100, 1}, -9},
        {"a scale that runs down", 25, {100, 0}, {0, 200, 1}, 150},
        {"the widest scale", 0, {-32768, 32767}, bytes, 128},
        {"more steps than 16 bits count", 10, {0, 10}, {0, 32767, 0.25}, -1},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        CHECK(mapToSource(row.value, row.scale, row.range) == row.sent);
    }
}

TEST_CASE("a source's value on the host's scale") {
    struct Row {
        const char* name;
        double value;
        HostScale scale;
        ToneRange range;
        int16_t read;
    };
    const Row rows[] = {
        {"between two values, the nearest", 130, {0, 100}, coarse, 51},
        {"the low end, one higher", -1000, {-100, 100}, wide, -99},
        {"the step plays no part", 7, {0, 255}, coarse, 7},
        {"above the range", 300, {0, 255}, bytes, 300},
        {"below the range", -10, {0, 255}, bytes, -9},
        {"a scale that runs down", 150, {100, 0}, {0, 200, 1}, 25},
        {"more than 16 bits hold", 510, {0, 32767}, bytes, -2},
    };
    for (const Row& row : rows) {
        CAPTURE(row.name);
        CHECK(mapToHost(row.value, row.scale, row.range) == row.read);
    }
    CHECK(HostScale{-3, 0}.midpoint() == -1);
    CHECK(HostScale{32767, 32767}.midpoint() == 32767);
}

TEST_CASE("what was set is read back, one higher where it was negative") {
    for (const ToneRange& range : {wide, ToneRange{-200, 200, 0.5}, ToneRange{0, 400, 1}}) {
        for (int16_t value = -100; value <= 100; ++value) {
            CAPTURE(range.min);
            const double sent = mapToSource(value, {-100, 100}, range);
            CHECK(mapToHost(sent, {-100, 100}, range) == (value < 0 ? value + 1 : value));
        }
    }
}

TEST_CASE("units of the source, in which the usual resolutions survive the way there and back") {
    struct Row {
        uint32_t twain;
        uint16_t code;
        double perInch;
        double recordFactor;
    };
    const Row rows[] = {
        {0, SM_UNIT_INCHES, 1, 1},      {1, SM_UNIT_CENTIMETERS, 2.54, 0.3937},
        {2, SM_UNIT_PICAS, 6, 1.0 / 6}, {3, SM_UNIT_POINTS, 72, 1.0 / 72},
        {5, SM_UNIT_PIXELS, 1, 1},      {4, SM_UNIT_TWIPS, 1440, 1.0 / 1440},
        {6, SM_UNIT_INCHES, 1, 1},      {0xffffffff, SM_UNIT_INCHES, 1, 1},
    };
    for (const Row& row : rows) {
        CAPTURE(row.twain);
        CHECK(unitCodeOf(row.twain) == row.code);
        const UnitFactors& factors = factorsOf(row.code);
        CHECK(factors.perInch == row.perInch);
        CHECK(factors.recordFactor == row.recordFactor);
        for (int resolution : {75, 100, 200, 300, 1200}) {
            CAPTURE(resolution);
            // A centimetre's way back is a hair shorter: where that shows, truncation takes one dot.
            const bool isShort = row.code == SM_UNIT_CENTIMETERS && resolution % 75 != 0;
            const int back = static_cast<int>(resolution * factors.perInch * factors.toInches);
            CHECK(back == (isShort ? resolution - 1 : resolution));
        }
    }
    CHECK(factorsOf(3).code == SM_UNIT_INCHES);
}

namespace {

using Settings = PrestoScanSettings;

Settings sensible() {
    Settings settings = {};
    settings.FrameLeft = 1.5;
    settings.FrameUnit = 2;
    settings.PixelType = 4;
    settings.Resolution = 75;
    settings.Brightness = -20, settings.BrightnessMin = -50, settings.BrightnessMax = 50;
    settings.Contrast = 7, settings.ContrastMin = 0, settings.ContrastMax = 9;
    settings.Highlight = 200, settings.HighlightMin = 100, settings.HighlightMax = 210;
    settings.Shadow = 30, settings.ShadowMin = 10, settings.ShadowMax = 90;
    settings.FeederEnable = 1;
    return settings;
}

bool same(const Settings& a, const Settings& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

void checkValidated(Settings given, const Settings& wanted) {
    validatePrestoSettings(given);
    CHECK(same(given, wanted));
}

// One number of otherwise sensible settings, before and after.
template <class Number>
void check(Number Settings::*field, int given, int wanted, int showUI = 0) {
    CAPTURE(given);
    Settings before = sensible(), after = sensible();
    before.*field = static_cast<Number>(given);
    after.*field = static_cast<Number>(wanted);
    after.ShowUI = showUI;
    checkValidated(before, after);
}

struct Triple {
    short value, min, max;
};

}  // namespace

TEST_CASE("single settings that make no sense are replaced") {
    for (const int unit : {1, 2, 0, 3, 4, 0xFFFF})
        check(&Settings::FrameUnit, unit, unit == 2 ? 2 : 1);
    for (const int resolution : {75, 0, -1, -32768})
        check(&Settings::Resolution, resolution, resolution > 0 ? resolution : 100);
    for (const int type : {1, 2, 4})
        check(&Settings::PixelType, type, type);
    // The user is to see what the source makes of it.
    for (const int type : {0, 3, 5, 8, 0xFFFF})
        check(&Settings::PixelType, type, 2, 1);
}

TEST_CASE("tones without a scale get the usual one, others come into their scale") {
    struct Row {
        char tone;
        Triple given, wanted;
    };
    const Row rows[] = {
        {'b', {-5, -5, 5}, {-5, -5, 5}},
        {'c', {5, -5, 5}, {5, -5, 5}},
        {'b', {10, 10, 10}, {0, -1000, 1000}},
        {'c', {10, 20, -20}, {0, -1000, 1000}},
        {'h', {0, 0, -32768}, {255, 0, 255}},
        {'s', {10, 10, 10}, {0, 0, 255}},
        {'b', {2000, -1000, 1000}, {500, -1000, 1000}},
        {'b', {16, -15, 15}, {7, -15, 15}},
        // Half the maximum is cut, and may be outside the scale as well.
        {'b', {0, -50, -7}, {-3, -50, -7}},
        {'c', {-1, 0, 100}, {50, 0, 100}},
        {'h', {256, 0, 255}, {255, 0, 255}},
        {'h', {-1, 0, 255}, {255, 0, 255}},
        {'s', {256, 5, 255}, {5, 5, 255}},
        {'s', {4, 5, 255}, {5, 5, 255}},
    };
    const auto set = [](Settings& s, char tone, const Triple& t) {
        if (tone == 'b') s.Brightness = t.value, s.BrightnessMin = t.min, s.BrightnessMax = t.max;
        if (tone == 'c') s.Contrast = t.value, s.ContrastMin = t.min, s.ContrastMax = t.max;
        if (tone == 'h') s.Highlight = t.value, s.HighlightMin = t.min, s.HighlightMax = t.max;
        if (tone == 's') s.Shadow = t.value, s.ShadowMin = t.min, s.ShadowMax = t.max;
    };
    for (const Row& row : rows) {
        CAPTURE(row.tone);
        CAPTURE(row.given.value);
        Settings before = sensible(), after = sensible();
        set(before, row.tone, row.given);
        set(after, row.tone, row.wanted);
        checkValidated(before, after);
    }
}

TEST_CASE("the defaults: the whole area in gray, from the feeder, with both windows") {
    Settings wanted = {};
    wanted.FrameRight = (8.5 * 300 - 1) / 300;
    wanted.FrameBottom = (14.0 * 300 - 1) / 300;
    wanted.FrameUnit = 1;
    wanted.PixelType = 2;
    wanted.Resolution = 300;
    wanted.BrightnessMin = wanted.ContrastMin = -1000;
    wanted.BrightnessMax = wanted.ContrastMax = 1000;
    wanted.Highlight = wanted.HighlightMax = wanted.ShadowMax = 255;
    wanted.ModalUI = wanted.ShowUI = wanted.FeederEnable = 1;
    CHECK(same(defaultPrestoSettings(8.5, 14.0), wanted));
    checkValidated(wanted, wanted);
}
