#pragma once

#include <optional>
#include <string>

namespace host {

// What went wrong, in numbers that programs can hand on.
enum class FailureCode {
    SourceError = 1,
    Usage = 2,  // or a value that the source doesn't offer
    NoManager = 3,
    NoSource = 4,
    Cancelled = 5,
    CannotWrite = 6,
};

// Thrown to end what was asked for. Window procedures catch it: it must not cross the module.
struct Failure {
    FailureCode code;
    std::string text;
    std::optional<int> condition{};  // the source's, where it gave one
    int page = 0;                    // at which it happened; 0: at none
    int pagesKept = 0;
};

// What stands for any other exception: the C++ library throws hardly anything else.
inline Failure outOfMemory() {
    return {FailureCode::SourceError, "not enough memory. Scan at a lower resolution or a smaller area."};
}

}  // namespace host
