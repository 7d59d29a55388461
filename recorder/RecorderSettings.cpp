#include "RecorderSettings.h"

namespace recorder {

namespace {

std::string folderOf(HMODULE library) {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(library, path, sizeof path);
    const std::string own(path);
    return own.substr(0, own.find_last_of("\\/") + 1);
}

std::string valueOf(const std::string& iniPath, const std::string& key) {
    char value[MAX_PATH] = "";
    const DWORD length = GetEnvironmentVariableA(("RECORDER_" + key).c_str(), value, sizeof value);
    if (length > 0 && length < sizeof value) return value;
    GetPrivateProfileStringA("Recorder", key.c_str(), "", value, sizeof value, iniPath.c_str());
    return value;
}

std::string temporaryFile() {
    char folder[MAX_PATH] = "";
    GetTempPathA(sizeof folder, folder);
    return std::string(folder) + "scanner-" + std::to_string(GetCurrentProcessId()) + ".scanrec";
}

}  // namespace

RecorderSettings readSettings(HMODULE library) {
    const std::string iniPath = folderOf(library) + "recorder.ini";
    RecorderSettings settings;
    settings.source = valueOf(iniPath, "Source");
    settings.output = valueOf(iniPath, "Output");
    if (settings.output.empty()) settings.output = temporaryFile();
    const std::string pixels = valueOf(iniPath, "Pixels");
    if (pixels == "hash") settings.pixels = record::PixelPolicy::Hash;
    if (pixels == "blank") settings.pixels = record::PixelPolicy::Blank;
    return settings;
}

}  // namespace recorder
