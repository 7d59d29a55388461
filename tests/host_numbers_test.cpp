// What the module makes of a host's numbers, as pure functions: the scales of tones and the settings of
// a one-shot scan.
#include <doctest.h>

#include <cstring>
#include <string>

#include "capabilities/ToneMapping.h"
#include "oneshot/OneShotSettings.h"

namespace {

struct Mapping {
    std::string name;
    double from;
    HostScale scale;
    ToneRange range;
    double to;
};

using Settings = PrestoScanSettings;

// Changes otherwise sensible settings, before the validation and after it.
template <class Before, class After>
void checkSettings(Before before, After after) {
    Settings settings = defaultOneShotSettings(8, 11);
    settings.ShowUI = 0;
    Settings wanted = settings;
    before(settings);
    after(wanted);
    validateOneShotSettings(settings);
    CHECK(std::memcmp(&settings, &wanted, sizeof wanted) == 0);
}

}  // namespace

TEST_CASE("a host's value snaps to the source's nearest step, and is never clamped") {
    const Mapping rows[] = {
        {"the middle of an odd scale", 128, {0, 255}, {-100, 100, 1}, 0},
        {"just below a step", 49, {0, 100}, {0, 255, 5}, 125},
        {"on half a step, up", 50, {0, 100}, {0, 255, 5}, 130},
        {"steps count from the minimum", 1, {0, 2}, {1, 10, 4}, 5},
        {"above the scale", 300, {0, 255}, {0, 255, 1}, 300},
        {"below the scale, where truncation rounds the other way", -10, {0, 100}, {0, 100, 1}, -9},
        {"a scale that runs down", 25, {100, 0}, {0, 200, 1}, 150},
        {"the minimum added and taken off, which rounds", 114, {0, 200}, {-1000, -900, 2}, -942},
        {"more steps than 16 bits count", 10, {0, 10}, {0, 32767, 0.25}, -1},
    };
    for (const Mapping& row : rows) {
        CAPTURE(row.name);
        CHECK(mapToSource(static_cast<int16_t>(row.from), row.scale, row.range) == row.to);
    }
}

TEST_CASE("a source's value on the host's scale") {
    const Mapping rows[] = {
        {"between two values, the nearest", 130, {0, 100}, {0, 255, 5}, 51},
        {"a negative value, one higher", -1000, {-100, 100}, {-1000, 1000, 1}, -99},
        {"more than 16 bits hold", 510, {0, 32767}, {0, 255, 1}, -2},
    };
    for (const Mapping& row : rows) {
        CAPTURE(row.name);
        CHECK(mapToHost(row.from, row.scale, row.range) == row.to);
    }
}

TEST_CASE("single settings that make no sense are replaced") {
    for (const unsigned short unit : {1, 2, 0, 3, 4})
        checkSettings([&](Settings& s) { s.FrameUnit = unit; },
                      [&](Settings& s) { s.FrameUnit = unit == 2 ? 2 : 1; });
    for (const short resolution : {75, 1, 0, -1})
        checkSettings([&](Settings& s) { s.Resolution = resolution; },
                      [&](Settings& s) { s.Resolution = resolution > 0 ? resolution : 100; });
    // The user is to see what the source makes of an unknown type.
    for (const unsigned short type : {1, 2, 4, 0, 3, 5, 8}) {
        const bool isKnown = type == 1 || type == 2 || type == 4;
        checkSettings([&](Settings& s) { s.PixelType = type; },
                      [&](Settings& s) { s.PixelType = isKnown ? type : 2, s.ShowUI = !isKnown; });
    }
}

TEST_CASE("tones without a scale get the usual one, others come into their scale") {
    struct Triple {
        short value, min, max;
    };
    const struct {
        char tone;
        Triple before, after;
    } rows[] = {
        {'b', {10, 10, 10}, {0, -1000, 1000}},
        {'c', {10, 20, -20}, {0, -1000, 1000}},
        {'h', {0, 0, -32768}, {255, 0, 255}},
        {'s', {10, 10, 10}, {0, 0, 255}},
        // Half the maximum may be outside the scale as well.
        {'b', {0, -50, -7}, {-3, -50, -7}},
        {'c', {-1, 0, 100}, {50, 0, 100}},
        {'h', {256, 0, 254}, {254, 0, 254}},
        {'s', {4, 5, 255}, {5, 5, 255}},
    };
    for (const auto& row : rows) {
        CAPTURE(row.before.value);
        const auto set = [&](Settings& s, const Triple& t) {
            if (row.tone == 'b') s.Brightness = t.value, s.BrightnessMin = t.min, s.BrightnessMax = t.max;
            if (row.tone == 'c') s.Contrast = t.value, s.ContrastMin = t.min, s.ContrastMax = t.max;
            if (row.tone == 'h') s.Highlight = t.value, s.HighlightMin = t.min, s.HighlightMax = t.max;
            if (row.tone == 's') s.Shadow = t.value, s.ShadowMin = t.min, s.ShadowMax = t.max;
        };
        checkSettings([&](Settings& s) { set(s, row.before); }, [&](Settings& s) { set(s, row.after); });
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
    const Settings defaults = defaultOneShotSettings(8.5, 14.0);
    CHECK(std::memcmp(&defaults, &wanted, sizeof wanted) == 0);
}
