// The maker's extensions, and CAP_CLEARPAGE, which hosts use with them.
#include <cstring>

#include "TScanModule.h"

namespace {

constexpr unsigned vendorContainers = OneValue | EnumCurrent;

// Kept: the source's mode 2 reads as 0 like every unknown one.
uint16_t hostUiMode(uint16_t mode) {
    switch (mode) {
        case 1:
            return 1;
        case 3:
            return 2;
        default:
            return 0;
    }
}

// A switch is sent as given, in a container built here: through BuildupOneValue it would write lines of its
// own.
int32_t sendSwitch(Negotiation& negotiation, const Caller& caller, TW_UINT16 capability, BOOL on) {
    TW_CAPABILITY cap = {capability, TWON_ONEVALUE,
                         GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, sizeof(TW_ONEVALUE))};
    const TW_ONEVALUE container = {TWTY_BOOL, static_cast<TW_UINT32>(on)};
    void* block = cap.hContainer != nullptr ? GlobalLock(cap.hContainer) : nullptr;
    if (block == nullptr) {
        caller.warn("Memory alloc error");
        if (cap.hContainer != nullptr) GlobalFree(cap.hContainer);
        return TWCC_LOWMEMORY;
    }
    std::memcpy(block, &container, sizeof container);
    GlobalUnlock(cap.hContainer);
    int32_t result;
    negotiation.sendContainer(caller, cap, result);
    return result;
}

int32_t setSwitch(Negotiation& negotiation, const Caller& caller, TW_UINT16 capability, BOOL on) {
    if (const int32_t refused = negotiation.link().checkReady(caller)) return refused;
    return sendSwitch(negotiation, caller, capability, on);
}

}  // namespace

int32_t TScanModule::SetKvUnSharpMask(BOOL on) {
    const MethodTrace trace{"TScanModule::SetKvUnSharpMask"};
    return setSwitch(negotiation_, trace, KV_UNSHARPMASK, on);
}

int32_t TScanModule::GetKvUnSharpMask(uint16_t* on) {
    const MethodTrace trace{"TScanModule::GetKvUnSharpMask"};
    return negotiation_.get(trace, {KV_UNSHARPMASK, currentThenAll, vendorContainers}, on);
}

int32_t TScanModule::SetClearPage(BOOL on) {
    const MethodTrace trace{"TScanModule::SetClearPage"};
    // Kept: no state check of its own.
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    return sendSwitch(negotiation_, trace, CAP_CLEARPAGE, on);
}

int32_t TScanModule::GetClearPage(uint16_t* on) {
    const MethodTrace trace{"TScanModule::GetClearPage"};
    return negotiation_.get(trace, {CAP_CLEARPAGE, currentThenAll, vendorContainers}, on);
}

int32_t TScanModule::SetKvUIMode(uint16_t mode) {
    const MethodTrace trace{"TScanModule::SetKvUIMode"};
    return negotiation_.set(trace, {KV_UIMODE, uint16Type, buildReturnFailure}, mode);
}

int32_t TScanModule::GetKvUIMode(uint16_t* mode) {
    const MethodTrace trace{"TScanModule::GetKvUIMode"};
    if (const int32_t refused = link_.checkReady(trace)) return refused;
    return negotiation_.askEach(
        trace, KV_UIMODE, currentThenAll,
        [&](const LockedContainer& container) {
            TW_UINT32 value;
            const Reading reading = readValue(container, vendorContainers, value);
            if (reading.succeeded()) *mode = hostUiMode(static_cast<uint16_t>(value));
            return reading;
        },
        // Kept: a failed attempt maps what the output then holds.
        [&] { *mode = hostUiMode(*mode); });
}

int32_t TScanModule::SetPIMFlag(BOOL on) {
    const MethodTrace trace{"TScanModule::SetPIMFlag"};
    // Kept: no state check of its own.
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    return sendSwitch(negotiation_, trace, KV_PIMFLAG, on);
}

int32_t TScanModule::GetPIMFlag(uint16_t* on) {
    const MethodTrace trace{"TScanModule::GetPIMFlag"};
    return negotiation_.get(trace, {KV_PIMFLAG, currentThenAll, vendorContainers}, on);
}

