// Brightness, contrast, highlight, shadow and threshold on the host's scale; gamma; light path.
#include "TScanModule.h"

namespace {

constexpr char emptyScale[] = "Bad range setting, minRange == maxRange,";
constexpr double unknownGamma = 2.2;

}  // namespace

int32_t TScanModule::getTone(const MethodTrace& trace, TW_UINT16 capability, const ToneRange& range,
                             int16_t* value, HostScale scale, TracePoint at) {
    if (const int32_t refused = checkReady(trace, stateSourceOpen, at)) return refused;
    if (scale.isEmpty()) {
        *value = 0;
        trace.warn(emptyScale, at);
        return TWCC_BADVALUE;
    }
    const Answer answer =
        askValue(trace, {capability, currentThenAll, OneValue | EnumCurrent | RangeCurrent}, at);
    *value = answer.value ? mapToHost(fix32ToNumber(fix32FromBits(*answer.value)), scale, range)
                          : scale.midpoint();
    return answer.result;
}

int32_t TScanModule::setTone(const MethodTrace& trace, const Setter& setter, const ToneRange& range,
                             int16_t value, HostScale scale, const char* emptyScaleWords, TracePoint at) {
    if (const int32_t refused = checkReady(trace, stateSourceOpen, at)) return refused;
    if (scale.isEmpty()) {
        trace.warn(emptyScaleWords, at);
        return TWCC_BADVALUE;
    }
    return sendValue(trace.method(), setter, mapToSource(value, scale, range), at);
}

int32_t TScanModule::GetBrightness(int16_t* value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::GetBrightness"};
    return getTone(trace, ICAP_BRIGHTNESS, brightness_, value, {hostMin, hostMax});
}

int32_t TScanModule::SetBrightness(int16_t value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::SetBrightness"};
    return setTone(trace, {ICAP_BRIGHTNESS, fix32Type}, brightness_, value, {hostMin, hostMax}, emptyScale);
}

int32_t TScanModule::GetContrast(int16_t* value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::GetContrast"};
    return getTone(trace, ICAP_CONTRAST, contrast_, value, {hostMin, hostMax});
}

int32_t TScanModule::SetContrast(int16_t value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::SetContrast"};
    // Kept: misspelt here and only here.
    return setTone(trace, {ICAP_CONTRAST, fix32Type}, contrast_, value, {hostMin, hostMax},
                   "Bas range setting, minRange == maxRange,");
}

int32_t TScanModule::GetHighlight(int16_t* value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::GetHighlight"};
    return getTone(trace, ICAP_HIGHLIGHT, highlight_, value, {hostMin, hostMax});
}

int32_t TScanModule::SetHighlight(int16_t value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::SetHighlight"};
    return setTone(trace, {ICAP_HIGHLIGHT, fix32Type}, highlight_, value, {hostMin, hostMax}, emptyScale);
}

int32_t TScanModule::GetShadow(int16_t* value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::GetShadow"};
    return getTone(trace, ICAP_SHADOW, shadow_, value, {hostMin, hostMax});
}

int32_t TScanModule::SetShadow(int16_t value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::SetShadow"};
    return setTone(trace, {ICAP_SHADOW, fix32Type, buildReturnFailure}, shadow_, value, {hostMin, hostMax},
                   emptyScale);
}

int32_t TScanModule::SetThreshold(int16_t value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::SetThreshold"};
    return setTone(trace, {ICAP_THRESHOLD, fix32Type}, threshold_, value, {hostMin, hostMax}, emptyScale);
}

int32_t TScanModule::GetGamma(double* gamma) {
    const MethodTrace trace{"TScanModule::GetGamma"};
    if (const int32_t refused = checkReady(trace)) return refused;
    const Answer answer = askValue(trace, {ICAP_GAMMA, currentThenAll, OneValue});
    *gamma = answer.value ? fix32ToNumber(fix32FromBits(*answer.value)) : unknownGamma;
    return answer.result;
}

int32_t TScanModule::SetGamma(double gamma) {
    const MethodTrace trace{"TScanModule::SetGamma"};
    return setValue(trace, {ICAP_GAMMA, fix32Type}, gamma);
}

int32_t TScanModule::SetLightpath(uint16_t lightPath) {
    const MethodTrace trace{"TScanModule::SetLightpath"};
    return setValue(trace, {ICAP_LIGHTPATH, uint16Type}, lightPath);
}
