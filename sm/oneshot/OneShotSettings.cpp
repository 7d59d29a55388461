#include "oneshot/OneShotSettings.h"

namespace {

struct Triple {
    short value;
    short min;
    short max;
};
constexpr Triple defaultTone = {0, -1000, 1000};
constexpr Triple defaultHighlight = {255, 0, 255};
constexpr Triple defaultShadow = {0, 0, 255};
constexpr short defaultResolution = 300;
constexpr short replacedResolution = 100;

// What a value outside its bounds becomes. Kept: half the maximum for brightness and contrast, not a bound.
enum class Outside { HalfMax, Max, Min };

void validate(Triple& tone, const Triple& fallback, Outside outside) {
    if (tone.min >= tone.max) tone = fallback;
    if (tone.value >= tone.min && tone.value <= tone.max) return;
    switch (outside) {
        case Outside::HalfMax:
            tone.value = static_cast<short>(tone.max / 2);
            break;
        case Outside::Max:
            tone.value = tone.max;
            break;
        case Outside::Min:
            tone.value = tone.min;
            break;
    }
}

}  // namespace

PrestoScanSettings defaultOneShotSettings(double maxWidth, double maxHeight) {
    PrestoScanSettings settings = {};
    settings.FrameRight = (maxWidth * 300 - 1) / 300;
    settings.FrameBottom = (maxHeight * 300 - 1) / 300;
    settings.FrameUnit = SM_UNIT_INCHES;
    settings.PixelType = SM_PIXEL_GRAY;
    settings.Resolution = defaultResolution;
    settings.Brightness = settings.Contrast = defaultTone.value;
    settings.BrightnessMin = settings.ContrastMin = defaultTone.min;
    settings.BrightnessMax = settings.ContrastMax = defaultTone.max;
    settings.Highlight = defaultHighlight.value;
    settings.HighlightMin = defaultHighlight.min;
    settings.HighlightMax = defaultHighlight.max;
    settings.Shadow = defaultShadow.value;
    settings.ShadowMin = defaultShadow.min;
    settings.ShadowMax = defaultShadow.max;
    settings.ModalUI = settings.ShowUI = settings.FeederEnable = TRUE;
    return settings;
}

void validateOneShotSettings(PrestoScanSettings& settings) {
    PrestoScanSettings& s = settings;
    if (s.FrameUnit != SM_UNIT_INCHES && s.FrameUnit != SM_UNIT_CENTIMETERS) s.FrameUnit = SM_UNIT_INCHES;
    if (s.Resolution <= 0) s.Resolution = replacedResolution;
    if (s.PixelType != SM_PIXEL_BW && s.PixelType != SM_PIXEL_GRAY && s.PixelType != SM_PIXEL_RGB) {
        s.PixelType = SM_PIXEL_GRAY;
        s.ShowUI = TRUE;
    }
    Triple brightness = {s.Brightness, s.BrightnessMin, s.BrightnessMax};
    Triple contrast = {s.Contrast, s.ContrastMin, s.ContrastMax};
    Triple highlight = {s.Highlight, s.HighlightMin, s.HighlightMax};
    Triple shadow = {s.Shadow, s.ShadowMin, s.ShadowMax};
    validate(brightness, defaultTone, Outside::HalfMax);
    validate(contrast, defaultTone, Outside::HalfMax);
    validate(highlight, defaultHighlight, Outside::Max);
    validate(shadow, defaultShadow, Outside::Min);
    s.Brightness = brightness.value, s.BrightnessMin = brightness.min, s.BrightnessMax = brightness.max;
    s.Contrast = contrast.value, s.ContrastMin = contrast.min, s.ContrastMax = contrast.max;
    s.Highlight = highlight.value, s.HighlightMin = highlight.min, s.HighlightMax = highlight.max;
    s.Shadow = shadow.value, s.ShadowMin = shadow.min, s.ShadowMax = shadow.max;
}
