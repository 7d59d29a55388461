#pragma once

#include <string>
#include <vector>

#include "common/Failure.h"
#include "common/PageOutput.h"
#include "common/ScanRequest.h"
#include "record/RecordingFile.h"

namespace smscan {

// The command line speaks the language of the library.
using namespace host;

enum class Action { Scan, List, Caps, DryRun, MakeDefault, Version, Help, ManPage, Completion };

// What the process returns to its caller; --help lists them.
using ExitCode = host::FailureCode;

struct Options : host::ScanRequest {
    Action action = Action::Scan;
    bool select = false;
    std::string source;       // empty: the default source
    std::string defaultName;  // of Action::MakeDefault
    bool json = false;
    bool quiet = false;

    bool oneShot = false;
    OutputRequest output;
    bool progress = false;

    std::string recording;  // a file: what passes between module and source is written there
    record::PixelPolicy pixels = record::PixelPolicy::Keep;
    bool survey = false;
    bool surveyModes = false;
};

// Reads the command line without the program's name. Throws Failure with ExitCode::Usage.
Options parseOptions(const std::vector<std::string>& words);

}  // namespace smscan
