// The lines of a recording, written and read.
#pragma once

#include <stdexcept>
#include <string>

#include "recording/Recording.h"

namespace recording {

// A line that can't be read, named by its number.
class RecordingError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// All lines end with a line feed. `names` becomes a comment.
std::string firstLine();
std::string questionLine(const Operation& operation, const std::string& names);
std::string noticeLine(std::uint32_t operation, const Notice& notice);
std::string answerLine(std::uint32_t operation, const Answer& answer);

// Throws RecordingError. Whatever the text holds, no more memory is used than a few times its length.
Recording readRecording(const std::string& text);

}  // namespace recording
