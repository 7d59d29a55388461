#include "WindowsFiles.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

constexpr const char* hostKey = "Software\\Lumivo";
constexpr const char* folderValue = "DataDir";

std::string programFolder() {
    char program[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, program, sizeof program);
    std::string folder(program);
    return folder.substr(0, folder.find_last_of('\\'));
}

// The profile functions keep a file in memory; this makes them look at the disk again.
void forgetCachedProfile(const std::string& path) {
    WritePrivateProfileStringA(nullptr, nullptr, nullptr, path.c_str());
}

std::optional<std::string> registryText(const char* value) {
    char text[MAX_PATH] = "";
    DWORD size = sizeof text;
    const LONG result = RegGetValueA(HKEY_CURRENT_USER, hostKey, value, RRF_RT_REG_SZ, nullptr, text, &size);
    return result == ERROR_SUCCESS ? std::optional<std::string>(text) : std::nullopt;
}

void setRegistryText(const char* value, const std::optional<std::string>& text) {
    if (!text) {
        RegDeleteKeyA(HKEY_CURRENT_USER, hostKey);
        return;
    }
    HKEY key = nullptr;
    RegCreateKeyA(HKEY_CURRENT_USER, hostKey, &key);
    RegSetValueExA(key, value, 0, REG_SZ, reinterpret_cast<const BYTE*>(text->c_str()),
                   static_cast<DWORD>(text->size() + 1));
    RegCloseKey(key);
}

}  // namespace

std::string windowsDirectory() {
    char directory[MAX_PATH] = "";
    GetWindowsDirectoryA(directory, sizeof directory);
    return directory;
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool fileExists(const std::string& path) {
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

SavedFile::SavedFile(std::string path) : path_(std::move(path)) {
    if (exists()) before_ = content();
}

SavedFile::~SavedFile() {
    if (before_)
        write(*before_);
    else
        remove();
}

void SavedFile::write(const std::string& content) {
    {
        std::ofstream file(path_, std::ios::binary | std::ios::trunc);
        file << content;
    }
    forgetCachedProfile(path_);
}

void SavedFile::remove() {
    DeleteFileA(path_.c_str());
    forgetCachedProfile(path_);
}

TraceSwitches::TraceSwitches() : file_(windowsDirectory() + "\\DEBUGSM.INI") {
    file_.write("[Debug]\r\nTrace=1\r\nWarning=1\r\n");
}

void TraceSwitches::set(const char* key, const char* value) {
    WritePrivateProfileStringA("Debug", key, value, file_.path().c_str());
}

HostDataFolder::HostDataFolder(const std::string& settings, Ending ending)
    : before_(registryText(folderValue)) {
    char temporary[MAX_PATH] = "";
    GetTempPathA(sizeof temporary, temporary);
    folder_ = std::string(temporary) + "scanmodule-host-data\\";
    CreateDirectoryA(folder_.c_str(), nullptr);
    std::ofstream(folder_ + "ZR_Scan.INI", std::ios::binary) << settings;
    forgetCachedProfile(folder_ + "ZR_Scan.INI");
    setRegistryText(folderValue,
                    ending == Ending::Backslash ? folder_ : folder_.substr(0, folder_.size() - 1));
}

HostDataFolder::~HostDataFolder() {
    setRegistryText(folderValue, before_);
    DeleteFileA((folder_ + "ZR_Scan.INI").c_str());
    RemoveDirectoryA(folder_.c_str());
}

void ManagerFile::install(Kind kind) {
    // Small letters: where the disk tells them apart, the same file as the one that was put there before.
    const std::string target = windowsDirectory() + "\\twain_32.dll";
    if (kind == Kind::Missing) {
        if (!DeleteFileA(target.c_str()) && GetLastError() != ERROR_FILE_NOT_FOUND)
            throw std::runtime_error("the manager can't be removed: error " + std::to_string(GetLastError()));
        return;
    }
    const char* const name = kind == Kind::Scripted ? "\\twain_32.dll" : "\\entryless_manager.dll";
    if (!CopyFileA((programFolder() + name).c_str(), target.c_str(), FALSE))
        throw std::runtime_error("the manager can't be put at " + target);
}
