#include "common/SourceSwitches.h"

#include "common/RawCapability.h"
#include "common/SettingReport.h"
#include "common/Text.h"
#include "common/Wording.h"

namespace host {

namespace {

// How one switch is set and read back.
struct SwitchCalls {
    int(WINAPI* setSwitch)(int) = nullptr;
    int(WINAPI* setCode)(unsigned short) = nullptr;
    int(WINAPI* get)(unsigned short*) = nullptr;
    TW_UINT16 capability = 0;  // to read back what the module has no getter for
};

SwitchCalls callsOf(const ModuleLibrary& module, Switch which) {
    switch (which) {
        case Switch::UnsharpMask:
            return {module.smSetKvUnSharpMask, nullptr, module.smGetKvUnSharpMask};
        case Switch::DraftScan:
            return {module.smSetKvDraftScan, nullptr, nullptr, KV_DRAFTSCAN};
        case Switch::Descreening:
            return {module.smSetKvDescreeing, nullptr, nullptr, KV_DESCREENING};
        case Switch::ExposureMode:
            return {nullptr, module.smSetKvExposureMode, nullptr, KV_EXPOSUREMODE};
        case Switch::UiMode:
            return {nullptr, module.smSetKvUIMode, module.smGetKvUIMode};
        case Switch::ClearPage:
            return {module.smSetClearPage, nullptr, module.smGetClearPage};
        case Switch::Pim:
            return {module.smSetPIMFlag, nullptr, module.smGetPIMFlag};
        case Switch::LightPath:
            return {nullptr, module.smSetLightpath, nullptr, ICAP_LIGHTPATH};
        case Switch::Indicators:
            return {module.smSetIndicatorEnable, nullptr, nullptr, CAP_INDICATORS};
        case Switch::Feeder:
            break;  // a setting that every source may have: ScanRequest::feeder
        case Switch::AutoFeed:
            return {module.smSetAutoFeedEnable, nullptr, nullptr, CAP_AUTOFEED};
    }
    return {};
}

std::optional<int> readBack(const ModuleLibrary& module, const SwitchCalls& calls, Switch which) {
    unsigned short got = 0;
    if (!calls.get) {
        const auto answer = askCapability(module.smCapNegotiate, calls.capability);
        return answer ? std::optional<int>(static_cast<int>(answer->current)) : std::nullopt;
    }
    if (calls.get(&got) != SM_RESULT_OK) return std::nullopt;
    // The module numbers the window modes 0, 1, 3 of the source as 0, 1, 2.
    return which == Switch::UiMode && got == 2 ? 3 : got;
}

}  // namespace

void applySwitch(const ModuleLibrary& module, const SwitchValue& asked, ScanListener& listener) {
    const SwitchCalls calls = callsOf(module, asked.which);
    const std::string words = std::string(wording.set) + nameOf(asked.which).name;
    if (!calls.get)
        requireOffered(words + "=", asked.value, choicesOf(module.smCapNegotiate, calls.capability));
    const int result = calls.setSwitch ? calls.setSwitch(asked.value)
                                       : calls.setCode(static_cast<unsigned short>(asked.value));
    requireSet(format("%s=%d", words.c_str(), asked.value), result);
    if (const std::optional<int> got = readBack(module, calls, asked.which))
        compare(listener, words, std::to_string(asked.value), std::to_string(*got));
}

}  // namespace host
