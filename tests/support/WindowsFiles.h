// The files and registry values outside the build folder that the module reads or writes. Whoever changes
// one does it through a class that puts back at its end what it found at its beginning.
#pragma once

#include <windows.h>

#include <functional>
#include <optional>
#include <string>

std::string windowsDirectory();
std::string temporaryFolder();  // with a backslash at its end
std::string programFolder();    // of the test, without one
std::string readFile(const std::string& path);
bool fileExists(const std::string& path);

// A text at some place, or nothing there.
class Saved {
public:
    using Text = std::optional<std::string>;

    Saved(const std::function<Text()>& read, std::function<void(const Text&)> write)
        : write_(std::move(write)), before_(read()) {}
    ~Saved() { write_(before_); }
    Saved(const Saved&) = delete;
    Saved& operator=(const Saved&) = delete;

    void set(const Text& text) { write_(text); }

private:
    std::function<void(const Text&)> write_;
    Text before_;
};

class SavedFile : public Saved {
public:
    explicit SavedFile(const std::string& path);

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

// A value below HKEY_CURRENT_USER.
class SavedRegistryText : public Saved {
public:
    SavedRegistryText(const std::string& key, const std::string& value);
};

// "DEBUGSM.INI" in the Windows directory with both switches on: for the trace channel outside the DLL.
class TraceSwitches : public SavedFile {
public:
    TraceSwitches() : SavedFile(windowsDirectory() + "\\DEBUGSM.INI") {
        set("[Debug]\r\nTrace=1\r\nWarning=1\r\n");
    }
};

// The folder of the host suite's settings: HKEY_CURRENT_USER Software\Lumivo, value "DataDir".
class HostDataFolder {
public:
    // The temporary folder, with a file "ZR_Scan.INI" of this content; in the registry under this text.
    explicit HostDataFolder(const std::string& settings, const std::string& text = temporaryFolder()) {
        file_.set(settings);
        registry_.set(text);
    }

private:
    SavedFile file_{temporaryFolder() + "ZR_Scan.INI"};
    SavedRegistryText registry_{"Software\\Lumivo", "DataDir"};
};

// What stands at <Windows>\TWAIN_32.DLL while a test runs, which is usually the scripted manager.
class ManagerFile : public SavedFile {
public:
    enum class Kind { Scripted, WithoutEntry, Missing };

    explicit ManagerFile(Kind kind);
    void install(Kind kind);
};
