// What is recorded, and where to: recorder.ini beside the library, or environment variables RECORDER_<KEY>.
#pragma once

#include <windows.h>

#include <string>

#include "record/RecordingFile.h"

namespace recorder {

struct RecorderSettings {
    std::string source;  // the real one's file
    std::string output;  // the recording's; by default in the folder for temporary files
    record::PixelPolicy pixels = record::PixelPolicy::Keep;
};

RecorderSettings readSettings(HMODULE library);

}  // namespace recorder
