#pragma once

#include <string>

namespace smscan {

// What the process returns to its caller; --help lists them.
enum class ExitCode {
    Ok = 0,
    SourceError = 1,
    Usage = 2,
    NoManager = 3,
    NoSource = 4,
    Cancelled = 5,
    CannotWrite = 6,
};

// Thrown to end the run. Window procedures catch it: it must not cross the module.
struct Failure {
    ExitCode code;
    std::string text;
};

// What stands for any other exception: the C++ library throws hardly anything else.
inline Failure outOfMemory() {
    return {ExitCode::SourceError, "not enough memory. Scan at a lower resolution or a smaller area."};
}

}  // namespace smscan
