// Runs the built programs as a user would: in a folder of the test's own, with their output captured.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

#include "Lines.h"

using Words = Lines;  // of a command line

class ScanFolder {
public:
    // Called every few milliseconds while the program runs.
    using Watcher = std::function<void(const PROCESS_INFORMATION& program)>;

    ScanFolder();
    // Removes the folder and what is in it.
    ~ScanFolder();
    ScanFolder(const ScanFolder&) = delete;
    ScanFolder& operator=(const ScanFolder&) = delete;

    // Runs a program of the build's bin folder; `settings` of the virtual scanner as "Pages=3". What it
    // printed, then its lines of stderr behind "! ", then "exit 0"; "ended by the test" instead when it takes
    // longer than a minute.
    Lines run(
        const std::string& program, const Words& arguments, const Words& settings = {},
        const Watcher& watcher = [](const PROCESS_INFORMATION&) {});
    Lines smscan(const Words& arguments, const Words& settings = {}) {
        return run("smscan.exe", arguments, settings);
    }

    std::string path(const std::string& name) const { return folder_ + "\\" + name; }
    // The names of all files here, sorted.
    Lines files() const;

private:
    std::string folder_;
};
