#include "record/Bitmaps.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "bmp/BmpHeader.h"

namespace record {

namespace {

BITMAPINFOHEADER headerOf(const recording::Bytes& dib) {
    BITMAPINFOHEADER header{};
    if (dib.size() >= sizeof header) std::memcpy(&header, dib.data(), sizeof header);
    return header;
}

std::uint64_t wantedHeaderBytes(const BITMAPINFOHEADER& header) {
    std::uint64_t colors = header.biClrUsed;
    if (colors == 0 && header.biBitCount <= 8) colors = 1u << header.biBitCount;
    const unsigned masks = header.biCompression == BI_BITFIELDS && header.biSize == sizeof header ? 12 : 0;
    return header.biSize + masks + colors * sizeof(RGBQUAD);
}

}  // namespace

std::size_t dibHeaderBytes(const recording::Bytes& dib) {
    return static_cast<std::size_t>(std::min<std::uint64_t>(dib.size(), wantedHeaderBytes(headerOf(dib))));
}

std::size_t dibBytes(const recording::Bytes& dib) {
    const BITMAPINFOHEADER header = headerOf(dib);
    if (header.biSize == 0 || header.biWidth <= 0 || header.biBitCount > 64) return dib.size();
    const bool packed = header.biCompression != BI_RGB && header.biCompression != BI_BITFIELDS;
    const auto rows = static_cast<std::uint64_t>(std::llabs(header.biHeight));
    const auto rowBytes = static_cast<std::uint64_t>(shared::bmpRowBytes(header.biWidth, header.biBitCount));
    const std::uint64_t pixels = packed ? header.biSizeImage : rows * rowBytes;
    return static_cast<std::size_t>(std::min<std::uint64_t>(dib.size(), wantedHeaderBytes(header) + pixels));
}

std::size_t fileHeaderBytes(const recording::Bytes& file) {
    std::uint32_t offset = 0;
    constexpr std::size_t offsetAt = 10;
    if (file.size() < shared::bmpFileHeaderBytes || file[0] != 'B' || file[1] != 'M') return 0;
    std::memcpy(&offset, file.data() + offsetAt, sizeof offset);
    constexpr std::size_t longest = 4096;
    return std::min({file.size(), longest, static_cast<std::size_t>(offset)});
}

recording::Bytes wholeFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (!file) return {};
    recording::Bytes bytes(static_cast<std::size_t>(file.tellg()));
    file.seekg(0);
    file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

}  // namespace record
