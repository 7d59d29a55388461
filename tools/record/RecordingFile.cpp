#include "record/RecordingFile.h"

#include "recording/Crc32.h"
#include "recording/RecordShapes.h"
#include "recording/RecordingText.h"

namespace record {

namespace {

HANDLE create(const std::wstring& path) {
    return CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

}  // namespace

RecordingFile::RecordingFile(const std::wstring& path, PixelPolicy policy)
    : lines_(create(path)), pixelPath_(recording::pixelFileOf(path)), policy_(policy) {
    // Pixels of an earlier recording would not go with this one.
    if (lines_ != INVALID_HANDLE_VALUE) DeleteFileW(pixelPath_.c_str());
    line(recording::firstLine());
}

RecordingFile::~RecordingFile() {
    for (const HANDLE file : {lines_, pixels_})
        if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
}

void RecordingFile::write(HANDLE file, const void* bytes, std::size_t count) {
    DWORD written = 0;
    complete_ =
        complete_ && WriteFile(file, bytes, static_cast<DWORD>(count), &written, nullptr) && written == count;
}

void RecordingFile::line(const std::string& text) {
    write(lines_, text.data(), text.size());
}

recording::Pixels RecordingFile::pixels(const std::uint8_t* bytes, std::size_t count) {
    recording::Pixels kept;
    kept.size = static_cast<std::uint32_t>(count);
    if (policy_ == PixelPolicy::Blank) {
        kept.crc = recording::crc32(recording::patternPixels(count).data(), count);
        return kept;
    }
    kept.crc = recording::crc32(bytes, count);
    if (policy_ == PixelPolicy::Hash) return kept;
    if (pixels_ == INVALID_HANDLE_VALUE) pixels_ = create(pixelPath_);
    write(pixels_, bytes, count);
    kept.at = pixelsWritten_;
    pixelsWritten_ += count;
    return kept;
}

}  // namespace record
