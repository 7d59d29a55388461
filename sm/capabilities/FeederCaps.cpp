// Feeder and progress-indicator capabilities.
#include "TScanModule.h"

int32_t TScanModule::IsADFAvailable(uint16_t* available) {
    const MethodTrace trace{"TScanModule::IsADFAvailable"};
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    // Kept: the other way round than everywhere else, an enabled source is not asked.
    if (link_.state > stateSourceOpen) return link_.sequenceError(trace);
    *available = 0;
    // The answer's mere existence says it; the value is not read.
    const auto answered = [&](const TW_CAPABILITY&) -> Reading {
        *available = 1;
        return TWCC_SUCCESS;
    };
    return negotiation_.askEach(trace, CAP_FEEDERENABLED, getOnly, answered);
}

int32_t TScanModule::IsADFPaperLoaded(uint16_t* loaded) {
    const MethodTrace trace{"TScanModule::IsADFPaperLoaded"};
    return negotiation_.get(trace, {CAP_FEEDERLOADED, currentThenAll, OneValue}, loaded);
}

int32_t TScanModule::GetADFEnable(uint16_t* enabled) {
    const MethodTrace trace{"TScanModule::GetADFEnable"};
    return negotiation_.get(trace, {CAP_FEEDERENABLED, currentThenAll, OneValue}, enabled);
}

int32_t TScanModule::SetADFEnable(BOOL enable) {
    const MethodTrace trace{"TScanModule::SetADFEnable"};
    return negotiation_.set(trace, {CAP_FEEDERENABLED, booleanTypes}, enable);
}

int32_t TScanModule::SetAutoFeedEnable(BOOL enable) {
    const MethodTrace trace{"TScanModule::SetAutoFeedEnable"};
    return negotiation_.set(trace, {CAP_AUTOFEED, booleanTypes}, enable);
}

int32_t TScanModule::SetIndicatorEnable(BOOL enable) {
    const MethodTrace trace{"TScanModule::SetIndicatorEnable"};
    return negotiation_.set(trace, {CAP_INDICATORS, booleanTypes}, enable);
}
