#pragma once

#include <string>
#include <vector>

namespace smtrace {

struct Options {
    bool help = false;
    bool version = false;
    bool console = false;  // lines go to the standard output; no window
    bool statistics = false;
    std::wstring log;      // empty: none
    std::wstring command;  // a command line; empty: none

    // Whoever saves, prints or runs a command needs no window.
    bool showsWindow() const { return !console && !statistics && log.empty() && command.empty(); }
};

struct UsageError {
    std::wstring text;
};

// Reads the command line without the program's name. Throws UsageError.
Options parseOptions(const std::vector<std::wstring>& words);

// One word of a command line, in quotes where it needs them, as programs take it apart again.
std::wstring quoted(const std::wstring& word);

extern const wchar_t helpText[];

}  // namespace smtrace
