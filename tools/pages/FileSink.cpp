#include "pages/FileSink.h"

#include <algorithm>

#include "pages/PageWriter.h"

namespace pages {

namespace {

constexpr std::size_t bufferBytes = 1 << 16;

[[noreturn]] void fail() {
    throw WriteError{GetLastError(), ""};
}

}  // namespace

FileSink::FileSink(const std::wstring& path)
    : file_(CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                        FILE_ATTRIBUTE_NORMAL, nullptr)) {
    if (file_ == INVALID_HANDLE_VALUE) fail();
    buffer_.reserve(bufferBytes);
}

FileSink::~FileSink() {
    if (file_ != INVALID_HANDLE_VALUE) CloseHandle(file_);
}

void FileSink::write(const void* bytes, std::size_t count) {
    if (buffer_.size() + count > bufferBytes) flush();
    if (count >= bufferBytes) {
        writeNow(bytes, count);
        written_ += count;
        return;
    }
    const auto* const first = static_cast<const std::uint8_t*>(bytes);
    buffer_.insert(buffer_.end(), first, first + count);
}

void FileSink::flush() {
    writeNow(buffer_.data(), buffer_.size());
    written_ += buffer_.size();
    buffer_.clear();
}

void FileSink::patch(std::uint64_t offset, const void* bytes, std::size_t count) {
    flush();
    seek(offset);
    writeNow(bytes, count);
    seek(written_);
}

void FileSink::cutTo(std::uint64_t offset) {
    buffer_.resize(offset > written_ ? static_cast<std::size_t>(offset - written_) : 0);
    written_ = std::min(offset, written_);
    // Also when nothing counted stands behind it: on a full disk a part of the last piece may be there.
    seek(written_);
    if (!SetEndOfFile(file_)) fail();
}

void FileSink::close() {
    flush();
    const bool closed = CloseHandle(file_) != FALSE;
    file_ = INVALID_HANDLE_VALUE;
    if (!closed) fail();
}

void FileSink::seek(std::uint64_t offset) {
    LARGE_INTEGER distance;
    distance.QuadPart = static_cast<LONGLONG>(offset);
    if (!SetFilePointerEx(file_, distance, nullptr, FILE_BEGIN)) fail();
}

void FileSink::writeNow(const void* bytes, std::size_t count) {
    DWORD done = 0;
    if (!WriteFile(file_, bytes, static_cast<DWORD>(count), &done, nullptr)) fail();
    if (done == count) return;
    // Windows counts a short write as a success.
    SetLastError(ERROR_DISK_FULL);
    fail();
}

}  // namespace pages
