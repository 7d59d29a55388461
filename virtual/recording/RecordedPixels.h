// The side file of a recording.
#pragma once

#include <fstream>
#include <optional>
#include <string>

#include "recording/Recording.h"

namespace vscan {

class RecordedPixels {
public:
    explicit RecordedPixels(const std::string& recordingPath);

    // A pattern where the recording left them out; nothing where they are missing or not those recorded.
    std::optional<recording::Bytes> read(const recording::Pixels& pixels);

private:
    std::ifstream file_;
};

}  // namespace vscan
