#pragma once

#include <windows.h>

#include <optional>
#include <string>

namespace smworker {

constexpr size_t longestLine = 1 << 20;

// The lines of a pipe, without what ends them. Of a line that is longer than longestLine only a byte more is
// kept, by which it is seen to be too long.
class LineReader {
public:
    explicit LineReader(HANDLE pipe) : pipe_(pipe) {}

    // Waits for a line; nothing at the end of the input. A last line without an end was cut off, and is none.
    std::optional<std::string> next();

private:
    bool fill();

    HANDLE pipe_;
    std::string block_;
    size_t place_ = 0;
};

}  // namespace smworker
