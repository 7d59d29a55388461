#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace pages {

// A file that is written from its beginning to its end, but for a few bytes that are known later. Everything
// throws WriteError.
class FileSink {
public:
    explicit FileSink(const std::wstring& path);
    FileSink(const FileSink&) = delete;
    FileSink& operator=(const FileSink&) = delete;
    ~FileSink();

    void write(const void* bytes, std::size_t count);
    void write(const std::string& text) { write(text.data(), text.size()); }

    // How much was written, and so where the next byte goes.
    std::uint64_t offset() const { return written_ + buffer_.size(); }

    // Replaces bytes that are there already.
    void patch(std::uint64_t offset, const void* bytes, std::size_t count);

    // Takes back all that stands behind.
    void cutTo(std::uint64_t offset);

    // All that was written is in the file.
    void flush();

    void close();

private:
    void seek(std::uint64_t offset);
    void writeNow(const void* bytes, std::size_t count);

    HANDLE file_;
    std::uint64_t written_ = 0;
    std::vector<std::uint8_t> buffer_;
};

}  // namespace pages
