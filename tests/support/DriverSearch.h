// Where a default driver is looked for: the system's default entry, the host suite's settings and the driver
// folders. Each class puts back at its end what it found at its beginning.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

#include "WindowsFiles.h"

// The default source of the system profile.
class DefaultSourceEntry {
public:
    explicit DefaultSourceEntry(const std::optional<std::string>& value) : before_(current()) { set(value); }
    ~DefaultSourceEntry() { set(before_); }
    DefaultSourceEntry(const DefaultSourceEntry&) = delete;
    DefaultSourceEntry& operator=(const DefaultSourceEntry&) = delete;

    static std::optional<std::string> current() {
        constexpr char missing[] = "(none)";
        char text[512] = "";
        GetProfileStringA("Twain", "Default Source", missing, text, sizeof text);
        return text == std::string(missing) ? std::nullopt : std::optional<std::string>(text);
    }

private:
    static void set(const std::optional<std::string>& value) {
        WriteProfileStringA("Twain", "Default Source", value ? value->c_str() : nullptr);
    }

    std::optional<std::string> before_;
};

// The user's folder of application data, empty but for the host suite's settings.
class HostSuiteSettings {
public:
    // Nothing: there is no settings file.
    explicit HostSuiteSettings(const std::optional<std::string>& regional) : before_(current()) {
        char temporary[MAX_PATH] = "";
        GetTempPathA(sizeof temporary, temporary);
        folder_ = std::string(temporary) + "scanmodule-application-data";
        CreateDirectoryA(folder_.c_str(), nullptr);
        CreateDirectoryA((folder_ + "\\Lumivo").c_str(), nullptr);
        file_.emplace(folder_ + "\\Lumivo\\Applet.ini");
        file_->remove();
        if (regional) file_->write("[Aboutdlg]\r\nRegional=" + *regional + "\r\n");
        set(folder_);
    }
    ~HostSuiteSettings() {
        set(before_);
        file_->remove();
        file_.reset();
        RemoveDirectoryA((folder_ + "\\Lumivo").c_str());
        RemoveDirectoryA(folder_.c_str());
    }
    HostSuiteSettings(const HostSuiteSettings&) = delete;
    HostSuiteSettings& operator=(const HostSuiteSettings&) = delete;

    void removeFolderEntry() { set(std::nullopt); }

private:
    static constexpr const char* key =
        "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";

    static std::optional<std::string> current() {
        char text[MAX_PATH] = "";
        DWORD size = sizeof text;
        const LONG result =
            RegGetValueA(HKEY_CURRENT_USER, key, "AppData", RRF_RT_REG_SZ, nullptr, text, &size);
        return result == ERROR_SUCCESS ? std::optional<std::string>(text) : std::nullopt;
    }
    static void set(const std::optional<std::string>& value) {
        HKEY opened = nullptr;
        RegCreateKeyA(HKEY_CURRENT_USER, key, &opened);
        if (value) {
            RegSetValueExA(opened, "AppData", 0, REG_SZ, reinterpret_cast<const BYTE*>(value->c_str()),
                           static_cast<DWORD>(value->size() + 1));
        } else {
            RegDeleteValueA(opened, "AppData");
        }
        RegCloseKey(opened);
    }

    std::optional<std::string> before_;
    std::string folder_;
    std::optional<SavedFile> file_;
};

// <Windows>\twain_32 and <Windows>\twain with these files alone; what was there is set aside meanwhile.
class DriverFolders {
public:
    explicit DriverFolders(const std::vector<std::string>& files) : files_(files) {
        for (const char* name : names) {
            MoveFileA(path(name).c_str(), aside(name).c_str());
            CreateDirectoryA(path(name).c_str(), nullptr);
        }
        for (const std::string& file : files_) {
            for (size_t at = file.find('\\'); at != std::string::npos; at = file.find('\\', at + 1))
                CreateDirectoryA(path(file.substr(0, at)).c_str(), nullptr);
            CloseHandle(
                CreateFileA(path(file).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
        }
    }
    ~DriverFolders() {
        for (const std::string& file : files_)
            DeleteFileA(path(file).c_str());
        for (const std::string& file : files_) {
            for (size_t at = file.rfind('\\'); at != std::string::npos && at > 0;
                 at = file.rfind('\\', at - 1))
                RemoveDirectoryA(path(file.substr(0, at)).c_str());
        }
        for (const char* name : names) {
            RemoveDirectoryA(path(name).c_str());
            MoveFileA(aside(name).c_str(), path(name).c_str());
        }
    }
    DriverFolders(const DriverFolders&) = delete;
    DriverFolders& operator=(const DriverFolders&) = delete;

    static std::string path(const std::string& name) { return windowsDirectory() + "\\" + name; }

private:
    static constexpr const char* names[] = {"twain_32", "twain"};
    static std::string aside(const std::string& name) { return path(name + ".set-aside"); }

    std::vector<std::string> files_;
};
