#pragma once

#include <string>
#include <vector>

#include "ModuleLibrary.h"
#include "Options.h"

namespace smscan {

struct SourceList {
    std::vector<std::string> names;
    int result = 0;  // the manager's condition code when it could not be asked
};

// Throws Failure with ExitCode::NoManager and what was tried.
void requireManager(const ModuleLibrary& module);

SourceList listSources(const ModuleLibrary& module);

// --list: prints the sources, or throws Failure with an explanation when there are none.
void printSources(const ModuleLibrary& module, HWND parent);

// --select and --source: chooses what the next open opens. Throws Failure.
void chooseSource(const ModuleLibrary& module, HWND parent, const Options& options);

// --default.
void makeDefault(const ModuleLibrary& module, HWND parent, const std::string& name);

// Why there is no source, and what to do.
std::string explainNoSource(int result, const std::string& defaultSource);

std::string productName(const ModuleLibrary& module);

// An open source; disabled and closed when it goes.
class OpenSource {
public:
    // Throws Failure with the reason.
    OpenSource(const ModuleLibrary& module, HWND parent);
    OpenSource(const OpenSource&) = delete;
    OpenSource& operator=(const OpenSource&) = delete;
    ~OpenSource() { close(); }

    // Starts the scan. Throws Failure.
    void enable(bool showWindow);

    void close();

private:
    const ModuleLibrary& module_;
    bool open_ = false;
    bool enabled_ = false;
};

}  // namespace smscan
