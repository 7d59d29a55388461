// The settings of a one-shot scan: defaults, and what replaces values that make no sense.
#include <PrestoSettings.h>
#include <doctest.h>

#include <cstring>
#include <functional>
#include <string>

namespace {

PrestoScanSettings sensible() {
    PrestoScanSettings settings = {};
    settings.FrameLeft = 1.5;
    settings.FrameRight = 3.5;
    settings.FrameBottom = 2.25;
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

using Change = std::function<void(PrestoScanSettings&)>;

// The three numbers of a tone: value, minimum, maximum.
struct Tone {
    const char* name;
    short PrestoScanSettings::*value;
    short PrestoScanSettings::*min;
    short PrestoScanSettings::*max;

    Change set(short newValue, short newMin, short newMax) const {
        return [=](PrestoScanSettings& settings) {
            settings.*value = newValue, settings.*min = newMin, settings.*max = newMax;
        };
    }
};
using S = PrestoScanSettings;
const Tone brightness = {"brightness", &S::Brightness, &S::BrightnessMin, &S::BrightnessMax};
const Tone contrast = {"contrast", &S::Contrast, &S::ContrastMin, &S::ContrastMax};
const Tone highlight = {"highlight", &S::Highlight, &S::HighlightMin, &S::HighlightMax};
const Tone shadow = {"shadow", &S::Shadow, &S::ShadowMin, &S::ShadowMax};

bool same(const S& a, const S& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// `given` changes sensible settings before the validation, `expected` after it.
void check(const std::string& name, const Change& given, const Change& expected) {
    CAPTURE(name);
    S settings = sensible(), wanted = sensible();
    given(settings);
    validatePrestoSettings(settings);
    expected(wanted);
    CHECK(same(settings, wanted));
}

}  // namespace

TEST_CASE("settings that make sense stay as they are") {
    check(
        "all", [](S&) {}, [](S&) {});
    for (const unsigned short type : {1, 2, 4}) {
        const Change change = [=](S& s) { s.PixelType = type; };
        check("pixel type " + std::to_string(type), change, change);
    }
    const Change inches = [](S& s) { s.FrameUnit = 1; };
    check("inches", inches, inches);
    for (const Tone& tone : {brightness, contrast, highlight, shadow}) {
        for (const short value : {-5, 0, 5}) {
            const Change change = tone.set(value, -5, 5);
            check(tone.name + std::string(" ") + std::to_string(value), change, change);
        }
    }
}

TEST_CASE("single values are replaced") {
    for (const unsigned short unit : {0, 3, 4, 0xFFFF}) {
        check(
            "unit " + std::to_string(unit), [=](S& s) { s.FrameUnit = unit; }, [](S& s) { s.FrameUnit = 1; });
    }
    for (const short resolution : {0, -1, -32768}) {
        check(
            "resolution " + std::to_string(resolution), [=](S& s) { s.Resolution = resolution; },
            [](S& s) { s.Resolution = 100; });
    }
    for (const unsigned short type : {0, 3, 5, 8, 0xFFFF}) {
        // The user is to see what the source makes of it.
        check(
            "pixel type " + std::to_string(type), [=](S& s) { s.PixelType = type; },
            [](S& s) { s.PixelType = 2, s.ShowUI = 1; });
    }
}

TEST_CASE("tones without a scale get the usual one") {
    struct Row {
        const Tone& tone;
        short value, min, max;
    };
    const Row usual[] = {
        {brightness, 0, -1000, 1000},
        {contrast, 0, -1000, 1000},
        {highlight, 255, 0, 255},
        {shadow, 0, 0, 255},
    };
    for (const Row& row : usual) {
        const Change replaced = row.tone.set(row.value, row.min, row.max);
        check(row.tone.name + std::string(", no width"), row.tone.set(10, 10, 10), replaced);
        check(row.tone.name + std::string(", backwards"), row.tone.set(10, 20, -20), replaced);
        check(row.tone.name + std::string(", signed"), row.tone.set(0, 0, -32768), replaced);
    }
}

TEST_CASE("tones outside their scale") {
    struct Row {
        const Tone& tone;
        short value, min, max;
        short replaced;
    };
    const Row rows[] = {
        {brightness, 2000, -1000, 1000, 500},
        {brightness, -2000, -1000, 1000, 500},
        {brightness, 16, -15, 15, 7},
        {brightness, 0, -50, -7, -3},  // truncated; outside the scale as well
        {contrast, 101, 0, 100, 50},
        {contrast, -1, 0, 100, 50},
        {highlight, 256, 0, 255, 255},
        {highlight, -1, 0, 255, 255},
        {shadow, 256, 5, 255, 5},
        {shadow, 4, 5, 255, 5},
    };
    for (const Row& row : rows)
        check(row.tone.name + std::string(" ") + std::to_string(row.value),
              row.tone.set(row.value, row.min, row.max), row.tone.set(row.replaced, row.min, row.max));
}

TEST_CASE("the defaults: the whole area in gray, from the feeder, with both windows") {
    S wanted = {};
    wanted.FrameRight = (8.5 * 300 - 1) / 300;
    wanted.FrameBottom = (14.0 * 300 - 1) / 300;
    wanted.FrameUnit = 1;
    wanted.PixelType = 2;
    wanted.Resolution = 300;
    wanted.BrightnessMin = wanted.ContrastMin = -1000;
    wanted.BrightnessMax = wanted.ContrastMax = 1000;
    wanted.Highlight = wanted.HighlightMax = wanted.ShadowMax = 255;
    wanted.ModalUI = wanted.ShowUI = wanted.FeederEnable = 1;
    S defaults = defaultPrestoSettings(8.5, 14.0);
    CHECK(same(defaults, wanted));
    validatePrestoSettings(defaults);
    CHECK(same(defaults, wanted));
}
