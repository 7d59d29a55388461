#include "SourceSettings.h"

#include <algorithm>

#include "Conditions.h"
#include "Console.h"
#include "Failure.h"
#include "RawCapability.h"
#include "Text.h"
#include "ToneValue.h"

namespace smscan {

namespace {

[[noreturn]] void refuse(const std::string& text) {
    throw Failure{ExitCode::Usage, text + " smscan --caps shows what the source offers."};
}

void requireSet(const std::string& what, int result) {
    if (result == SM_RESULT_OK) return;
    throw Failure{ExitCode::SourceError,
                  format("The source refuses %s: %s.", what.c_str(), conditionWords(result).c_str())};
}

void compare(const std::string& option, const std::string& asked, const std::string& got) {
    if (asked != got)
        note(format("Note: %s %s was asked for, the source made it %s.", option.c_str(), asked.c_str(),
                    got.c_str()));
}

// A choice that the module codes as one bit: pixel types and papers.
struct Choice {
    const char* option;
    int(WINAPI* set)(unsigned short);
    int(WINAPI* get)(unsigned short*);
    int(WINAPI* getSupported)(unsigned short*);
};

template <size_t Count>
void applyChoice(const Choice& choice, const std::array<NamedCode, Count>& names, unsigned short asked) {
    unsigned short supported = 0;
    const bool known = choice.getSupported(&supported) == SM_RESULT_OK && supported != 0;
    if (known && !(supported & asked)) {
        std::vector<std::string> words;
        for (const NamedCode& entry : names)
            if (supported & entry.code) words.push_back(entry.name);
        refuse(format("The source doesn't offer %s %s, but %s.", choice.option, nameOf(names, asked).c_str(),
                      joined(words).c_str()));
    }
    requireSet(format("%s %s", choice.option, nameOf(names, asked).c_str()), choice.set(asked));
    unsigned short got = asked;
    if (choice.get(&got) == SM_RESULT_OK) compare(choice.option, nameOf(names, asked), nameOf(names, got));
}

struct Resolution {
    const char* words;
    int(WINAPI* get)(unsigned short*, unsigned short*, unsigned short*);
    int(WINAPI* set)(unsigned short);
};

void applyResolution(const Resolution& resolution, int asked) {
    unsigned short current = 0;
    unsigned short lowest = 0;
    unsigned short highest = 0;
    const bool known = resolution.get(&current, &lowest, &highest) == SM_RESULT_OK;
    if (known && (asked < lowest || asked > highest))
        refuse(format("The source offers %s from %d to %d dpi, not %d.", resolution.words, lowest, highest,
                      asked));
    requireSet(format("%s %d dpi", resolution.words, asked),
               resolution.set(static_cast<unsigned short>(asked)));
    if (resolution.get(&current, &lowest, &highest) == SM_RESULT_OK)
        compare(resolution.words, format("%d dpi", asked), format("%d dpi", current));
}

void applyArea(const ModuleLibrary& module, const Area& area) {
    double width = 0;
    double height = 0;
    // Areas are read from decimals and sources count in 1/65536: the whole page must pass.
    constexpr double tolerance = 0.001;
    const bool known = module.smGetMaxArea(&width, &height) == SM_RESULT_OK && width > 0 && height > 0;
    if (known && (area.right > width + tolerance || area.bottom > height + tolerance))
        refuse(format(
            "The source scans up to %.2f x %.2f inches (%.1f x %.1f cm); --area reaches to %.2f x %.2f "
            "inches.",
            width, height, width * 2.54, height * 2.54, area.right, area.bottom));
    const SmImageLayout layout{area.left, area.top, area.right, area.bottom};
    requireSet("--area", module.smSetImageLayout(layout, SM_UNIT_INCHES));
}

struct Tone {
    const char* option;
    const std::optional<int>& value;
    int lowest;
    int highest;
    int(WINAPI* set)(short, short, short);
    ToneGetter get;
};

void applyTone(const Tone& tone) {
    if (!tone.value) return;
    const short lowest = static_cast<short>(tone.lowest);
    const short highest = static_cast<short>(tone.highest);
    requireSet(format("%s %d", tone.option, *tone.value),
               tone.set(static_cast<short>(*tone.value), lowest, highest));
    int got = 0;
    if (readTone(tone.get, lowest, highest, &got) == SM_RESULT_OK)
        compare(tone.option, std::to_string(*tone.value), std::to_string(got));
}

// The one tone that the module has no getter for.
void applyThreshold(const ModuleLibrary& module, const Options& options) {
    if (!options.threshold) return;
    const int asked = *options.threshold;
    requireSet(format("--threshold %d", asked),
               module.smSetThreshold(static_cast<short>(asked), levelLowest, levelHighest));
    const auto answer = askCapability(module.smCapNegotiate, CapabilityThreshold);
    const auto got = answer ? valueOnScale(*answer, levelLowest, levelHighest) : std::nullopt;
    if (got) compare("--threshold", std::to_string(asked), std::to_string(*got));
}

void applyTones(const ModuleLibrary& module, const Options& options) {
    const Tone tones[] = {
        {"--brightness", options.brightness, percentLowest, percentHighest, module.smSetBrightness,
         module.smGetBrightness},
        {"--contrast", options.contrast, percentLowest, percentHighest, module.smSetContrast,
         module.smGetContrast},
        {"--highlight", options.highlight, levelLowest, levelHighest, module.smSetHighlight,
         module.smGetHighlight},
        {"--shadow", options.shadow, levelLowest, levelHighest, module.smSetShadow, module.smGetShadow},
    };
    for (const Tone& tone : tones)
        applyTone(tone);
    applyThreshold(module, options);
    if (!options.gamma) return;
    requireSet(format("--gamma %g", *options.gamma), module.smSetGamma(*options.gamma));
    double got = 0;
    if (module.smGetGamma(&got) == SM_RESULT_OK)
        compare("--gamma", format("%.2f", *options.gamma), format("%.2f", got));
}

// How one --set name is set and read back.
struct SettingCalls {
    int(WINAPI* setSwitch)(int) = nullptr;
    int(WINAPI* setCode)(unsigned short) = nullptr;
    int(WINAPI* get)(unsigned short*) = nullptr;
    CapabilityId capability{};  // to read back what the module has no getter for
};

SettingCalls callsOf(const ModuleLibrary& module, Setting setting) {
    switch (setting) {
        case Setting::UnsharpMask:
            return {module.smSetKvUnSharpMask, nullptr, module.smGetKvUnSharpMask};
        case Setting::DraftScan:
            return {module.smSetKvDraftScan, nullptr, nullptr, CapabilityDraftScan};
        case Setting::Descreening:
            return {module.smSetKvDescreeing, nullptr, nullptr, CapabilityDescreening};
        case Setting::ExposureMode:
            return {nullptr, module.smSetKvExposureMode, nullptr, CapabilityExposureMode};
        case Setting::UiMode:
            return {nullptr, module.smSetKvUIMode, module.smGetKvUIMode};
        case Setting::ClearPage:
            return {module.smSetClearPage, nullptr, module.smGetClearPage};
        case Setting::Pim:
            return {module.smSetPIMFlag, nullptr, module.smGetPIMFlag};
        case Setting::LightPath:
            return {nullptr, module.smSetLightpath, nullptr, CapabilityLightPath};
        case Setting::Indicators:
            return {module.smSetIndicatorEnable, nullptr, nullptr, CapabilityIndicators};
        case Setting::Feeder:
            return {module.smSetADFEnable, nullptr, module.smGetADFEnable};
        case Setting::AutoFeed:
            return {module.smSetAutoFeedEnable, nullptr, nullptr, CapabilityAutoFeed};
    }
    return {};
}

std::optional<int> readBack(const ModuleLibrary& module, const SettingCalls& calls, Setting setting) {
    unsigned short got = 0;
    if (!calls.get) {
        const auto answer = askCapability(module.smCapNegotiate, calls.capability);
        return answer ? std::optional<int>(static_cast<int>(answer->current)) : std::nullopt;
    }
    if (calls.get(&got) != SM_RESULT_OK) return std::nullopt;
    // The module numbers the window modes 0, 1, 3 of the source as 0, 1, 2.
    return setting == Setting::UiMode && got == 2 ? 3 : got;
}

void requireChoice(const ModuleLibrary& module, CapabilityId capability, const std::string& words,
                   int asked) {
    const auto answer = askCapability(module.smCapNegotiate, capability);
    if (!answer || answer->choices.empty()) return;
    std::vector<std::string> choices;
    for (const double choice : answer->choices) {
        if (choice == asked) return;
        choices.push_back(format("%g", choice));
    }
    refuse(format("The source doesn't offer %s=%d, but %s.", words.c_str(), asked, joined(choices).c_str()));
}

void applySetting(const ModuleLibrary& module, const SettingValue& asked) {
    const SettingCalls calls = callsOf(module, asked.setting);
    const std::string words = format("--set %s", nameOf(asked.setting).name);
    if (!calls.get) requireChoice(module, calls.capability, words, asked.value);
    const int result = calls.setSwitch ? calls.setSwitch(asked.value)
                                       : calls.setCode(static_cast<unsigned short>(asked.value));
    requireSet(format("%s=%d", words.c_str(), asked.value), result);
    if (const std::optional<int> got = readBack(module, calls, asked.setting))
        compare(words, std::to_string(asked.value), std::to_string(*got));
}

}  // namespace

bool worksInInches(const ModuleLibrary& module) {
    unsigned short unit = SM_UNIT_INCHES;
    module.smGetUnit(&unit);
    if (unit != SM_UNIT_INCHES)
        note(format("Note: the source works in %s, not in inches: resolutions may be wrong.",
                    nameOf(units, unit).c_str()));
    return unit == SM_UNIT_INCHES;
}

void useInches(const ModuleLibrary& module) {
    unsigned short unit = SM_UNIT_INCHES;
    module.smGetUnit(&unit);
    if (unit == SM_UNIT_INCHES) return;
    constexpr uint16_t standardsInches = 0;
    setCapability(module.smCapNegotiate, CapabilityUnits, standardsInches);
    worksInInches(module);
}

void prepareFeeder(const ModuleLibrary& module, const Options& options) {
    unsigned short available = 0;
    const bool hasFeeder = module.smIsADFAvailable(&available) == SM_RESULT_OK && available;
    const bool chosen =
        std::any_of(options.settings.begin(), options.settings.end(),
                    [](const SettingValue& value) { return value.setting == Setting::Feeder; });
    if (options.pages != 1 && !chosen) {
        if (hasFeeder) {
            requireSet("its feeder", module.smSetADFEnable(1));
            module.smSetAutoFeedEnable(1);  // not every feeder has this switch
        } else {
            note("Note: the source has no feeder, so there is one page.");
        }
    }
    unsigned short enabled = 0;
    unsigned short loaded = 1;
    const bool feeds = hasFeeder && module.smGetADFEnable(&enabled) == SM_RESULT_OK && enabled;
    const bool empty = feeds && module.smIsPaperLoaded(&loaded) == SM_RESULT_OK && !loaded;
    // With the source's window open the user can still put paper in.
    if (empty && !options.ui)
        throw Failure{ExitCode::SourceError, "The feeder is empty. Put the pages in and try again."};
}

void applySettings(const ModuleLibrary& module, const Options& options) {
    if (options.pixelType)
        applyChoice({"--mode", module.smSetPixelType, module.smGetPixelType, module.smGetSupportedPixelType},
                    pixelTypes, *options.pixelType);
    if (options.resolution) {
        applyResolution({"X resolution", module.smGetXResolution, module.smSetXResolution},
                        *options.resolution);
        applyResolution({"Y resolution", module.smGetYResolution, module.smSetYResolution},
                        *options.resolution);
    }
    if (options.paper)
        applyChoice({"--paper", module.smSetPaperSize, module.smGetPaperSize, module.smGetSupportedPaperSize},
                    papers, *options.paper);
    if (options.area) applyArea(module, *options.area);
    applyTones(module, options);
    for (const SettingValue& value : options.settings)
        applySetting(module, value);
}

}  // namespace smscan
