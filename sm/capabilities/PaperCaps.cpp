// Units, the largest scan area and paper sizes.
#include "TScanModule.h"
#include "capabilities/Units.h"

namespace {

uint16_t paperSizeCode(TW_UINT32 paperSize) {
    return static_cast<uint16_t>(paperSize <= lastCodedValue ? 1 << paperSize : +SM_PAPER_NONE);
}

std::optional<double> getLength(Negotiation& negotiation, const Caller& caller, TW_UINT16 capability,
                                int32_t& result) {
    const SourceValue answer = negotiation.ask(caller, {capability, currentThenAll, OneValue});
    result = answer.result;
    if (!answer.value) return std::nullopt;
    return fix32ToNumber(fix32FromBits(*answer.value));
}

}  // namespace

int32_t TScanModule::GetUnit(uint16_t* code) {
    const MethodTrace trace{"TScanModule::GetUnit"};
    if (const int32_t refused = link_.checkReady(trace)) return refused;
    const SourceValue answer = negotiation_.ask(trace, {ICAP_UNITS, currentThenAll, OneValue | EnumCurrent});
    *code = unitCodeOf(answer.value.value_or(TWUN_INCHES));
    return answer.result;
}

int32_t TScanModule::GetMaxArea(double* width, double* height) {
    const MethodTrace trace{"TScanModule::GetMaxArea"};
    if (const int32_t refused = link_.checkReady(trace)) return refused;
    int32_t result;
    const std::optional<double> across = getLength(negotiation_, trace, ICAP_PHYSICALWIDTH, result);
    if (!across) return result;
    const std::optional<double> down = getLength(negotiation_, trace, ICAP_PHYSICALHEIGHT, result);
    if (!down) return result;
    uint16_t unit = 0;
    GetUnit(&unit);
    uint16_t resolution = 0, lowest, highest;
    GetXResolution(&resolution, &lowest, &highest);
    if (unit != SM_UNIT_PIXELS) {
        *width = *across * factorsOf(unit).toInches;
        *height = *down * factorsOf(unit).toInches;
    } else if (resolution != 0) {
        // Kept: the height too is divided by the X resolution.
        *width = *across / resolution;
        *height = *down / resolution;
    } else {
        *width = standInWidth;
        *height = standInHeight;
    }
    return 0;
}

int32_t TScanModule::GetPaperSize(uint16_t* code) {
    const MethodTrace trace{"TScanModule::GetPaperSize"};
    return negotiation_.get(trace, {ICAP_SUPPORTEDSIZES, currentThenAll, OneValue | EnumCurrent}, code,
                            paperSizeCode);
}

int32_t TScanModule::SetPaperSize(uint16_t code) {
    const MethodTrace trace{"TScanModule::SetPaperSize"};
    return negotiation_.set(trace, {ICAP_SUPPORTEDSIZES, enumeratedTypes}, valueOfCode(code));
}

int32_t TScanModule::GetSupportedPaperSize(uint16_t* codes) {
    const MethodTrace trace{"TScanModule::GetSupportedPaperSize"};
    return negotiation_.getSupported(trace, ICAP_SUPPORTEDSIZES, codes);
}

int32_t TScanModule::SetSupportedPaperSize(uint16_t codes) {
    const MethodTrace trace{"TScanModule::SetSupportedPaperSize"};
    if (const int32_t refused = link_.checkReady(trace)) return refused;
    uint16_t present = 0;
    GetPaperSize(&present);
    return negotiation_.setSupported(trace, ICAP_SUPPORTEDSIZES, codes, present);
}
