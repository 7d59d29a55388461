#include "WindowsFiles.h"

#include <fstream>
#include <iterator>

namespace {

void putFile(const std::string& path, const Saved::Text& content) {
    if (content)
        std::ofstream(path, std::ios::binary | std::ios::trunc) << *content;
    else
        DeleteFileA(path.c_str());
    // The profile functions keep a file in memory; this makes them look at the disk again.
    WritePrivateProfileStringA(nullptr, nullptr, nullptr, path.c_str());
}

Saved::Text registryText(const std::string& key, const std::string& value) {
    char text[MAX_PATH] = "";
    DWORD size = sizeof text;
    const LONG result =
        RegGetValueA(HKEY_CURRENT_USER, key.c_str(), value.c_str(), RRF_RT_REG_SZ, nullptr, text, &size);
    return result == ERROR_SUCCESS ? Saved::Text(text) : std::nullopt;
}

void putRegistryText(const std::string& key, const std::string& value, const Saved::Text& text) {
    HKEY handle = nullptr;
    RegCreateKeyA(HKEY_CURRENT_USER, key.c_str(), &handle);
    if (text)
        RegSetValueExA(handle, value.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text->c_str()),
                       static_cast<DWORD>(text->size() + 1));
    else
        RegDeleteValueA(handle, value.c_str());
    RegCloseKey(handle);
}

}  // namespace

std::string windowsDirectory() {
    char directory[MAX_PATH] = "";
    GetWindowsDirectoryA(directory, sizeof directory);
    return directory;
}

std::string temporaryFolder() {
    char folder[MAX_PATH] = "";
    GetTempPathA(sizeof folder, folder);
    return folder;
}

std::string programFolder() {
    char program[MAX_PATH] = "";
    GetModuleFileNameA(nullptr, program, sizeof program);
    return std::string(program, std::string(program).find_last_of('\\'));
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool fileExists(const std::string& path) {
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

SavedFile::SavedFile(const std::string& path)
    : Saved([path] { return fileExists(path) ? Text(readFile(path)) : std::nullopt; },
            [path](const Text& content) { putFile(path, content); }),
      path_(path) {}

SavedRegistryText::SavedRegistryText(const std::string& key, const std::string& value)
    : Saved([=] { return registryText(key, value); },
            [=](const Text& text) { putRegistryText(key, value, text); }) {}

ManagerFile::ManagerFile(Kind kind) : SavedFile(windowsDirectory() + "\\twain_32.dll") {
    if (kind != Kind::Scripted) install(kind);
}

void ManagerFile::install(Kind kind) {
    const char* const name = kind == Kind::Scripted ? "\\twain_32.dll" : "\\entryless_manager.dll";
    set(kind == Kind::Missing ? std::nullopt : Text(readFile(programFolder() + name)));
}
