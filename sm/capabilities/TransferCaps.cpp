// Transfer mechanism and count.
#include "TScanModule.h"

namespace {

// What is no code is sent as given.
TW_UINT16 mechanismOfCode(uint16_t code) {
    switch (code) {
        case SM_MECH_NATIVE:
            return TWSX_NATIVE;
        case SM_MECH_FILE:
            return TWSX_FILE;
        case SM_MECH_MEMORY:
            return TWSX_MEMORY;
        default:
            return code;
    }
}

}  // namespace

int32_t TScanModule::GetXferMech(uint16_t* code) {
    const MethodTrace trace{"TScanModule::GetXferMech"};
    return negotiation_.get(trace, {ICAP_XFERMECH, currentThenAll, OneValue | EnumCurrent}, code,
                            mechanismCode);
}

int32_t TScanModule::SetXferMech(uint16_t code) {
    const MethodTrace trace{"TScanModule::SetXferMech"};
    return negotiation_.set(trace, {ICAP_XFERMECH, enumeratedTypes}, mechanismOfCode(code));
}

int32_t TScanModule::GetXferCount(int16_t* count) {
    const MethodTrace trace{"TScanModule::GetXferCount"};
    // The same 16 bits, read as signed: -1 is any number.
    return negotiation_.get(trace, {CAP_XFERCOUNT, currentThenAll, OneValue | EnumCurrent},
                            reinterpret_cast<uint16_t*>(count));
}

int32_t TScanModule::SetXferCount(int32_t count) {
    const MethodTrace trace{"TScanModule::SetXferCount"};
    return negotiation_.set(trace, {CAP_XFERCOUNT, countTypes}, count);
}
