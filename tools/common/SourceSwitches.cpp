#include "common/SourceSwitches.h"

#include "common/RawCapability.h"
#include "common/SettingReport.h"
#include "common/Text.h"
#include "common/Wording.h"

namespace host {

namespace {

// How one switch is set and read back.
struct SettingCalls {
    int(WINAPI* setSwitch)(int) = nullptr;
    int(WINAPI* setCode)(unsigned short) = nullptr;
    int(WINAPI* get)(unsigned short*) = nullptr;
    TW_UINT16 capability = 0;  // to read back what the module has no getter for
};

SettingCalls callsOf(const ModuleLibrary& module, Setting setting) {
    switch (setting) {
        case Setting::UnsharpMask:
            return {module.smSetKvUnSharpMask, nullptr, module.smGetKvUnSharpMask};
        case Setting::DraftScan:
            return {module.smSetKvDraftScan, nullptr, nullptr, KV_DRAFTSCAN};
        case Setting::Descreening:
            return {module.smSetKvDescreeing, nullptr, nullptr, KV_DESCREENING};
        case Setting::ExposureMode:
            return {nullptr, module.smSetKvExposureMode, nullptr, KV_EXPOSUREMODE};
        case Setting::UiMode:
            return {nullptr, module.smSetKvUIMode, module.smGetKvUIMode};
        case Setting::ClearPage:
            return {module.smSetClearPage, nullptr, module.smGetClearPage};
        case Setting::Pim:
            return {module.smSetPIMFlag, nullptr, module.smGetPIMFlag};
        case Setting::LightPath:
            return {nullptr, module.smSetLightpath, nullptr, ICAP_LIGHTPATH};
        case Setting::Indicators:
            return {module.smSetIndicatorEnable, nullptr, nullptr, CAP_INDICATORS};
        case Setting::Feeder:
            return {module.smSetADFEnable, nullptr, module.smGetADFEnable};
        case Setting::AutoFeed:
            return {module.smSetAutoFeedEnable, nullptr, nullptr, CAP_AUTOFEED};
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

void requireChoice(const ModuleLibrary& module, TW_UINT16 capability, const std::string& words, int asked) {
    const auto answer = askCapability(module.smCapNegotiate, capability);
    if (!answer || answer->choices.empty()) return;
    std::vector<std::string> choices;
    for (const double choice : answer->choices) {
        if (choice == asked) return;
        choices.push_back(format("%g", choice));
    }
    refuseValue(
        format("The source doesn't offer %s=%d, but %s.", words.c_str(), asked, joined(choices).c_str()));
}

}  // namespace

void applySwitch(const ModuleLibrary& module, const SettingValue& asked, ScanListener& listener) {
    const SettingCalls calls = callsOf(module, asked.setting);
    const std::string words = std::string(wording.set) + nameOf(asked.setting).name;
    if (!calls.get) requireChoice(module, calls.capability, words, asked.value);
    const int result = calls.setSwitch ? calls.setSwitch(asked.value)
                                       : calls.setCode(static_cast<unsigned short>(asked.value));
    requireSet(format("%s=%d", words.c_str(), asked.value), result);
    if (const std::optional<int> got = readBack(module, calls, asked.setting))
        compare(listener, words, std::to_string(asked.value), std::to_string(*got));
}

}  // namespace host
