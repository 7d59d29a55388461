#include "common/BmpFacts.h"

#include <cstdio>
#include <cstdlib>

#include "bmp/BmpHeader.h"
#include "common/Failure.h"
#include "common/StdFile.h"

namespace host {

std::optional<BmpFacts> factsOf(const BITMAPINFOHEADER& header) {
    constexpr DWORD longestHeader = 256;
    const bool plausible = header.biSize >= sizeof header && header.biSize <= longestHeader &&
                           header.biWidth > 0 && header.biHeight != 0 && header.biBitCount <= 32 &&
                           header.biClrUsed <= 256;
    if (!plausible) return std::nullopt;
    return BmpFacts{static_cast<int>(header.biWidth), std::abs(static_cast<int>(header.biHeight)),
                    header.biBitCount};
}

BmpFacts readBmpFacts(const std::string& path) {
    const StdFile file = openFile(path, L"rb");
    BITMAPFILEHEADER fileHeader{};
    BITMAPINFOHEADER header{};
    const bool read = file && std::fread(&fileHeader, sizeof fileHeader, 1, file.get()) == 1 &&
                      std::fread(&header, sizeof header, 1, file.get()) == 1 &&
                      fileHeader.bfType == shared::bmpSignature;
    const std::optional<BmpFacts> facts = read ? factsOf(header) : std::nullopt;
    if (!facts)
        throw Failure{FailureCode::SourceError,
                      "The source says that the page is done, but it wrote no BMP file."};
    return *facts;
}

}  // namespace host
