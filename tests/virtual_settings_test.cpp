// The virtual scanner's settings: the template, the file, the environment, what is reported.
#include <doctest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "settings/IniTemplate.h"
#include "settings/SettingKeys.h"
#include "settings/SettingsChecks.h"
#include "settings/SettingsReader.h"
#include "support/Lines.h"

using vscan::VirtualScannerSettings;

namespace {

// All settings as text: the template's defaults when nothing was set.
Lines shown(const VirtualScannerSettings& settings) {
    Lines lines;
    for (const vscan::SettingKey& key : vscan::settingKeys())
        lines.push_back(key.name + "=" + key.show(settings));
    return lines;
}

}  // namespace

TEST_CASE("the template of vscan.ini sets nothing, and names every key once with its default") {
    std::vector<std::string> complaints;
    CHECK(vscan::parseIni(vscan::iniTemplate, "vscan.ini", complaints).empty());
    // With every default made a setting: ";Pages=1" becomes "Pages=1".
    std::istringstream lines(vscan::iniTemplate);
    std::string activated;
    for (std::string line; std::getline(lines, line);)
        activated += (line.size() > 1 && line[0] == ';' && line[1] != ' ' ? line.substr(1) : line) + "\n";
    Lines inFile;
    for (const auto& setting : vscan::parseIni(activated, "vscan.ini", complaints))
        inFile.push_back(setting.key + "=" + setting.value);
    CHECK(inFile == shown({}));
    CHECK(complaints.empty());
}

TEST_CASE("the environment overrides the file; what can't be used is reported with its place, and skipped") {
    const std::string path = (std::filesystem::temp_directory_path() / "my.ini").string();
    std::ofstream(path, std::ios::binary)
        << "\xEF\xBB\xBF; comment\r\nPages=1\r\n[Scanner]\r\n Pages = 3 \r\nColour=1\r\nResolution=high\r\n"
           "nonsense\r\nPixelType=Gray\r\nBitDepth=48\r\nRefusedMechanisms=Native\r\n[Other]\r\n[scanner]\r\n"
           "ProductName=A Name\nFirmwareVersion=0x10\nDelay=1\nPlanar=yes\nPaper=3 x 4.25\n"
           "pixeltypes=gray, bw\nStripFaults=ShortLast, ExtraRows\n"
           "RefusedCapabilities=icap_gamma,0x8001,0x9999\n"
           "Pages=-1\nBedWidth=8,5\nReadOnlyCapabilities=ICAP_NONSENSE\n"
           "ProductFamily=a name of more than thirty-two characters\n";
    SetEnvironmentVariableA("VSCAN_DELAY", "15");
    SetEnvironmentVariableA("VSCAN_PAGEZ", "6");
    std::vector<std::string> complaints;
    Lines changed;
    const Lines defaults = shown({}), read = shown(vscan::readSettings(path, complaints));
    for (size_t i = 0; i < defaults.size(); ++i)
        if (read[i] != defaults[i]) changed.push_back(read[i]);
    CHECK(changed == Lines{"ProductName=A Name", "FirmwareVersion=16", "Paper=3x4.25", "PixelTypes=Gray,BW",
                           "PixelType=Gray", "BitDepth=48", "Pages=3", "Planar=1",
                           "StripFaults=ExtraRows,ShortLast", "Delay=15", "RefusedMechanisms=Native",
                           "RefusedCapabilities=ICAP_GAMMA,KV_VERSION,0x9999"});
    CHECK(Lines(complaints.begin(), complaints.end()) ==
          Lines{"my.ini line 2: \"Pages=1\" stands outside section [Scanner]; skipped",
                "my.ini line 7: \"nonsense\" is no setting (Key=Value)",
                "my.ini line 11: section [Other] is not [Scanner]; skipped",
                "my.ini line 5: there is no setting \"Colour\"",
                "my.ini line 6: Resolution can't be \"high\"; it takes a whole number from 50 to 2400",
                "my.ini line 21: Pages can't be \"-1\"; it takes a whole number from 0 to 9999",
                "my.ini line 22: BedWidth can't be \"8,5\"; it takes a number from 1 to 100",
                "my.ini line 23: ReadOnlyCapabilities can't be \"ICAP_NONSENSE\"; it takes a list, with "
                "commas, of capability names or numbers",
                "my.ini line 24: ProductFamily can't be \"a name of more than thirty-two characters\"; it "
                "takes a text of at most 32 characters",
                "environment VSCAN_PAGEZ: there is no setting \"PAGEZ\"",
                "BitDepth 48 doesn't go with PixelType Gray; its usual depth counts",
                "TransferMechanism Native is among RefusedMechanisms; the first other one counts"});
    for (const char* name : {"VSCAN_DELAY", "VSCAN_PAGEZ"})
        SetEnvironmentVariableA(name, nullptr);
    DeleteFileA(path.c_str());
    complaints.clear();
    // Without a file: the defaults, and no complaint.
    CHECK(shown(vscan::readSettings(path, complaints)) == shown({}));
    CHECK(complaints.empty());
}
