// The mapping between the host's scale of a tone control and the source's range, and the factors of the
// units, as pure functions.
#include "ToneMapping.h"

#include <doctest.h>
#include <scanmodule/scanmodule.h>

#include <scanmodule/twain_types.h>

#include <initializer_list>

#include "Units.h"

namespace {

constexpr ToneRange wide = {-1000, 1000, 1};
constexpr ToneRange percent = {-100, 100, 1};
constexpr ToneRange coarse = {0, 255, 5};
constexpr ToneRange bytes = {0, 255, 1};

int thereAndBack(int resolution, const UnitFactors& factors) {
    return static_cast<int>(resolution * factors.perInch * factors.toInches);
}

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
        {"a quarter", 50, {-100, 100}, wide, 500},
        {"the low end", -100, {-100, 100}, wide, -1000},
        {"the high end", 255, {0, 255}, bytes, 255},
        {"half a step above the minimum", 1, {0, 2}, {7, 8, 1}, 8},
        {"steps count from the minimum", 1, {0, 2}, {1, 10, 4}, 5},
        {"fractions", 1, {0, 3}, {0, 1.5, 0.25}, 0.5},
        {"above the scale", 300, {0, 255}, bytes, 300},
        // Truncation toward zero rounds the other way below the minimum.
        {"below the scale", -10, {0, 100}, {0, 100, 1}, -9},
        {"a scale that runs down", 25, {100, 0}, {0, 200, 1}, 150},
        {"a range that runs down, with its step", 10, {0, 10}, {100, -100, -1}, -100},
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
        {"the middle of an odd scale", 0, {0, 255}, percent, 128},
        {"between two values, the nearest", 130, {0, 100}, coarse, 51},
        {"a positive value", 500, {-100, 100}, wide, 50},
        // Adding a half and truncating toward zero: negative values come out one higher.
        {"a negative value", -500, {-100, 100}, wide, -49},
        {"the low end", -1000, {-100, 100}, wide, -99},
        {"the high end", 1000, {-100, 100}, wide, 100},
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
}

TEST_CASE("what was set is read back, one higher where it was negative") {
    for (const ToneRange& range : {wide, ToneRange{-200, 200, 0.5}, ToneRange{0, 400, 1}}) {
        for (int value = -100; value <= 100; ++value) {
            CAPTURE(range.min);
            const HostScale scale = {-100, 100};
            const double sent = mapToSource(static_cast<int16_t>(value), scale, range);
            CHECK(mapToHost(sent, scale, range) == (value < 0 ? value + 1 : value));
        }
    }
}

TEST_CASE("the middle of a scale, truncated toward zero") {
    CHECK(HostScale{0, 255}.midpoint() == 127);
    CHECK(HostScale{-3, 0}.midpoint() == -1);
    CHECK(HostScale{100, 0}.midpoint() == 50);
    CHECK(HostScale{32767, 32767}.midpoint() == 32767);
    CHECK(HostScale{-32768, -32768}.midpoint() == -32768);
    CHECK(HostScale{5, 5}.isEmpty());
    CHECK_FALSE(HostScale{5, -5}.isEmpty());
}

TEST_CASE("units of the source") {
    struct Row {
        uint32_t twain;
        uint16_t code;
        double perInch;
        double recordFactor;
    };
    const Row rows[] = {
        {TWUN_INCHES, 1, 1, 1},
        {TWUN_CENTIMETERS, 2, 2.54, 0.3937},
        {TWUN_PICAS, 4, 6, 1.0 / 6},
        {TWUN_POINTS, 8, 72, 1.0 / 72},
        {TWUN_TWIPS, 16, 1440, 1.0 / 1440},
        {TWUN_PIXELS, 32, 1, 1},
        {6, 1, 1, 1},
        {0xffffffff, 1, 1, 1},
    };
    for (const Row& row : rows) {
        CAPTURE(row.twain);
        CHECK(unitCodeOf(row.twain) == row.code);
        const UnitFactors& factors = factorsOf(row.code);
        CHECK(factors.code == row.code);
        CHECK(factors.perInch == row.perInch);
        CHECK(factors.recordFactor == row.recordFactor);
        if (row.twain == TWUN_CENTIMETERS) continue;
        // The usual resolutions survive the way to the source and back, to the dot.
        for (int resolution : {50, 75, 100, 150, 200, 300, 400, 600, 1200, 2400}) {
            CAPTURE(resolution);
            CHECK(thereAndBack(resolution, factors) == resolution);
        }
    }
    for (uint16_t code : {0, 3, 64, 0xffff}) {
        CAPTURE(code);
        CHECK(factorsOf(code).code == 1);
    }
}

TEST_CASE("centimetres take resolutions there and back, but for the last place of their factor") {
    struct Row {
        int resolution;
        int back;
    };
    // The way back is a hair shorter than the way there: where that shows, truncation takes one dot.
    const Row rows[] = {{75, 75}, {150, 150}, {300, 300}, {600, 600}, {1200, 1200}, {100, 99}, {200, 199}};
    for (const Row& row : rows) {
        CAPTURE(row.resolution);
        CHECK(thereAndBack(row.resolution, factorsOf(SM_UNIT_CENTIMETERS)) == row.back);
    }
}
