// Where settings come from: the text of vscan.ini and the environment.
#pragma once

#include <string>
#include <vector>

#include "settings/SettingKeys.h"

namespace vscan {

// The settings of section [Scanner] in the text of an INI file; lines that are no setting are reported.
std::vector<FoundSetting> parseIni(const std::string& text, const std::string& fileName,
                                   std::vector<std::string>& complaints);
// The settings in the environment: every variable VSCAN_<KEY>.
std::vector<FoundSetting> environmentSettings();

// What the data source does when it starts: the defaults, changed by the file, changed by the environment.
VirtualScannerSettings readSettings(const std::string& iniPath, std::vector<std::string>& complaints);

}  // namespace vscan
