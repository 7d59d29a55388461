// Resolution, in dots per inch whatever the source's unit, and scaling.
#include "TScanModule.h"
#include "capabilities/Units.h"

namespace {

struct Extent {
    double current;
    double min;
    double max;
};

constexpr Extent unknownResolution = {100.0, 100.0, 100.0};
constexpr Extent unknownScale = {0.0, 0.0, 0.0};

TW_UINT16 readSingle(const LockedContainer& container, Extent& extent) {
    TW_UINT32 bits;
    const Reading reading = readValue(container, OneValue | EnumCurrent, bits);
    if (reading.succeeded()) {
        const double value = fix32ToNumber(fix32FromBits(bits));
        extent = {value, value, value};
    }
    return reading.code();
}

TW_UINT16 readRange(const LockedContainer& container, Extent& extent) {
    TW_UINT16 failure = readRangeField(container, rangeCurrent, extent.current);
    if (failure == 0) failure = readRangeField(container, rangeMin, extent.min);
    if (failure == 0) failure = readRangeField(container, rangeMax, extent.max);
    return failure;
}

Reading readResolution(const LockedContainer& container, Extent& extent) {
    switch (container.kind()) {
        case TWON_ONEVALUE:
            return readSingle(container, extent);
        case TWON_RANGE:
            return readRange(container, extent);
        case TWON_ENUMERATION: {
            TW_UINT16 failure = readSingle(container, extent);
            Bounds bounds;
            if (failure == 0) failure = readEnumerationBounds(container, bounds);
            if (failure == 0) extent = {extent.current, bounds.min, bounds.max};
            return failure;
        }
    }
    return Reading::unhandled();
}

// Unlike a resolution, a list of scales counts with its current item only.
Reading readScale(const LockedContainer& container, Extent& extent) {
    switch (container.kind()) {
        case TWON_ONEVALUE:
        case TWON_ENUMERATION:
            return readSingle(container, extent);
        case TWON_RANGE:
            return readRange(container, extent);
    }
    return Reading::unhandled();
}

uint16_t dotsPerInch(double value, uint16_t unit) {
    return static_cast<uint16_t>(truncated(value * factorsOf(unit).toInches));
}

int32_t getResolution(TScanModule& module, Negotiation& negotiation, const Caller& caller,
                      TW_UINT16 capability, uint16_t* current, uint16_t* min, uint16_t* max) {
    if (const int32_t refused = negotiation.link().checkReady(caller)) return refused;
    Extent extent = unknownResolution;
    const int32_t result = negotiation.askEach(
        caller, capability, allThenCurrent,
        [&](const LockedContainer& container) { return readResolution(container, extent); },
        [&] { extent = unknownResolution; });
    uint16_t unit = SM_UNIT_INCHES;
    module.GetUnit(&unit);
    // Kept: the stand-in 100 is converted from the source's unit like any other value.
    *current = dotsPerInch(extent.current, unit);
    *min = dotsPerInch(extent.min, unit);
    *max = dotsPerInch(extent.max, unit);
    return result;
}

int32_t setResolution(TScanModule& module, Negotiation& negotiation, const Caller& caller,
                      TW_UINT16 capability, uint16_t dpi) {
    if (const int32_t refused = negotiation.link().checkReady(caller)) return refused;
    uint16_t unit = SM_UNIT_INCHES;
    module.GetUnit(&unit);
    return negotiation.send(caller, {capability, fix32Type}, dpi * factorsOf(unit).perInch);
}

int32_t getScale(Negotiation& negotiation, const Caller& caller, TW_UINT16 capability, double* current,
                 double* min, double* max) {
    if (const int32_t refused = negotiation.link().checkReady(caller)) return refused;
    Extent extent = unknownScale;
    const int32_t result = negotiation.askEach(
        caller, capability, allThenCurrent,
        [&](const LockedContainer& container) { return readScale(container, extent); },
        [&] { extent = unknownScale; });
    *current = extent.current;
    *min = extent.min;
    *max = extent.max;
    return result;
}

}  // namespace

int32_t TScanModule::GetXResolution(uint16_t* current, uint16_t* min, uint16_t* max) {
    const MethodTrace trace{"TScanModule::GetXResolution"};
    return getResolution(*this, negotiation_, trace, ICAP_XRESOLUTION, current, min, max);
}

int32_t TScanModule::SetXResolution(uint16_t dpi) {
    const MethodTrace trace{"TScanModule::SetXResolution"};
    return setResolution(*this, negotiation_, trace, ICAP_XRESOLUTION, dpi);
}

int32_t TScanModule::GetYResolution(uint16_t* current, uint16_t* min, uint16_t* max) {
    const MethodTrace trace{"TScanModule::GetYResolution"};
    return getResolution(*this, negotiation_, trace, ICAP_YRESOLUTION, current, min, max);
}

int32_t TScanModule::SetYResolution(uint16_t dpi) {
    const MethodTrace trace{"TScanModule::SetYResolution"};
    return setResolution(*this, negotiation_, trace, ICAP_YRESOLUTION, dpi);
}

int32_t TScanModule::IsThisDPIAvailable(uint16_t xDpi, uint16_t yDpi) {
    const MethodTrace trace{"TScanModule::IsThisDPIAvailable"};
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    uint16_t presentX = 0, presentY = 0, lowest, highest;
    GetXResolution(&presentX, &lowest, &highest);
    GetYResolution(&presentY, &lowest, &highest);
    int32_t result = SetXResolution(xDpi);
    if (result != 0) {
        trace.warn("SetXResolution returns failure");
    } else {
        result = SetYResolution(yDpi);
        if (result != 0) trace.warn("SetYResolution returns failure");
    }
    SetXResolution(presentX);
    SetYResolution(presentY);
    return result;
}

int32_t TScanModule::GetXScale(double* current, double* min, double* max) {
    const MethodTrace trace{"TScanModule::GetXScale"};
    return getScale(negotiation_, trace, ICAP_XSCALING, current, min, max);
}

int32_t TScanModule::SetXScale(double scale) {
    const MethodTrace trace{"TScanModule::SetXScale"};
    return negotiation_.set(trace, {ICAP_XSCALING, fix32Type}, scale);
}

int32_t TScanModule::GetYScale(double* current, double* min, double* max) {
    const MethodTrace trace{"TScanModule::GetYScale"};
    return getScale(negotiation_, trace, ICAP_YSCALING, current, min, max);
}

int32_t TScanModule::SetYScale(double scale) {
    const MethodTrace trace{"TScanModule::SetYScale"};
    return negotiation_.set(trace, {ICAP_YSCALING, fix32Type}, scale);
}
