// The table that ties the keys of vscan.ini to the settings.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "settings/Settings.h"

namespace vscan {

// One key. `apply` reads a text into the settings and answers whether it could; `show` writes the present
// value as it would stand in the file.
struct SettingKey {
    std::string name;
    std::string accepts;  // for messages: "a whole number from 0 to 9999"
    std::function<bool(VirtualScannerSettings&, const std::string&)> apply;
    std::function<std::string(const VirtualScannerSettings&)> show;
};
const std::vector<SettingKey>& settingKeys();

// A setting as found somewhere. `origin` is where, for messages: "vscan.ini line 3", "environment
// VSCAN_PAGES".
struct FoundSetting {
    std::string key;
    std::string value;
    std::string origin;
};

// Applies the settings in order, later ones winning, and answers one line for each that is unknown or bad;
// such a setting changes nothing. Keys are compared without regard to case.
std::vector<std::string> applySettings(VirtualScannerSettings& settings,
                                       const std::vector<FoundSetting>& found);

}  // namespace vscan
