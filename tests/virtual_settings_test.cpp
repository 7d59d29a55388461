// The virtual scanner's settings: the template, the file, the environment, what is reported.
#include <doctest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

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

TEST_CASE("every kind of value is read and shown") {
    const struct {
        const char *key, *text, *shown;  // null: refused
    } rows[] = {{"ProductName", "A Name", "ProductName=A Name"},
                {"pages", "0x10", "Pages=16"},
                {"Planar", "yes", "Planar=1"},
                {"Paper", "3 x 4.25", "Paper=3x4.25"},
                {"PixelTypes", "gray, bw", "PixelTypes=Gray,BW"},
                {"StripFaults", "ShortLast, ExtraRows", "StripFaults=ExtraRows,ShortLast"},
                {"RefusedCapabilities", "icap_gamma,0x8001,0x9999", "=ICAP_GAMMA,KV_VERSION,0x9999"},
                {"Pages", "-1", nullptr},
                {"BedWidth", "8,5", nullptr},
                {"RefusedCapabilities", "ICAP_NONSENSE", nullptr},
                {"ProductName", "a name of more than thirty-two characters", nullptr}};
    for (const auto& row : rows) {
        CAPTURE(row.text);
        VirtualScannerSettings settings;
        const bool taken = vscan::applySettings(settings, {{row.key, row.text, "here"}}).empty();
        CHECK(taken == (row.shown != nullptr));
        CHECK((taken ? shown(settings).with(row.shown).size() == 1 : shown(settings) == shown({})));
    }
}

TEST_CASE("the environment overrides the file; what can't be used is reported with its place, and skipped") {
    const std::string path = (std::filesystem::temp_directory_path() / "my.ini").string();
    std::ofstream(path, std::ios::binary)
        << "\xEF\xBB\xBF; comment\r\nPages=1\r\n[Scanner]\r\n Pages = 3 \r\nColour=1\r\nResolution=high\r\n"
           "nonsense\r\nPixelType=Gray\r\nBitDepth=48\r\nRefusedMechanisms=Native\r\n[Other]\r\n";
    SetEnvironmentVariableA("VSCAN_PAGES", "5");
    SetEnvironmentVariableA("VSCAN_PAGEZ", "6");
    std::vector<std::string> complaints;
    CHECK(vscan::readSettings(path, complaints).pages == 5);
    CHECK(Lines(complaints.begin(), complaints.end()) ==
          Lines{"my.ini line 2: \"Pages=1\" stands outside section [Scanner]; skipped",
                "my.ini line 7: \"nonsense\" is no setting (Key=Value)",
                "my.ini line 11: section [Other] is not [Scanner]; skipped",
                "my.ini line 5: there is no setting \"Colour\"",
                "my.ini line 6: Resolution can't be \"high\"; it takes a whole number from 50 to 2400",
                "environment VSCAN_PAGEZ: there is no setting \"PAGEZ\"",
                "BitDepth 48 doesn't go with PixelType Gray; its usual depth counts",
                "TransferMechanism Native is among RefusedMechanisms; the first other one counts"});
    SetEnvironmentVariableA("VSCAN_PAGES", nullptr);
    SetEnvironmentVariableA("VSCAN_PAGEZ", nullptr);
    CHECK(vscan::readSettings(path, complaints).pages == 3);
    DeleteFileA(path.c_str());
    complaints.clear();
    // Without a file: the defaults, and no complaint.
    CHECK(shown(vscan::readSettings(path, complaints)) == shown({}));
    CHECK(complaints.empty());
}
