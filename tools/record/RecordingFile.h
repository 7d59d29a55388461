// The two files of a recording that is being made: its lines, and the pixels beside them.
#pragma once

#include <windows.h>

#include <string>

#include "recording/Recording.h"

namespace record {

// keep: as they are; hash: left out, but for a checksum; blank: a pattern stands in for them.
enum class PixelPolicy { Keep, Hash, Blank };

class RecordingFile {
public:
    RecordingFile(const std::wstring& path, PixelPolicy policy);
    ~RecordingFile();
    RecordingFile(const RecordingFile&) = delete;
    RecordingFile& operator=(const RecordingFile&) = delete;

    // Everything was written so far. When something could not, the recording ends there.
    bool complete() const { return complete_; }
    void abandon() { complete_ = false; }
    bool hasPixels() const { return pixelsWritten_ > 0; }
    // Given to Windows at once: if the source takes the process with it, its last operation is in the file.
    void line(const std::string& text);
    recording::Pixels pixels(const std::uint8_t* bytes, std::size_t count);

private:
    void write(HANDLE file, const void* bytes, std::size_t count);

    HANDLE lines_ = INVALID_HANDLE_VALUE;
    HANDLE pixels_ = INVALID_HANDLE_VALUE;  // made with the first page
    std::wstring pixelPath_;
    PixelPolicy policy_;
    std::uint64_t pixelsWritten_ = 0;
    bool complete_ = true;
};

}  // namespace record
