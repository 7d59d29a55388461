#pragma once

#include <string>
#include <vector>

#include "common/Failure.h"
#include "common/PageOutput.h"
#include "common/ScanRequest.h"

namespace smscan {

// The command line speaks the language of the library.
using namespace host;

enum class Action { Scan, List, Caps, MakeDefault, Version, Help };

// What the process returns to its caller; --help lists them.
using ExitCode = host::FailureCode;

struct Options : host::ScanRequest {
    Action action = Action::Scan;
    bool select = false;
    std::string source;       // empty: the default source
    std::string defaultName;  // of Action::MakeDefault
    bool json = false;

    bool presto = false;
    OutputRequest output;
    bool progress = false;
};

// Reads the command line without the program's name. Throws Failure with ExitCode::Usage.
Options parseOptions(const std::vector<std::string>& words);

// "0,0,2in,3in": four numbers, each with a unit or with that of the next one that has one; inches if none
// has.
Area parseArea(const std::string& text);

// The file formats that this build writes.
std::vector<std::string> formatNames();

std::string helpText();

}  // namespace smscan
