// The TWAIN standard's names, and the maker's, of the capabilities that twain_types.h numbers.
#pragma once

#include <scanmodule/twain_types.h>

#include <array>

namespace shared {

struct NamedCapability {
    TW_UINT16 id;
    const char* name;  // "ICAP_UNITS"
};

extern const std::array<NamedCapability, 44> namedCapabilities;

}  // namespace shared
