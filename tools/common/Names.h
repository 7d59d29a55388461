#pragma once

#include <array>
#include <string>

namespace host {

// A word for a value and the code that the module knows it by.
struct NamedCode {
    const char* name;
    unsigned short code;
};

extern const std::array<NamedCode, 4> scanModes;
extern const std::array<NamedCode, 9> pixelTypes;
extern const std::array<NamedCode, 9> papers;
extern const std::array<NamedCode, 3> mechanisms;
extern const std::array<NamedCode, 4> waysToScan;  // in the order of Mechanism
extern const std::array<NamedCode, 6> units;
extern const std::array<NamedCode, 2> flavors;

template <size_t Count>
std::string nameOf(const std::array<NamedCode, Count>& names, unsigned code) {
    for (const NamedCode& entry : names)
        if (entry.code == code) return entry.name;
    return std::to_string(code);
}

// What the source switches on and off beside the settings that every source has.
enum class Switch {
    UnsharpMask,
    DraftScan,
    Descreening,
    ExposureMode,
    UiMode,
    ClearPage,
    Pim,
    LightPath,
    Indicators,
    Feeder,
    AutoFeed,
};

struct SwitchName {
    Switch which;
    const char* name;
    int highest;  // values go from 0 to this; 1 also reads "on" and "off"
    const char* meaning;
};

extern const std::array<SwitchName, 11> switchNames;

const SwitchName& nameOf(Switch which);

}  // namespace host
