// Brightness, contrast, highlight, shadow and threshold on the host's scale; gamma; light path.
#include "TScanModule.h"

namespace {

constexpr char emptyScale[] = "Bad range setting, minRange == maxRange,";
constexpr double unknownGamma = 2.2;

int32_t getTone(Negotiation& negotiation, const Caller& caller, TW_UINT16 capability, const ToneRange& range,
                int16_t* value, HostScale scale) {
    if (const int32_t refused = negotiation.link().checkReady(caller)) return refused;
    if (scale.isEmpty()) {
        *value = 0;
        caller.warn(emptyScale);
        return TWCC_BADVALUE;
    }
    const SourceValue answer =
        negotiation.ask(caller, {capability, currentThenAll, OneValue | EnumCurrent | RangeCurrent});
    *value = answer.value ? mapToHost(fix32ToNumber(fix32FromBits(*answer.value)), scale, range)
                          : scale.midpoint();
    return answer.result;
}

int32_t setTone(Negotiation& negotiation, const Caller& caller, const Setter& setter, const ToneRange& range,
                int16_t value, HostScale scale, const char* emptyScaleWords = emptyScale) {
    if (const int32_t refused = negotiation.link().checkReady(caller)) return refused;
    if (scale.isEmpty()) {
        caller.warn(emptyScaleWords);
        return TWCC_BADVALUE;
    }
    return negotiation.send(caller, setter, mapToSource(value, scale, range));
}

}  // namespace

int32_t TScanModule::GetBrightness(int16_t* value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::GetBrightness"};
    return getTone(negotiation_, trace, ICAP_BRIGHTNESS, brightness_, value, {hostMin, hostMax});
}

int32_t TScanModule::SetBrightness(int16_t value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::SetBrightness"};
    return setTone(negotiation_, trace, {ICAP_BRIGHTNESS, fix32Type}, brightness_, value, {hostMin, hostMax});
}

int32_t TScanModule::GetContrast(int16_t* value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::GetContrast"};
    return getTone(negotiation_, trace, ICAP_CONTRAST, contrast_, value, {hostMin, hostMax});
}

int32_t TScanModule::SetContrast(int16_t value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::SetContrast"};
    // Kept: misspelt here and only here.
    return setTone(negotiation_, trace, {ICAP_CONTRAST, fix32Type}, contrast_, value, {hostMin, hostMax},
                   "Bas range setting, minRange == maxRange,");
}

int32_t TScanModule::GetHighlight(int16_t* value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::GetHighlight"};
    return getTone(negotiation_, trace, ICAP_HIGHLIGHT, highlight_, value, {hostMin, hostMax});
}

int32_t TScanModule::SetHighlight(int16_t value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::SetHighlight"};
    return setTone(negotiation_, trace, {ICAP_HIGHLIGHT, fix32Type}, highlight_, value, {hostMin, hostMax});
}

int32_t TScanModule::GetShadow(int16_t* value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::GetShadow"};
    return getTone(negotiation_, trace, ICAP_SHADOW, shadow_, value, {hostMin, hostMax});
}

int32_t TScanModule::SetShadow(int16_t value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::SetShadow"};
    return setTone(negotiation_, trace, {ICAP_SHADOW, fix32Type, buildReturnFailure}, shadow_, value,
                   {hostMin, hostMax});
}

int32_t TScanModule::SetThreshold(int16_t value, int16_t hostMin, int16_t hostMax) {
    const MethodTrace trace{"TScanModule::SetThreshold"};
    return setTone(negotiation_, trace, {ICAP_THRESHOLD, fix32Type}, threshold_, value, {hostMin, hostMax});
}

int32_t TScanModule::GetGamma(double* gamma) {
    const MethodTrace trace{"TScanModule::GetGamma"};
    if (const int32_t refused = link_.checkReady(trace)) return refused;
    const SourceValue answer = negotiation_.ask(trace, {ICAP_GAMMA, currentThenAll, OneValue});
    *gamma = answer.value ? fix32ToNumber(fix32FromBits(*answer.value)) : unknownGamma;
    return answer.result;
}

int32_t TScanModule::SetGamma(double gamma) {
    const MethodTrace trace{"TScanModule::SetGamma"};
    return negotiation_.set(trace, {ICAP_GAMMA, fix32Type}, gamma);
}

int32_t TScanModule::SetLightpath(uint16_t lightPath) {
    const MethodTrace trace{"TScanModule::SetLightpath"};
    return negotiation_.set(trace, {ICAP_LIGHTPATH, uint16Type}, lightPath);
}
