#include "common/BmpRowFile.h"

#include <algorithm>

#include "common/Failure.h"
#include "common/PageFiles.h"
#include "common/Text.h"
#include "common/TextEncoding.h"

namespace host {

BmpRowFile::BmpRowFile(const std::string& path, const BmpFormat& format, int height)
    : path_(path),
      format_(format),
      height_(std::max(height, 0)),
      topDown_(height < 0),
      rowBytes_(shared::bmpRowBytes(format.width, format.bits)),
      headerBytes_(static_cast<int64_t>(shared::bmpHeader(format, 0, false).size())),
      file_(CreateFileW(wide(path).c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                        FILE_ATTRIBUTE_NORMAL, nullptr)) {
    if (file_ == INVALID_HANDLE_VALUE) fail();
    try {
        checkSize(height_);
        setEnd(headerBytes_ + height_ * rowBytes_);
    } catch (const Failure&) {
        CloseHandle(file_);
        throw;
    }
}

BmpRowFile::~BmpRowFile() {
    if (file_ != INVALID_HANDLE_VALUE) CloseHandle(file_);
}

int64_t BmpRowFile::offsetOf(int first, int count) const {
    const int64_t row = topDown_ ? first : height_ - first - count;
    return headerBytes_ + row * rowBytes_;
}

void BmpRowFile::readRows(int first, int count, void* block) {
    seek(offsetOf(first, count));
    read(block, count * rowBytes_);
}

void BmpRowFile::writeRows(int first, int count, const void* block) {
    seek(offsetOf(first, count));
    write(block, count * rowBytes_);
}

void BmpRowFile::setHeight(int height) {
    checkSize(height);
    const int64_t newEnd = headerBytes_ + height * rowBytes_;
    const int64_t moved = std::min(height, height_) * rowBytes_;
    const int64_t shift = (static_cast<int64_t>(height) - height_) * rowBytes_;
    // Bottom-up: the lower end of the picture is the beginning of the file, so all rows change their place.
    if (shift > 0) {
        setEnd(newEnd);
        if (!topDown_) moveBlock(headerBytes_, headerBytes_ + shift, moved);
    } else if (shift < 0) {
        if (!topDown_) moveBlock(headerBytes_ - shift, headerBytes_, moved);
        setEnd(newEnd);
    }
    const int grownFrom = height_;
    height_ = height;
    if (shift > 0 && !topDown_) {
        const std::vector<uint8_t> black(static_cast<size_t>(rowBytes_));
        for (int row = grownFrom; row < height; ++row)
            writeRows(row, 1, black.data());
    }
}

void BmpRowFile::checkSize(int height) const {
    constexpr int64_t largestFile = 0xffffffff;
    if (headerBytes_ + height * rowBytes_ > largestFile)
        throw Failure{FailureCode::CannotWrite,
                      host::format("\"%s\" would be larger than a BMP file can be (4 GiB).", path_.c_str())};
}

void BmpRowFile::moveBlock(int64_t from, int64_t to, int64_t bytes) {
    constexpr int64_t pieceBytes = 1 << 18;
    std::vector<uint8_t> piece(static_cast<size_t>(std::min(pieceBytes, bytes)));
    for (int64_t done = 0; done < bytes;) {
        const int64_t count = std::min(pieceBytes, bytes - done);
        const int64_t at = to > from ? bytes - done - count : done;
        seek(from + at);
        read(piece.data(), count);
        seek(to + at);
        write(piece.data(), count);
        done += count;
    }
}

void BmpRowFile::finish() {
    const std::vector<uint8_t> header = shared::bmpHeader(format_, height_, topDown_);
    seek(0);
    write(header.data(), static_cast<int64_t>(header.size()));
    const bool closed = CloseHandle(file_) != FALSE;
    file_ = INVALID_HANDLE_VALUE;
    if (!closed) fail();
}

void BmpRowFile::seek(int64_t offset) {
    LARGE_INTEGER distance;
    distance.QuadPart = offset;
    if (!SetFilePointerEx(file_, distance, nullptr, FILE_BEGIN)) fail();
}

void BmpRowFile::read(void* bytes, int64_t count) {
    DWORD done = 0;
    if (!ReadFile(file_, bytes, static_cast<DWORD>(count), &done, nullptr) || done != count) fail();
}

void BmpRowFile::write(const void* bytes, int64_t count) {
    DWORD done = 0;
    if (!WriteFile(file_, bytes, static_cast<DWORD>(count), &done, nullptr)) fail();
    if (done == count) return;
    // Windows counts a short write as a success.
    SetLastError(ERROR_DISK_FULL);
    fail();
}

void BmpRowFile::setEnd(int64_t offset) {
    seek(offset);
    if (!SetEndOfFile(file_)) fail();
}

void BmpRowFile::fail() const {
    failWrite(path_, lastErrorText());
}

}  // namespace host
