// The virtual scanner's settings: the template, the file, the environment, what is reported.
#include <doctest.h>
#include <windows.h>

#include <algorithm>
#include <string>
#include <vector>

#include "IniTemplate.h"
#include "Settings.h"

using vscan::FoundSetting;
using vscan::VirtualScannerSettings;

namespace {

using Lines = std::vector<std::string>;

const vscan::SettingKey* keyNamed(const std::string& name) {
    for (const vscan::SettingKey& key : vscan::settingKeys())
        if (key.name == name) return &key;
    return nullptr;
}

// The template with every default made a setting: ";Pages=1" becomes "Pages=1".
std::string activated(const std::string& text) {
    std::string result;
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t end = text.find('\n', start);
        const std::string line = text.substr(start, end - start);
        const bool setting = line.size() > 1 && line[0] == ';' && line[1] != ' ';
        result += (setting ? line.substr(1) : line) + "\n";
        if (end == std::string::npos) break;
        start = end + 1;
    }
    return result;
}

}  // namespace

TEST_CASE("the template of vscan.ini names every key once, in the order of the table, with its default") {
    Lines complaints;
    const auto found = vscan::parseIni(activated(vscan::iniTemplate), "vscan.ini", complaints);
    CHECK(complaints == Lines{});
    Lines inFile;
    for (const FoundSetting& setting : found)
        inFile.push_back(setting.key);
    Lines inTable;
    for (const vscan::SettingKey& key : vscan::settingKeys())
        inTable.push_back(key.name);
    CHECK(inFile == inTable);

    const VirtualScannerSettings defaults;
    for (const FoundSetting& setting : found) {
        CAPTURE(setting.key);
        const vscan::SettingKey* key = keyNamed(setting.key);
        REQUIRE(key);
        CHECK(key->show(defaults) == setting.value);
        VirtualScannerSettings settings;
        CHECK(key->apply(settings, setting.value));
        CHECK(key->show(settings) == setting.value);
    }
}

TEST_CASE("as it stands the template sets nothing") {
    Lines complaints;
    CHECK(vscan::parseIni(vscan::iniTemplate, "vscan.ini", complaints).empty());
    CHECK(complaints == Lines{});
}

TEST_CASE("every kind of value is read and shown") {
    const struct {
        const char* key;
        const char* text;
        const char* shown;
    } rows[] = {{"ProductName", "A Name", "A Name"},
                {"pages", "12", "12"},
                {"Pages", "0x10", "16"},
                {"BedWidth", "8.50", "8.5"},
                {"Planar", "yes", "1"},
                {"Paper", "letter", "Letter"},
                {"Paper", "3 x 4.25", "3x4.25"},
                {"PixelTypes", "gray, bw", "Gray,BW"},
                {"StripFaults", "OneMore,ExtraRows", nullptr},
                {"StripFaults", "ShortLast, ExtraRows", "ExtraRows,ShortLast"},
                {"RefusedCapabilities", "icap_gamma,0x8001,0x9999", "ICAP_GAMMA,KV_VERSION,0x9999"},
                {"RefusedMechanisms", "", ""},
                {"MaxBufferSize", "0", "0"},
                {"PreferredBufferSize", "AUTO", "auto"},
                {"FailConditionCode", "0", "0"},
                {"PendingCountError", "-1", "-1"},
                {"Pages", "12 pages", nullptr},
                {"Pages", "-1", nullptr},
                {"Pages", "", nullptr},
                {"BedWidth", "8,5", nullptr},
                {"Planar", "2", nullptr},
                {"PixelTypes", "", nullptr},
                {"Paper", "A99", nullptr},
                {"Protocol", "2.0", nullptr},
                {"RefusedCapabilities", "ICAP_NONSENSE", nullptr},
                {"ProductName", "a name of more than thirty-two characters", nullptr}};
    for (const auto& row : rows) {
        CAPTURE(row.key);
        CAPTURE(row.text);
        VirtualScannerSettings settings;
        const Lines complaints = vscan::applySettings(settings, {{row.key, row.text, "here"}});
        CHECK(complaints.empty() == (row.shown != nullptr));
        for (const vscan::SettingKey& key : vscan::settingKeys()) {
            if (_stricmp(key.name.c_str(), row.key) != 0) continue;
            CHECK(key.show(settings) == (row.shown ? row.shown : key.show(VirtualScannerSettings{})));
        }
    }
}

TEST_CASE("what can't be used is reported with its place, and changes nothing") {
    Lines complaints;
    VirtualScannerSettings settings;
    const auto found = vscan::parseIni(
        "\xEF\xBB\xBF; comment\r\nPages=1\r\n[Scanner]\r\n Pages = 3 "
        "\r\nColour=1\r\nResolution=high\r\nnonsense\r\n[Other]\r\nPages=9\r\n",
        "my.ini", complaints);
    for (const std::string& line : vscan::applySettings(settings, found))
        complaints.push_back(line);
    CHECK(complaints ==
          Lines{"my.ini line 2: \"Pages=1\" stands outside section [Scanner]; skipped",
                "my.ini line 7: \"nonsense\" is no setting (Key=Value)",
                "my.ini line 8: section [Other] is not [Scanner]; skipped",
                "my.ini line 9: \"Pages=9\" stands outside section [Scanner]; skipped",
                "my.ini line 5: there is no setting \"Colour\"",
                "my.ini line 6: Resolution can't be \"high\"; it takes a whole number from 50 to 2400"});
    CHECK(settings.pages == 3);
    CHECK(settings.resolution == 150);
}

TEST_CASE("settings that contradict each other are reported") {
    VirtualScannerSettings settings;
    CHECK(vscan::contradictions(settings) == Lines{});
    vscan::applySettings(settings, {{"PixelTypes", "BW,Gray", ""},
                                    {"BitDepth", "48", ""},
                                    {"MaxResolution", "100", ""},
                                    {"RefusedMechanisms", "Native", ""},
                                    {"BedWidth", "5", ""}});
    CHECK(vscan::contradictions(settings).size() == 4);
    settings.pixelType = TWPT_GRAY;
    CHECK(vscan::contradictions(settings).front() ==
          "BitDepth 48 doesn't go with PixelType Gray; its usual depth counts");
}

TEST_CASE("the environment overrides the file") {
    char folder[MAX_PATH], path[MAX_PATH];
    GetTempPathA(sizeof folder, folder);
    GetTempFileNameA(folder, "vsc", 0, path);
    const std::string text = "[Scanner]\r\nPages=3\r\nResolution=200\r\nBitDepth=8\r\nPixelType=Gray\r\n";
    const HANDLE file = CreateFileA(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    CloseHandle(file);
    SetEnvironmentVariableA("VSCAN_PAGES", "5");
    SetEnvironmentVariableA("VSCAN_PAGEZ", "6");
    Lines complaints;
    const VirtualScannerSettings settings = vscan::readSettings(path, complaints);
    SetEnvironmentVariableA("VSCAN_PAGES", nullptr);
    SetEnvironmentVariableA("VSCAN_PAGEZ", nullptr);
    DeleteFileA(path);
    CHECK(settings.pages == 5);
    CHECK(settings.resolution == 200);
    CHECK(complaints == Lines{"environment VSCAN_PAGEZ: there is no setting \"PAGEZ\""});

    complaints.clear();
    CHECK(vscan::readSettings(path, complaints).pages == 1);  // no file: the defaults, and no complaint
    CHECK(complaints == Lines{});
}
