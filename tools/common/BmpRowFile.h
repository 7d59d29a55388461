#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "bmp/BmpHeader.h"

namespace host {

using shared::BmpFormat;

// A BMP file that is written in any order of rows, without holding the picture. Failures throw Failure with
// FailureCode::CannotWrite.
class BmpRowFile {
public:
    // With a known height rows are stored bottom-up, as every program reads them. A height below 0 is not
    // known yet: rows are then stored top-down, which needs no moving when the picture turns out longer.
    BmpRowFile(const std::string& path, const BmpFormat& format, int height);
    BmpRowFile(const BmpRowFile&) = delete;
    BmpRowFile& operator=(const BmpRowFile&) = delete;
    ~BmpRowFile();

    const BmpFormat& format() const { return format_; }
    int height() const { return height_; }
    int64_t rowBytes() const { return rowBytes_; }

    // Where row number `index` of `count` neighbouring rows lies in the block that readRows and writeRows
    // use.
    int placeInBlock(int index, int count) const { return topDown_ ? index : count - 1 - index; }

    // `count` rows from row `first` on, in the file's own order.
    void readRows(int first, int count, void* block);
    void writeRows(int first, int count, const void* block);

    // Makes the picture longer (new rows are black) or shorter at its lower end.
    void setHeight(int height);

    // Writes the header and closes the file.
    void finish();

private:
    int64_t offsetOf(int first, int count) const;
    void checkSize(int height) const;
    void moveBlock(int64_t from, int64_t to, int64_t bytes);
    void seek(int64_t offset);
    void read(void* bytes, int64_t count);
    void write(const void* bytes, int64_t count);
    void setEnd(int64_t offset);
    [[noreturn]] void fail() const;

    std::string path_;
    BmpFormat format_;
    int height_;
    bool topDown_;
    int64_t rowBytes_;
    int64_t headerBytes_;
    HANDLE file_;
};

}  // namespace host
