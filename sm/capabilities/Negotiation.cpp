#include "capabilities/Negotiation.h"

#include <scanmodule/scanmodule.h>

Reading readValue(const LockedContainer& container, unsigned kinds, TW_UINT32& value) {
    switch (container.kind()) {
        case TWON_ENUMERATION:
            if (kinds & EnumCurrent) return ExtractEnumerationValue(container, &value, enumerationCurrent);
            break;
        case TWON_ONEVALUE:
            if (kinds & OneValue) return ExtractOneValue(container, &value);
            break;
        case TWON_RANGE:
            if (kinds & RangeCurrent) return ExtractRangeValue(container, &value, rangeCurrent);
            break;
    }
    return Reading::unhandled();
}

TW_UINT16 readEnumerationBounds(const LockedContainer& container, Bounds& bounds) {
    // Whole and fraction as one number have the order of the values.
    const auto ordered = [](TW_UINT32 item) { return static_cast<int32_t>(item << 16 | item >> 16); };
    TW_UINT32 least = 0, most = 0;
    bool isEmpty = true;
    const TW_UINT16 failure = forEachItem(container, [&](TW_UINT32 item) {
        if (isEmpty || ordered(item) < ordered(least)) least = item;
        if (isEmpty || ordered(item) > ordered(most)) most = item;
        isEmpty = false;
    });
    if (failure != TWCC_SUCCESS) return failure;
    constexpr Bounds ofNothing = {99999999.0, -99999999.0};
    bounds =
        isEmpty ? ofNothing : Bounds{fix32ToNumber(fix32FromBits(least)), fix32ToNumber(fix32FromBits(most))};
    return TWCC_SUCCESS;
}

TW_UINT16 readRangeField(const LockedContainer& container, RangeField field, double& value) {
    TW_UINT32 bits;
    if (const TW_UINT16 failure = ExtractRangeValue(container, &bits, field)) return failure;
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

Negotiation::Negotiation(Link& link) : link_(link), mechanism_(SM_MECH_MEMORY) {}

TW_UINT16 Negotiation::exchange(TW_UINT16 message, TW_CAPABILITY& cap) {
    const MethodTrace trace{"TScanModule::CapNegotiate"};
    if (link_.checkAvailable(trace) != 0) return TWRC_FAILURE;
    const TW_UINT16 code = link_.source(DG_CONTROL, DAT_CAPABILITY, message, &cap);
    if (code == TWRC_SUCCESS && message == MSG_SET && cap.Cap == ICAP_XFERMECH) {
        trace.note("Especially processing MSG_SET/ICAP_XFERMECH");
        recordMechanism(cap);
    }
    return code;
}

// Reads the container that the caller built, so it also serves a host's own smCapNegotiate.
void Negotiation::recordMechanism(const TW_CAPABILITY& cap) {
    TW_UINT32 mechanism = TWSX_MEMORY;
    readValue(cap, OneValue | EnumCurrent, mechanism);
    mechanism_ = mechanismCode(mechanism);
}

int32_t Negotiation::set(const Caller& caller, const Setter& setter, double value) {
    if (const int32_t refused = link_.checkReady(caller)) return refused;
    return send(caller, setter, value);
}

int32_t Negotiation::send(const Caller& caller, const Setter& setter, double value) {
    int32_t result = 0;
    for (const TW_UINT16 itemType : setter.itemTypes) {
        TW_CAPABILITY cap = {setter.capability, 0, nullptr};
        const TW_UINT32 item = itemType == TWTY_FIX32 ? fix32ToBits(numberToFix32(static_cast<float>(value)))
                                                      : static_cast<TW_UINT32>(truncated(value));
        result = BuildupOneValue(&cap, itemType, item);
        if (result != 0) {
            caller.warn(setter.buildFailure);
        } else if (sendContainer(caller, cap, result)) {
            break;
        }
    }
    return result;
}

bool Negotiation::sendContainer(const Caller& caller, TW_CAPABILITY& cap, int32_t& result) {
    const ContainerOwner owner{cap};
    result = 0;
    if (exchange(MSG_SET, cap) == TWRC_SUCCESS) return true;
    caller.warn("CapNegotiate returns failure");
    result = link_.conditionCode();
    return false;
}

int32_t Negotiation::setSupported(const Caller& caller, TW_UINT16 capability, uint16_t codes,
                                  uint16_t presentCode) {
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
        caller.warn("BuildupEnumeration returns failure");
        return failure;
    }
    int32_t result;
    sendContainer(caller, cap, result);
    return result;
}

int32_t Negotiation::get(const Caller& caller, const Getter& getter, uint16_t* value, Conversion convert) {
    if (const int32_t refused = link_.checkReady(caller)) return refused;
    const SourceValue answer = ask(caller, getter);
    if (answer.value) *value = convert(*answer.value);
    return answer.result;
}

SourceValue Negotiation::ask(const Caller& caller, const Getter& getter) {
    SourceValue answer;
    answer.result =
        askEach(caller, getter.capability, getter.messages, [&](const LockedContainer& container) {
            TW_UINT32 bits = 0;
            const Reading reading = readValue(container, getter.containers, bits);
            if (reading.succeeded()) answer.value = bits;
            return reading;
        });
    return answer;
}

int32_t Negotiation::getSupported(const Caller& caller, TW_UINT16 capability, uint16_t* codes) {
    if (const int32_t refused = link_.checkReady(caller)) return refused;
    *codes = 0;
    return askEach(caller, capability, getOnly, [&](const LockedContainer& container) -> Reading {
        if (container.kind() != TWON_ENUMERATION) return Reading::unhandled();
        return forEachItem(container, [&](TW_UINT32 item) {
            if (item <= lastCodedValue) *codes = static_cast<uint16_t>(*codes | 1 << item);
        });
    });
}
