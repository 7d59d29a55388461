#include "common/DibWriter.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "bmp/BmpHeader.h"
#include "common/Failure.h"
#include "common/PageFiles.h"
#include "common/StdFile.h"
#include "common/Text.h"

namespace host {

namespace {

// Bytes between the info header and the pixels: palette or colour masks.
size_t tableBytes(const BITMAPINFOHEADER& header) {
    if (header.biCompression == BI_BITFIELDS && header.biSize == sizeof(BITMAPINFOHEADER))
        return 3 * sizeof(DWORD) + header.biClrUsed * sizeof(RGBQUAD);
    const size_t implied = header.biBitCount <= 8 ? size_t{1} << header.biBitCount : 0;
    return (header.biClrUsed != 0 ? header.biClrUsed : implied) * sizeof(RGBQUAD);
}

[[noreturn]] void refuseDib() {
    throw Failure{FailureCode::SourceError, "The source delivered something that is no bitmap."};
}

}  // namespace

BmpFacts writeDib(const std::string& path, const void* dib, size_t bytes, int xDotsPerInch,
                  int yDotsPerInch) {
    BITMAPINFOHEADER header;
    if (!dib || bytes < sizeof header) refuseDib();
    std::memcpy(&header, dib, sizeof header);
    const std::optional<BmpFacts> facts = factsOf(header);
    if (!facts) refuseDib();
    const size_t pixelOffset = header.biSize + tableBytes(header);
    const uint64_t pixels =
        header.biCompression == BI_RGB || header.biSizeImage == 0
            ? static_cast<uint64_t>(shared::bmpRowBytes(facts->width, facts->bits)) * facts->height
            : header.biSizeImage;
    // The last row's padding may be missing, but no more.
    const uint64_t total = pixelOffset + pixels;
    if (bytes + 3 < total) refuseDib();
    const size_t used = static_cast<size_t>(std::min<uint64_t>(total, bytes));

    if (xDotsPerInch > 0) header.biXPelsPerMeter = shared::dotsPerMetre(xDotsPerInch);
    if (yDotsPerInch > 0) header.biYPelsPerMeter = shared::dotsPerMetre(yDotsPerInch);
    const std::vector<uint8_t> fileHeader = shared::bmpFileHeader(pixelOffset, used);

    StdFile file = openFile(path, L"wb");
    if (file) SetLastError(ERROR_DISK_FULL);  // what goes wrong from here on; the C library doesn't say it
    const char* const rest = static_cast<const char*>(dib) + sizeof header;
    const size_t restBytes = used - sizeof header;
    const bool written = file && std::fwrite(fileHeader.data(), fileHeader.size(), 1, file.get()) == 1 &&
                         std::fwrite(&header, sizeof header, 1, file.get()) == 1 &&
                         std::fwrite(rest, 1, restBytes, file.get()) == restBytes;
    if (!written || std::fclose(file.release()) != 0) failWrite(path, lastErrorText());
    return *facts;
}

}  // namespace host
