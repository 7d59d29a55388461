// How an operation ended: the TWAIN standard's return code, and the condition code behind it.
#pragma once

#include "scanmodule/twain_types.h"

namespace vscan {

struct Outcome {
    TW_UINT16 returnCode = TWRC_SUCCESS;
    TW_UINT16 conditionCode = TWCC_SUCCESS;
};

inline Outcome success() {
    return {};
}
inline Outcome failure(int conditionCode) {
    return {TWRC_FAILURE, static_cast<TW_UINT16>(conditionCode)};
}
// It was done, but not quite as asked.
inline Outcome adjusted() {
    return {TWRC_CHECKSTATUS, TWCC_SUCCESS};
}
inline Outcome returning(int returnCode) {
    return {static_cast<TW_UINT16>(returnCode), TWCC_SUCCESS};
}

}  // namespace vscan
