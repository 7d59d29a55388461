#pragma once

#include <windows.h>

#include <memory>

#include "pages/PageWriter.h"

namespace pages {

// Reads an uncompressed BMP file row by row from the top, whoever has written it. Throws WriteError when it
// can't: it is read to be written anew.
class BmpReader {
public:
    explicit BmpReader(const std::wstring& path);

    // Its resolution is that of the file.
    const PageFormat& format() const { return format_; }

    // The next row, in the order that a PageWriter takes. Good until the next call.
    const std::uint8_t* row();

private:
    struct FileCloser {
        using pointer = HANDLE;
        void operator()(HANDLE file) const { CloseHandle(file); }
    };

    void readHeaders();
    void choosePixels(int fileBits);
    void read(std::uint64_t offset, void* bytes, std::size_t count);
    void readBlock(int firstRow);

    std::unique_ptr<HANDLE, FileCloser> file_;
    PageFormat format_;
    int fileBits_ = 0;  // of a pixel in the file
    bool inverted_ = false;
    bool topDown_ = false;
    std::uint64_t pixelsAt_ = 0;
    std::size_t fileRowBytes_ = 0;
    int nextRow_ = 0;
    int blockFirst_ = 0;
    int blockRows_ = 0;
    std::vector<std::uint8_t> block_;
    std::vector<std::uint8_t> row_;
};

// Reads the file and has it written as a page, with the resolution given.
void copyPage(const std::wstring& bmpFile, double xDotsPerInch, double yDotsPerInch, PageWriter& writer);

// Writes a resolution into the header of a BMP file. Throws WriteError.
void setBmpResolution(const std::wstring& bmpFile, double xDotsPerInch, double yDotsPerInch);

}  // namespace pages
