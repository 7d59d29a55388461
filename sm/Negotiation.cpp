#include "Negotiation.h"

#include "TScanModule.h"

Reading readValue(const TW_CAPABILITY& cap, unsigned containers, TW_UINT32& value) {
    switch (cap.ConType) {
        case TWON_ENUMERATION:
            if (containers & EnumCurrent) return ExtractEnumerationValue(&cap, &value, enumerationCurrent);
            break;
        case TWON_ONEVALUE:
            if (containers & OneValue) return ExtractOneValue(&cap, &value);
            break;
        case TWON_RANGE:
            if (containers & RangeCurrent) return ExtractRangeValue(&cap, &value, rangeCurrent);
            break;
    }
    return std::nullopt;
}

TW_UINT16 readEnumerationBounds(const TW_CAPABILITY& cap, Bounds& bounds) {
    Bounds found = {99999999.0, -99999999.0};
    const TW_UINT16 failure = forEachItem(cap, [&](TW_UINT32 item) {
        const double value = fix32ToNumber(fix32FromBits(item));
        if (value < found.min) found.min = value;
        if (value > found.max) found.max = value;
    });
    if (failure == TWCC_SUCCESS) bounds = found;
    return failure;
}

TW_UINT16 readRangeField(const TW_CAPABILITY& cap, RangeField field, double& value) {
    TW_UINT32 bits;
    if (const TW_UINT16 failure = ExtractRangeValue(&cap, &bits, field)) return failure;
    value = fix32ToNumber(fix32FromBits(bits));
    return TWCC_SUCCESS;
}

TW_UINT16 valueOfCode(uint16_t code) {
    for (TW_UINT16 value = 0; value <= lastCodedValue; ++value) {
        if (code == 1 << value) return value;
    }
    return code;
}

uint16_t mechanismCode(TW_UINT32 mechanism) {
    switch (mechanism) {
        case TWSX_NATIVE:
            return SM_MECH_NATIVE;
        case TWSX_FILE:
            return SM_MECH_FILE;
        default:
            return SM_MECH_MEMORY;
    }
}

TW_UINT16 TScanModule::CapNegotiate(TW_UINT16 message, TW_CAPABILITY* cap) {
    const MethodTrace trace{"TScanModule::CapNegotiate"};
    if (checkAvailable(trace) != 0) return TWRC_FAILURE;
    const TW_UINT16 code = callSource(DG_CONTROL, DAT_CAPABILITY, message, cap);
    if (code == TWRC_SUCCESS && message == MSG_SET && cap->Cap == ICAP_XFERMECH) {
        trace.note("Especially processing MSG_SET/ICAP_XFERMECH");
        recordXferMech(*cap);
    }
    return code;
}

// Reads the container that the caller built, so it also serves a host's own smCapNegotiate.
void TScanModule::recordXferMech(const TW_CAPABILITY& cap) {
    TW_UINT32 mechanism = TWSX_MEMORY;
    readValue(cap, OneValue | EnumCurrent, mechanism);
    xferMech_ = mechanismCode(mechanism);
}

int32_t TScanModule::setValue(const MethodTrace& trace, const Setter& setter, double value, TracePoint at) {
    if (const int32_t refused = checkReady(trace, stateSourceOpen, at)) return refused;
    return sendValue(trace.method(), setter, value, at);
}

int32_t TScanModule::sendValue(const char* method, const Setter& setter, double value, TracePoint at) {
    int32_t result = 0;
    for (const TW_UINT16 itemType : setter.itemTypes) {
        TW_CAPABILITY cap = {setter.capability, 0, nullptr};
        const TW_UINT32 item = itemType == TWTY_FIX32 ? fix32ToBits(numberToFix32(static_cast<float>(value)))
                                                      : static_cast<TW_UINT32>(truncated(value));
        result = BuildupOneValue(&cap, itemType, item);
        if (result != 0) {
            trace::write(TraceLevel::Warning, at, setter.buildFailure, " in ", method);
        } else if (sendContainer(method, cap, result, at)) {
            break;
        }
    }
    return result;
}

bool TScanModule::sendContainer(const char* method, TW_CAPABILITY& cap, int32_t& result, TracePoint at) {
    const ContainerOwner owner{cap};
    result = 0;
    if (CapNegotiate(MSG_SET, &cap) == TWRC_SUCCESS) return true;
    trace::write(TraceLevel::Warning, at, "CapNegotiate returns failure in ", method);
    result = GetTWAINStatusCode();
    return false;
}

int32_t TScanModule::getValue(const MethodTrace& trace, const Getter& getter, uint16_t* value,
                              Conversion convert, TracePoint at) {
    if (const int32_t refused = checkReady(trace, stateSourceOpen, at)) return refused;
    const Answer answer = askValue(trace, getter, at);
    if (answer.value) *value = convert(*answer.value);
    return answer.result;
}

Answer TScanModule::askValue(const MethodTrace& trace, const Getter& getter, TracePoint at) {
    Answer answer;
    const auto read = [&](const TW_CAPABILITY& cap) {
        TW_UINT32 bits = 0;
        const Reading reading = readValue(cap, getter.containers, bits);
        if (reading == Reading{TWCC_SUCCESS}) answer.value = bits;
        return reading;
    };
    answer.result = ask(
        trace, getter.capability, getter.messages, read, [] {}, at);
    return answer;
}

int32_t TScanModule::getSupported(const MethodTrace& trace, TW_UINT16 capability, uint16_t* codes,
                                  TracePoint at) {
    if (const int32_t refused = checkReady(trace, stateSourceOpen, at)) return refused;
    *codes = 0;
    const auto collect = [&](const TW_CAPABILITY& cap) -> Reading {
        if (cap.ConType != TWON_ENUMERATION) return std::nullopt;
        return forEachItem(cap, [&](TW_UINT32 item) {
            if (item <= lastCodedValue) *codes = static_cast<uint16_t>(*codes | 1 << item);
        });
    };
    return ask(
        trace, capability, allOnly, collect, [] {}, at);
}

int32_t TScanModule::setSupported(const MethodTrace& trace, TW_UINT16 capability, uint16_t codes,
                                  uint16_t presentCode, TracePoint at) {
    TW_UINT16 values[lastCodedValue + 1];
    TW_UINT32 count = 0;
    TW_UINT32 currentIndex = 0;
    for (TW_UINT16 value = 0; value <= lastCodedValue; ++value) {
        const uint16_t code = static_cast<uint16_t>(1 << value);
        if ((codes & code) == 0) continue;
        if (code == presentCode) currentIndex = count;
        values[count++] = value;
    }
    TW_CAPABILITY cap = {capability, 0, nullptr};
    if (const int32_t failure =
            BuildupEnumeration(&cap, TWTY_UINT16, count, currentIndex, currentIndex, values)) {
        trace.warn("BuildupEnumeration returns failure", at);
        return failure;
    }
    int32_t result;
    sendContainer(trace.method(), cap, result, at);
    return result;
}
