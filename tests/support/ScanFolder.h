// Runs the built programs as a user would: in a folder of the test's own, with their output captured.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

class ScanFolder {
public:
    // Called every few milliseconds while the program runs.
    using Watcher = std::function<void(const PROCESS_INFORMATION& program)>;

    ScanFolder();
    // Removes the folder and what is in it.
    ~ScanFolder();
    ScanFolder(const ScanFolder&) = delete;
    ScanFolder& operator=(const ScanFolder&) = delete;

    // Runs a program of the build's bin folder; `settings` of the virtual scanner as "Pages=3;JamAtPage=2".
    // The lines it printed, those of stderr behind "! ", then "exit 0"; "ended by the test" instead when it
    // takes longer than a minute.
    std::string run(const std::string& program, const std::string& arguments,
                    const std::string& settings = "", const Watcher& watcher = nullptr);
    std::string smscan(const std::string& arguments, const std::string& settings = "",
                       const Watcher& watcher = nullptr) {
        return run("smscan.exe", arguments, settings, watcher);
    }

    std::string path(const std::string& name) const { return folder_ + "\\" + name; }
    // The names of all files here, sorted, with a space between.
    std::string files() const;

private:
    std::string folder_;
};
