#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "BmpFile.h"
#include "Failure.h"
#include "PageFiles.h"
#include "Text.h"

namespace smscan {

namespace {

struct FileCloser {
    void operator()(FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, FileCloser>;

// Bytes between the info header and the pixels: palette or colour masks.
size_t tableBytes(const BITMAPINFOHEADER& header) {
    if (header.biCompression == BI_BITFIELDS && header.biSize == sizeof(BITMAPINFOHEADER))
        return 3 * sizeof(DWORD) + header.biClrUsed * sizeof(RGBQUAD);
    const size_t implied = header.biBitCount <= 8 ? size_t{1} << header.biBitCount : 0;
    return (header.biClrUsed != 0 ? header.biClrUsed : implied) * sizeof(RGBQUAD);
}

[[noreturn]] void refuseDib() {
    throw Failure{ExitCode::SourceError, "The source delivered something that is no bitmap."};
}

DibFacts factsOf(const BITMAPINFOHEADER& header) {
    return {static_cast<int>(header.biWidth), std::abs(static_cast<int>(header.biHeight)), header.biBitCount};
}

bool plausible(const BITMAPINFOHEADER& header) {
    constexpr DWORD longestHeader = 256;
    return header.biSize >= sizeof header && header.biSize <= longestHeader && header.biWidth > 0 &&
           header.biHeight != 0 && header.biBitCount <= 32 && header.biClrUsed <= 256;
}

}  // namespace

DibFacts writeDib(const std::string& path, const void* dib, size_t bytes, int xDotsPerInch,
                  int yDotsPerInch) {
    BITMAPINFOHEADER header;
    if (!dib || bytes < sizeof header) refuseDib();
    std::memcpy(&header, dib, sizeof header);
    if (!plausible(header)) refuseDib();
    const DibFacts facts = factsOf(header);
    const size_t pixelOffset = header.biSize + tableBytes(header);
    const uint64_t pixels = header.biCompression == BI_RGB || header.biSizeImage == 0
                                ? static_cast<uint64_t>(bmpRowBytes(facts.width, facts.bits)) * facts.height
                                : header.biSizeImage;
    // The last row's padding may be missing, but no more.
    const uint64_t total = pixelOffset + pixels;
    if (bytes + 3 < total) refuseDib();
    const size_t used = static_cast<size_t>(std::min<uint64_t>(total, bytes));

    if (xDotsPerInch > 0) header.biXPelsPerMeter = shared::dotsPerMetre(xDotsPerInch);
    if (yDotsPerInch > 0) header.biYPelsPerMeter = shared::dotsPerMetre(yDotsPerInch);
    const std::vector<uint8_t> fileHeader = shared::bmpFileHeader(pixelOffset, used);

    File file(std::fopen(path.c_str(), "wb"));
    if (file) SetLastError(ERROR_DISK_FULL);  // what goes wrong from here on; the C library doesn't say it
    const char* const rest = static_cast<const char*>(dib) + sizeof header;
    const size_t restBytes = used - sizeof header;
    const bool written = file && std::fwrite(fileHeader.data(), fileHeader.size(), 1, file.get()) == 1 &&
                         std::fwrite(&header, sizeof header, 1, file.get()) == 1 &&
                         std::fwrite(rest, 1, restBytes, file.get()) == restBytes;
    if (!written || std::fclose(file.release()) != 0)
        throw Failure{ExitCode::CannotWrite,
                      format("Cannot write \"%s\": %s", path.c_str(), lastErrorText().c_str())};
    return facts;
}

DibFacts readBmpFacts(const std::string& path) {
    File file(std::fopen(path.c_str(), "rb"));
    BITMAPFILEHEADER fileHeader{};
    BITMAPINFOHEADER header{};
    const bool valid = file && std::fread(&fileHeader, sizeof fileHeader, 1, file.get()) == 1 &&
                       std::fread(&header, sizeof header, 1, file.get()) == 1 &&
                       fileHeader.bfType == shared::bmpSignature && plausible(header);
    if (!valid)
        throw Failure{ExitCode::SourceError,
                      "The source says that the page is done, but it wrote no BMP file."};
    return factsOf(header);
}

}  // namespace smscan
