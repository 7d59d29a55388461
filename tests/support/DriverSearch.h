// Where a default driver is looked for: the system's default entry, the host suite's settings and the driver
// folders. Each class puts back at its end what it found at its beginning.
#pragma once

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "WindowsFiles.h"

using OptionalText = std::optional<std::string>;

// The default source of the system profile.
class DefaultSourceEntry {
public:
    explicit DefaultSourceEntry(const OptionalText& value) : before_(current()) { set(value); }
    ~DefaultSourceEntry() { set(before_); }

    static OptionalText current() {
        char text[512] = "";
        GetProfileStringA("Twain", "Default Source", "(none)", text, sizeof text);
        return text == std::string("(none)") ? OptionalText() : text;
    }

private:
    static void set(const OptionalText& value) {
        WriteProfileStringA("Twain", "Default Source", value ? value->c_str() : nullptr);
    }

    OptionalText before_;
};

// The host suite's settings in the user's folder of application data; without a text there is no such folder.
class HostSuiteSettings {
public:
    explicit HostSuiteSettings(const OptionalText& regional) {
        std::filesystem::create_directories(folder_ / "Lumivo");
        if (regional) file_.write("[Aboutdlg]\r\nRegional=" + *regional + "\r\n");
        RegCreateKeyA(HKEY_CURRENT_USER,
                      "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders", &key_);
        char text[MAX_PATH] = "";
        DWORD size = sizeof text;
        if (RegQueryValueExA(key_, "AppData", nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size) == 0)
            before_ = text;
        set(regional ? OptionalText(folder_.string()) : OptionalText());
    }
    ~HostSuiteSettings() {
        set(before_);
        RegCloseKey(key_);
        file_.remove();
        std::filesystem::remove_all(folder_);
    }

private:
    void set(const OptionalText& folder) {
        const auto* text = folder ? reinterpret_cast<const BYTE*>(folder->c_str()) : nullptr;
        if (text == nullptr) RegDeleteValueA(key_, "AppData");
        if (text != nullptr) RegSetValueExA(key_, "AppData", 0, REG_SZ, text, folder->size() + 1);
    }

    const std::filesystem::path folder_ = std::filesystem::temp_directory_path() / "scanmodule-suite";
    SavedFile file_{(folder_ / "Lumivo" / "Applet.ini").string()};
    HKEY key_ = nullptr;
    OptionalText before_;
};

// <Windows>\twain_32 and <Windows>\twain with these files alone; what was there is set aside meanwhile.
class DriverFolders {
public:
    explicit DriverFolders(const std::vector<std::string>& files) {
        for (const std::string name : {"twain_32", "twain"}) {
            if (fileExists(aside(name))) std::filesystem::remove_all(path(name));
            if (fileExists(path(name))) std::filesystem::rename(path(name), aside(name));
            std::filesystem::create_directory(path(name));
        }
        for (const std::string& file : files) {
            std::filesystem::create_directories(std::filesystem::path(path(file)).parent_path());
            std::ofstream(path(file)).put('\n');
        }
    }
    ~DriverFolders() {
        for (const std::string name : {"twain_32", "twain"}) {
            std::filesystem::remove_all(path(name));
            if (fileExists(aside(name))) std::filesystem::rename(aside(name), path(name));
        }
    }

    static std::string path(const std::string& name) { return windowsDirectory() + "\\" + name; }

private:
    static std::string aside(const std::string& name) { return path(name + ".set-aside"); }
};