int32_t TScanModule::GetKvVersion(uint16_t* version) {
    const MethodTrace trace{"TScanModule::GetKvVersion"};
    if (const int32_t refused = link_.checkReady(trace)) return refused;
    TW_CAPABILITY cap = {KV_VERSION, TWON_ONEVALUE, nullptr};
    if (negotiation_.exchange(MSG_GET, cap) != TWRC_SUCCESS) {
        trace.warn("CapNegotiate returns failure");
        *version = 0;
        return link_.conditionCode();
    }
    const ContainerOwner owner{cap};
    TW_UINT32 value = 0;
    const Reading reading = readValue(cap, vendorContainers, value);
    // Kept: this line names another method.
    if (!reading.handled()) warnText("Invalid container type in TScanModule::GetUnit");
    *version = static_cast<uint16_t>(value);
    return reading.code();
}

int32_t TScanModule::GetKvLUT1(uint16_t* table) {
    const MethodTrace trace{"TScanModule::GetKvLUT1"};
    return negotiation_.get(trace, {KV_LUT1, currentThenAll, vendorContainers}, table);
}

int32_t TScanModule::GetKvLUT2(uint16_t* table) {
    const MethodTrace trace{"TScanModule::GetKvLUT2"};
    // Kept: no state check of its own.
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    const SourceValue answer = negotiation_.ask(trace, {KV_LUT2, currentThenAll, vendorContainers});
    if (answer.value) *table = static_cast<uint16_t>(*answer.value);
    return answer.result;
}

int32_t TScanModule::GetKvCC(uint16_t* correction) {
    const MethodTrace trace{"TScanModule::GetKvCC"};
    return negotiation_.get(trace, {KV_COLORCORRECTION, currentThenAll, vendorContainers}, correction);
}

int32_t TScanModule::SetKvDraftScan(BOOL on) {
    const MethodTrace trace{"TScanModule::SetKvDraftScan"};
    return setSwitch(negotiation_, trace, KV_DRAFTSCAN, on);
}

int32_t TScanModule::SetKvDescreeing(BOOL on) {
    const MethodTrace trace{"TScanModule::SetKvDescreeing"};
    return setSwitch(negotiation_, trace, KV_DESCREENING, on);
}

int32_t TScanModule::SetKvExposureMode(uint16_t mode) {
    const MethodTrace trace{"TScanModule::SetKvExposureMode"};
    return negotiation_.set(trace, {KV_EXPOSUREMODE, uint16Type, buildReturnFailure}, mode);
}

int32_t TScanModule::GetMaxResForKvDescreeing(double* resolution) {
    const MethodTrace trace{"TScanModule::GetMaxResForKvDescreeing"};
    if (const int32_t refused = link_.checkReady(trace)) return refused;
    const SourceValue answer = negotiation_.ask(trace, {KV_DESCREENINGLIMIT, getOnly, vendorContainers});
    if (answer.value) *resolution = fix32ToNumber(fix32FromBits(*answer.value));
    return answer.result;
}

int32_t TScanModule::SetKvAutoExposureMode(void* block) {
    const MethodTrace trace{"TScanModule::SetKvAutoExposureMode"};
    if (const int32_t refused = link_.checkReady(trace)) return refused;
    return link_.request(trace, DG_IMAGE, KV_DAT_AUTOEXPOSURE, MSG_SET, block);
}

int32_t TScanModule::GetKvDefaultRgbMatrix(void* block) {
    const MethodTrace trace{"TScanModule::GetKvDefaultRgbMatrix"};
    if (const int32_t refused = link_.checkReady(trace)) return refused;
    return link_.request(trace, DG_IMAGE, KV_DAT_DEFAULTRGBMATRIX, MSG_GETDEFAULT, block);
}

int32_t TScanModule::SetKvRgbResponse(void* response) {
    const MethodTrace trace{"TScanModule::SetKvRgbResponse"};
    // Kept: no state check of its own.
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    return link_.request(trace, DG_IMAGE, DAT_RGBRESPONSE, MSG_SET, response);
}

int32_t TScanModule::GetKvRgbResponse(void* response) {
    const MethodTrace trace{"TScanModule::GetKvRgbResponse"};
    // Kept: no state check of its own.
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    return link_.request(trace, DG_IMAGE, DAT_RGBRESPONSE, MSG_GET, response);
}
