// The source's range of each tone capability, asked after a source is opened and used by the tone controls.
#include "TScanModule.h"

namespace {

constexpr ToneRange defaultRange = {-1000.0, 1000.0, 1.0};

Reading readToneRange(const LockedContainer& container, ToneRange& range) {
    switch (container.kind()) {
        case TWON_RANGE: {
            ToneRange read;
            TW_UINT16 failure = readRangeField(container, rangeMin, read.min);
            if (failure == 0) failure = readRangeField(container, rangeMax, read.max);
            if (failure == 0) failure = readRangeField(container, rangeStep, read.step);
            if (failure == 0) range = read;
            return failure;
        }
        case TWON_ENUMERATION: {
            Bounds bounds;
            const TW_UINT16 failure = readEnumerationBounds(container, bounds);
            if (failure == 0) {
                range.min = bounds.min;
                range.max = bounds.max;
            }
            return failure;
        }
        case TWON_ONEVALUE:
            return TWCC_SUCCESS;  // one value says nothing of a range: the defaults stay
    }
    return Reading::unhandled();
}

int32_t getRange(Negotiation& negotiation, const Caller& caller, TW_UINT16 capability, ToneRange& range,
                 const char* emptyWords, const char* stepWords) {
    Link& link = negotiation.link();
    if (const int32_t refused = link.checkAvailable(caller)) return refused;
    // Before the state check, so that a sequence error leaves the defaults too.
    range = defaultRange;
    if (link.state < stateSourceOpen) return link.sequenceError(caller);
    int32_t result = negotiation.askEach(
        caller, capability, allThenCurrent,
        [&](const LockedContainer& container) { return readToneRange(container, range); });
    if (range.min == range.max) {
        caller.warn(emptyWords);
        range.min = defaultRange.min;
        range.max = defaultRange.max;
        result = TWCC_BADVALUE;
    }
    if (range.step == 0.0) {
        caller.warn(stepWords);
        range.step = defaultRange.step;
    }
    return result;
}

}  // namespace

int32_t TScanModule::GetDSBrightnessRange() {
    const MethodTrace trace{"TScanModule::GetDSBrightnessRange"};
    return getRange(negotiation_, trace, ICAP_BRIGHTNESS, brightness_,
                    "MinDSBrightnessRange == MaxDSBrightnessRange", "BrightnessStepSize == 0");
}

int32_t TScanModule::GetDSContrastRange() {
    const MethodTrace trace{"TScanModule::GetDSContrastRange"};
    return getRange(negotiation_, trace, ICAP_CONTRAST, contrast_, "MinDSContrastRange == MaxDSContrastRange",
                    "ContrastStepSize == 0");
}

int32_t TScanModule::GetDSHighlightRange() {
    const MethodTrace trace{"TScanModule::GetDSHighlightRange"};
    return getRange(negotiation_, trace, ICAP_HIGHLIGHT, highlight_,
                    "MinDSHighlightRange == MaxDSHighlightRange", "HighlightStepSize == 0");
}

int32_t TScanModule::GetDSShadowRange() {
    const MethodTrace trace{"TScanModule::GetDSShadowRange"};
    return getRange(negotiation_, trace, ICAP_SHADOW, shadow_, "MinDSShadowRange == MaxDSShadowRange",
                    "ShadowStepSize == 0");
}

int32_t TScanModule::GetDSThresholdRange() {
    const MethodTrace trace{"TScanModule::GetDSThresholdRange"};
    return getRange(negotiation_, trace, ICAP_THRESHOLD, threshold_,
                    "MinDSThresholdRange == MaxDSThresholdRange", "ThresholdStepSize == 0");
}
