#include "common/SourceSettings.h"

#include "common/RawCapability.h"
#include "common/SettingReport.h"
#include "common/SourceSwitches.h"
#include "common/Text.h"
#include "common/ToneValue.h"
#include "common/Wording.h"

namespace host {

namespace {

// A choice that the module codes as one bit: pixel types and papers.
struct Choice {
    const char* option;
    int(WINAPI* set)(unsigned short);
    int(WINAPI* get)(unsigned short*);
    int(WINAPI* getSupported)(unsigned short*);
};

template <size_t Count>
void applyChoice(const Choice& choice, const std::array<NamedCode, Count>& names, unsigned short asked,
                 ScanListener& listener) {
    const std::string option = optionName(choice.option);
    unsigned short supported = 0;
    const bool known = choice.getSupported(&supported) == SM_RESULT_OK && supported != 0;
    if (known && !(supported & asked)) {
        std::vector<std::string> words;
        for (const NamedCode& entry : names)
            if (supported & entry.code) words.push_back(entry.name);
        refuseValue(format("The source doesn't offer %s %s, but %s.", option.c_str(),
                           nameOf(names, asked).c_str(), joined(words).c_str()));
    }
    requireSet(format("%s %s", option.c_str(), nameOf(names, asked).c_str()), choice.set(asked));
    unsigned short got = asked;
    if (choice.get(&got) == SM_RESULT_OK) compare(listener, option, nameOf(names, asked), nameOf(names, got));
}

void applyDepth(const ModuleLibrary& module, int asked, ScanListener& listener) {
    const std::string option = optionName("depth");
    requireOffered(option + " ", asked, choicesOf(module.smCapNegotiate, ICAP_BITDEPTH));
    requireSet(format("%s %d", option.c_str(), asked),
               module.smSetBitDepth(static_cast<unsigned short>(asked)));
    if (const auto got = askCapability(module.smCapNegotiate, ICAP_BITDEPTH))
        compare(listener, option, std::to_string(asked), format("%g", got->current));
}

struct Resolution {
    const char* words;
    TW_UINT16 capability;
    int(WINAPI* get)(unsigned short*, unsigned short*, unsigned short*);
    int(WINAPI* set)(unsigned short);
};

void applyResolution(const ModuleLibrary& module, const Resolution& resolution, int asked,
                     ScanListener& listener) {
    unsigned short current = 0;
    unsigned short lowest = 0;
    unsigned short highest = 0;
    requireOffered(std::string(resolution.words) + " ", asked,
                   choicesOf(module.smCapNegotiate, resolution.capability), " dpi");
    const bool known = resolution.get(&current, &lowest, &highest) == SM_RESULT_OK;
    if (known && (asked < lowest || asked > highest))
        refuseValue(format("The source offers %s from %d to %d dpi, not %d.", resolution.words, lowest,
                           highest, asked));
    requireSet(format("%s %d dpi", resolution.words, asked),
               resolution.set(static_cast<unsigned short>(asked)));
    if (resolution.get(&current, &lowest, &highest) == SM_RESULT_OK)
        compare(listener, resolution.words, format("%d dpi", asked), format("%d dpi", current));
}

struct Scale {
    const char* words;
    int(WINAPI* get)(double*, double*, double*);
    int(WINAPI* set)(double);
};

void applyScale(const Scale& scale, double asked, ScanListener& listener) {
    double current = 0;
    double lowest = 0;
    double highest = 0;
    const bool known = scale.get(&current, &lowest, &highest) == SM_RESULT_OK && highest > lowest;
    if (known && (asked < lowest || asked > highest))
        refuseValue(
            format("The source offers %s from %g to %g, not %g.", scale.words, lowest, highest, asked));
    requireSet(format("%s %g", scale.words, asked), scale.set(asked));
    if (scale.get(&current, &lowest, &highest) == SM_RESULT_OK)
        compare(listener, scale.words, format("%.2f", asked), format("%.2f", current));
}

void applyArea(const ModuleLibrary& module, const Area& area) {
    double width = 0;
    double height = 0;
    // Areas are read from decimals and sources count in 1/65536: the whole page must pass.
    constexpr double tolerance = 0.001;
    const bool known = module.smGetMaxArea(&width, &height) == SM_RESULT_OK && width > 0 && height > 0;
    if (known && (area.right > width + tolerance || area.bottom > height + tolerance))
        refuseValue(format(
            "The source scans up to %.2f x %.2f inches (%.1f x %.1f cm); %sarea reaches to %.2f x %.2f "
            "inches.",
            width, height, width * 2.54, height * 2.54, wording.option, area.right, area.bottom));
    const SmImageLayout layout{area.left, area.top, area.right, area.bottom};
    requireSet(optionName("area"), module.smSetImageLayout(layout, SM_UNIT_INCHES));
}

struct Tone {
    const char* option;
    const std::optional<int>& value;
    int lowest;
    int highest;
    int(WINAPI* set)(short, short, short);
    ToneGetter get;
};

void applyTone(const Tone& tone, ScanListener& listener) {
    if (!tone.value) return;
    const std::string option = optionName(tone.option);
    const short lowest = static_cast<short>(tone.lowest);
    const short highest = static_cast<short>(tone.highest);
    requireSet(format("%s %d", option.c_str(), *tone.value),
               tone.set(static_cast<short>(*tone.value), lowest, highest));
    int got = 0;
    if (readTone(tone.get, lowest, highest, &got) == SM_RESULT_OK)
        compare(listener, option, std::to_string(*tone.value), std::to_string(got));
}

// The one tone that the module has no getter for.
void applyThreshold(const ModuleLibrary& module, const ScanRequest& request, ScanListener& listener) {
    if (!request.threshold) return;
    const int asked = *request.threshold;
    const std::string option = optionName("threshold");
    requireSet(format("%s %d", option.c_str(), asked),
               module.smSetThreshold(static_cast<short>(asked), levelLowest, levelHighest));
    const auto answer = askCapability(module.smCapNegotiate, ICAP_THRESHOLD);
    const auto got = answer ? valueOnScale(*answer, levelLowest, levelHighest) : std::nullopt;
    if (got) compare(listener, option, std::to_string(asked), std::to_string(*got));
}

void applyTones(const ModuleLibrary& module, const ScanRequest& request, ScanListener& listener) {
    const Tone tones[] = {
        {"brightness", request.brightness, percentLowest, percentHighest, module.smSetBrightness,
         module.smGetBrightness},
        {"contrast", request.contrast, percentLowest, percentHighest, module.smSetContrast,
         module.smGetContrast},
        {"highlight", request.highlight, levelLowest, levelHighest, module.smSetHighlight,
         module.smGetHighlight},
        {"shadow", request.shadow, levelLowest, levelHighest, module.smSetShadow, module.smGetShadow},
    };
    for (const Tone& tone : tones)
        applyTone(tone, listener);
    applyThreshold(module, request, listener);
    if (!request.gamma) return;
    const std::string option = optionName("gamma");
    requireSet(format("%s %g", option.c_str(), *request.gamma), module.smSetGamma(*request.gamma));
    double got = 0;
    if (module.smGetGamma(&got) == SM_RESULT_OK)
        compare(listener, option, format("%.2f", *request.gamma), format("%.2f", got));
}

void applyFeeder(const ModuleLibrary& module, bool feeder, ScanListener& listener) {
    unsigned short available = 0;
    const bool hasFeeder = module.smIsADFAvailable(&available) == SM_RESULT_OK && available;
    if (!hasFeeder && feeder) refuseValue("The source has no feeder.");
    if (!hasFeeder) return;
    requireSet(feeder ? "its feeder" : "its flatbed", module.smSetADFEnable(feeder));
    unsigned short got = feeder;
    if (module.smGetADFEnable(&got) == SM_RESULT_OK)
        compare(listener, optionName("source-type"), feeder ? "adf" : "flatbed", got ? "adf" : "flatbed");
}

}  // namespace

// In this order, as sources offer depths by mode, and areas and resolutions by where the pages come from.
void applySettings(const ModuleLibrary& module, const ScanRequest& request, ScanListener& listener) {
    if (request.feeder) applyFeeder(module, *request.feeder, listener);
    if (request.pixelType)
        applyChoice({"mode", module.smSetPixelType, module.smGetPixelType, module.smGetSupportedPixelType},
                    pixelTypes, *request.pixelType, listener);
    if (request.bitDepth) applyDepth(module, *request.bitDepth, listener);
    if (request.resolution) {
        const int asked = *request.resolution;
        applyResolution(module,
                        {"X resolution", ICAP_XRESOLUTION, module.smGetXResolution, module.smSetXResolution},
                        asked, listener);
        applyResolution(module,
                        {"Y resolution", ICAP_YRESOLUTION, module.smGetYResolution, module.smSetYResolution},
                        asked, listener);
    }
    if (request.scale) {
        applyScale({"X scale", module.smGetXScale, module.smSetXScale}, *request.scale, listener);
        applyScale({"Y scale", module.smGetYScale, module.smSetYScale}, *request.scale, listener);
    }
    if (request.paper)
        applyChoice({"paper", module.smSetPaperSize, module.smGetPaperSize, module.smGetSupportedPaperSize},
                    papers, *request.paper, listener);
    if (request.area) applyArea(module, *request.area);
    applyTones(module, request, listener);
    for (const SwitchValue& value : request.switches)
        applySwitch(module, value, listener);
}

}  // namespace host
