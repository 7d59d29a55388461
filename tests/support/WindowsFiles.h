// The files and registry values outside the build folder that the module reads or writes. Each class puts
// back at its end what it found at its beginning.
#pragma once

#include <windows.h>

#include <optional>
#include <string>

std::string windowsDirectory();
std::string readFile(const std::string& path);
bool fileExists(const std::string& path);

// A file that a test changes or removes.
class SavedFile {
public:
    explicit SavedFile(std::string path);
    ~SavedFile();
    SavedFile(const SavedFile&) = delete;
    SavedFile& operator=(const SavedFile&) = delete;

    const std::string& path() const { return path_; }
    bool exists() const { return fileExists(path_); }
    std::string content() const { return readFile(path_); }
    void write(const std::string& content);
    void remove();

private:
    std::string path_;
    std::optional<std::string> before_;
};

// "DEBUGSM.INI" in the Windows directory; both switches on unless a test says otherwise.
class TraceSwitches {
public:
    TraceSwitches();
    void set(const char* key, const char* value);
    SavedFile& file() { return file_; }

private:
    SavedFile file_;
};

// The folder of the host suite's settings: HKEY_CURRENT_USER Software\Lumivo, value "DataDir".
class HostDataFolder {
public:
    enum class Ending { Backslash, WithoutBackslash };

    // A folder of the test's own with a file "ZR_Scan.INI" of this content.
    explicit HostDataFolder(const std::string& settings, Ending ending = Ending::Backslash);
    ~HostDataFolder();
    HostDataFolder(const HostDataFolder&) = delete;
    HostDataFolder& operator=(const HostDataFolder&) = delete;

private:
    std::optional<std::string> before_;
    std::string folder_;
};

// What stands at <Windows>\TWAIN_32.DLL while a test runs; afterwards the scripted manager again.
class ManagerFile {
public:
    enum class Kind { Scripted, WithoutEntry, Missing };

    explicit ManagerFile(Kind kind) { install(kind); }
    ~ManagerFile() { install(Kind::Scripted); }
    ManagerFile(const ManagerFile&) = delete;
    ManagerFile& operator=(const ManagerFile&) = delete;

    static void install(Kind kind);
};
