#include "settings/SettingsReader.h"

#include <windows.h>

#include <cstdio>
#include <memory>

#include "settings/SettingsChecks.h"
#include "settings/TextValues.h"

namespace vscan {

namespace {

constexpr const char* sectionName = "Scanner";
const std::string variablePrefix = "VSCAN_";

std::string fileNameOf(const std::string& path) {
    const std::size_t slash = path.find_last_of("\\/:");
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The file's text; empty when there is no such file, which is no fault.
std::string readText(const std::string& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    std::string text;
    if (!file) return text;
    char buffer[4096];
    while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, file.get()))
        text.append(buffer, count);
    return text;
}

}  // namespace

std::vector<FoundSetting> parseIni(const std::string& text, const std::string& fileName,
                                   std::vector<std::string>& complaints) {
    std::vector<FoundSetting> found;
    bool inSection = false;
    std::size_t start = text.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
    for (int number = 1; start < text.size(); ++number) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        const std::string line = trimmed(text.substr(start, end - start));
        start = end + 1;
        if (line.empty() || line[0] == ';' || line[0] == '#') continue;
        const std::string origin = fileName + " line " + std::to_string(number);
        const std::size_t equals = line.find('=');
        if (line[0] == '[') {
            inSection = sameText(line, std::string("[") + sectionName + "]");
            if (!inSection) complaints.push_back(origin + ": section " + line + " is not [Scanner]; skipped");
        } else if (equals == std::string::npos) {
            complaints.push_back(origin + ": \"" + line + "\" is no setting (Key=Value)");
        } else if (inSection) {
            found.push_back({trimmed(line.substr(0, equals)), trimmed(line.substr(equals + 1)), origin});
        } else {
            complaints.push_back(origin + ": \"" + line + "\" stands outside section [Scanner]; skipped");
        }
    }
    return found;
}

std::vector<FoundSetting> environmentSettings() {
    std::vector<FoundSetting> found;
    char* block = GetEnvironmentStringsA();
    if (!block) return found;
    for (const char* entry = block; *entry; entry += lstrlenA(entry) + 1) {
        const std::string variable = entry;
        const std::size_t equals = variable.find('=');
        if (equals == std::string::npos ||
            !sameText(variable.substr(0, variablePrefix.size()), variablePrefix))
            continue;
        const std::string name = variable.substr(0, equals);
        found.push_back({name.substr(variablePrefix.size()), trimmed(variable.substr(equals + 1)),
                         "environment " + name});
    }
    FreeEnvironmentStringsA(block);
    return found;
}

VirtualScannerSettings readSettings(const std::string& iniPath, std::vector<std::string>& complaints) {
    VirtualScannerSettings settings;
    const auto apply = [&](const std::vector<FoundSetting>& found) {
        for (std::string& complaint : applySettings(settings, found))
            complaints.push_back(std::move(complaint));
    };
    apply(parseIni(readText(iniPath), fileNameOf(iniPath), complaints));
    apply(environmentSettings());
    for (std::string& line : contradictions(settings))
        complaints.push_back(std::move(line));
    return settings;
}

}  // namespace vscan
