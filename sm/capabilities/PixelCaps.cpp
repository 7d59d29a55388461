// Pixel type, flavour and bit depth.
#include "TScanModule.h"

namespace {

uint16_t pixelTypeCode(TW_UINT32 pixelType) {
    // Kept: a type without a code counts as gray.
    return static_cast<uint16_t>(pixelType <= lastCodedValue ? 1 << pixelType : +SM_PIXEL_GRAY);
}

Reading readDepths(const LockedContainer& container, TW_UINT32& depths) {
    if (container.kind() != TWON_ENUMERATION) return readValue(container, OneValue, depths);
    // Kept: the depths themselves are or-ed; 1, 8 and 24 give 25.
    return forEachItem(container, [&](TW_UINT32 depth) { depths |= depth; });
}

}  // namespace

int32_t TScanModule::GetPixelFlavor(uint16_t* flavor) {
    const MethodTrace trace{"TScanModule::GetPixelFlavor"};
    return negotiation_.get(trace, {ICAP_PIXELFLAVOR, currentThenAll, OneValue | EnumCurrent}, flavor);
}

int32_t TScanModule::GetPixelType(uint16_t* code) {
    const MethodTrace trace{"TScanModule::GetPixelType"};
    return negotiation_.get(trace, {ICAP_PIXELTYPE, currentThenAll, OneValue | EnumCurrent}, code,
                            pixelTypeCode);
}

int32_t TScanModule::SetPixelType(uint16_t code) {
    const MethodTrace trace{"TScanModule::SetPixelType"};
    return negotiation_.set(trace, {ICAP_PIXELTYPE, enumeratedTypes, buildReturnFailure}, valueOfCode(code));
}

int32_t TScanModule::GetSupportedPixelType(uint16_t* codes) {
    const MethodTrace trace{"TScanModule::GetSupportedPixelType"};
    return negotiation_.getSupported(trace, ICAP_PIXELTYPE, codes);
}

int32_t TScanModule::SetSupportedPixelType(uint16_t codes) {
    const MethodTrace trace{"TScanModule::SetSupportedPixelType"};
    if (const int32_t refused = link_.checkReady(trace)) return refused;
    uint16_t present = 0;
    GetPixelType(&present);
    return negotiation_.setSupported(trace, ICAP_PIXELTYPE, codes, present);
}

int32_t TScanModule::Getbitdepth(uint16_t* depths) {
    const MethodTrace trace{"TScanModule::Getbitdepth"};
    if (const int32_t refused = link_.checkReady(trace)) return refused;
    *depths = 0;
    return negotiation_.askEach(trace, ICAP_BITDEPTH, currentThenAll, [&](const LockedContainer& container) {
        TW_UINT32 read = 0;
        const Reading reading = readDepths(container, read);
        if (reading.succeeded()) *depths = static_cast<uint16_t>(read);
        return reading;
    });
}

int32_t TScanModule::SetBitDepth(uint16_t depth) {
    const MethodTrace trace{"TScanModule::SetBitDepth"};
    if (const int32_t refused = link_.checkReady(trace)) return refused;
    // Kept: these warnings spell the method so.
    const Caller caller{"TScanModule::SetBitDepath"};
    return negotiation_.send(caller, {ICAP_BITDEPTH, enumeratedTypes, buildReturnFailure}, depth);
}
