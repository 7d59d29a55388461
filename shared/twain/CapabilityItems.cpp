#include "twain/CapabilityItems.h"

#include <cstring>

namespace shared {

std::size_t itemSize(TW_UINT16 itemType) {
    switch (itemType) {
        case TWTY_INT8:
        case TWTY_UINT8:
            return 1;
        case TWTY_INT16:
        case TWTY_UINT16:
        case TWTY_BOOL:
            return 2;
        case TWTY_INT32:
        case TWTY_UINT32:
        case TWTY_FIX32:
            return 4;
        default:
            return 0;
    }
}

double itemNumber(TW_UINT16 itemType, const void* item) {
    TW_UINT32 bits = 0;
    std::memcpy(&bits, item, itemSize(itemType));
    switch (itemType) {
        case TWTY_INT8:
            return static_cast<TW_INT8>(bits);
        case TWTY_INT16:
            return static_cast<TW_INT16>(bits);
        case TWTY_INT32:
            return static_cast<TW_INT32>(bits);
        case TWTY_FIX32:
            return fromFix32({static_cast<TW_INT16>(bits), static_cast<TW_UINT16>(bits >> 16)});
        default:
            return bits;
    }
}

double fromFix32(const TW_FIX32& value) {
    return value.Whole + value.Frac / 65536.0;
}

}  // namespace shared
