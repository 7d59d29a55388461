// Where a default driver is looked for: the system's default entry, the host suite's settings and the driver
// folders. Each class puts back at its end what it found at its beginning.
#pragma once

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "WindowsFiles.h"

// The default source of the system profile; "(none)" when there is no such entry.
class DefaultSourceEntry {
public:
    explicit DefaultSourceEntry(const std::string& value) : before_(current()) { set(value); }
    ~DefaultSourceEntry() { set(before_); }

    static std::string current() {
        char text[512] = "";
        GetProfileStringA("Twain", "Default Source", "(none)", text, sizeof text);
        return text;
    }

private:
    static void set(const std::string& value) {
        WriteProfileStringA("Twain", "Default Source", value == "(none)" ? nullptr : value.c_str());
    }

    std::string before_;
};

// The host suite's settings in the user's folder of application data; without a text there is no such folder.
class HostSuiteSettings {
public:
    explicit HostSuiteSettings(const std::string& regional) {
        std::filesystem::create_directories(folder_ / "Lumivo");
        file_.write("[Aboutdlg]\r\nRegional=" + regional + "\r\n");
        RegCreateKeyA(HKEY_CURRENT_USER,
                      "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders", &key_);
        DWORD size = sizeof before_;
        RegQueryValueExA(key_, "AppData", nullptr, nullptr, reinterpret_cast<BYTE*>(before_), &size);
        set(regional.empty() ? "" : folder_.string());
    }
    ~HostSuiteSettings() {
        set(before_);
        RegCloseKey(key_);
        file_.remove();
        std::filesystem::remove_all(folder_);
    }

private:
    void set(const std::string& text) {
        RegSetValueExA(key_, "AppData", 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                       text.size() + 1);
        if (text.empty()) RegDeleteValueA(key_, "AppData");
    }

    const std::filesystem::path folder_ = std::filesystem::temp_directory_path() / "scanmodule-suite";
    SavedFile file_{(folder_ / "Lumivo" / "Applet.ini").string()};
    HKEY key_ = nullptr;
    char before_[MAX_PATH] = "";
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
