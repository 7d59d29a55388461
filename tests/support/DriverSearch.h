// Where a default driver is looked for: the system's default entry, the host suite's settings and the driver
// folders. Each class puts back at its end what it found at its beginning.
#pragma once

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "WindowsFiles.h"

// The default source of the system profile; "(none)" stands for no such entry.
class DefaultSourceEntry : public Saved {
public:
    explicit DefaultSourceEntry(const std::string& value) : Saved(current, put) { set(value); }

    static std::string current() {
        char text[512] = "";
        GetProfileStringA("Twain", "Default Source", "(none)", text, sizeof text);
        return text;
    }
    static void put(const Text& value) {
        WriteProfileStringA("Twain", "Default Source", value == "(none)" ? nullptr : value->c_str());
    }
};

// A folder of this name that is empty at first; what was there is set aside meanwhile.
class EmptyFolder {
public:
    explicit EmptyFolder(const std::filesystem::path& path) : path_(path) {
        if (exists(aside())) remove_all(path_);
        if (exists(path_)) rename(path_, aside());
        create_directories(path_);
    }
    ~EmptyFolder() {
        remove_all(path_);
        if (exists(aside())) rename(aside(), path_);
    }

private:
    std::filesystem::path aside() const { return path_.string() + ".set-aside"; }

    const std::filesystem::path path_;
};

// The host suite's settings in the user's folder of application data; without a text there is no such folder.
class HostSuiteSettings {
public:
    explicit HostSuiteSettings(const std::string& regional) {
        file_.set("[Aboutdlg]\r\nRegional=" + regional + "\r\n");
        const std::string parent = temporaryFolder();
        appData_.set(regional.empty() ? std::nullopt : Saved::Text(parent.substr(0, parent.size() - 1)));
    }

private:
    EmptyFolder folder_{temporaryFolder() + "Lumivo"};
    SavedFile file_{temporaryFolder() + "Lumivo\\Applet.ini"};
    SavedRegistryText appData_{"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders",
                               "AppData"};
};

// <Windows>\twain_32 and <Windows>\twain with these files alone.
class DriverFolders {
public:
    explicit DriverFolders(const std::vector<std::string>& files) {
        for (const std::string& file : files) {
            std::filesystem::create_directories(std::filesystem::path(path(file)).parent_path());
            std::ofstream(path(file)).put('\n');
        }
    }

    static std::string path(const std::string& name) { return windowsDirectory() + "\\" + name; }

private:
    EmptyFolder modern_{path("twain_32")}, old_{path("twain")};
};
