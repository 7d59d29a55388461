#include "pages/BmpReader.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdlib>

namespace pages {

namespace {

constexpr std::size_t blockBytes = 1 << 18;

[[noreturn]] void fail() {
    throw WriteError{GetLastError(), ""};
}

[[noreturn]] void refuse(const char* what) {
    throw WriteError{0, std::string("the page ") + what + ", which only a BMP file can hold."};
}

bool isGrayRamp(const std::vector<shared::BmpColor>& palette, int bits, bool whiteFirst) {
    const std::vector<shared::BmpColor> ramp = shared::grayPalette(bits, whiteFirst);
    const auto same = [](const shared::BmpColor& a, const shared::BmpColor& b) {
        return a.red == b.red && a.green == b.green && a.blue == b.blue;
    };
    return palette.size() == ramp.size() && std::equal(ramp.begin(), ramp.end(), palette.begin(), same);
}

}  // namespace

BmpReader::BmpReader(const std::wstring& path)
    : file_(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                        FILE_FLAG_SEQUENTIAL_SCAN, nullptr)) {
    if (file_.get() == INVALID_HANDLE_VALUE) {
        file_.release();
        fail();
    }
    readHeaders();
    const std::size_t rows = std::max<std::size_t>(1, blockBytes / fileRowBytes_);
    block_.resize(rows * fileRowBytes_);
    row_.resize(std::max(fileRowBytes_, format_.rowBytes()));
}

void BmpReader::readHeaders() {
    BITMAPFILEHEADER fileHeader{};
    BITMAPINFOHEADER header{};
    read(0, &fileHeader, sizeof fileHeader);
    read(sizeof fileHeader, &header, sizeof header);
    const bool valid = fileHeader.bfType == shared::bmpSignature && header.biSize >= sizeof header &&
                       header.biWidth > 0 && header.biHeight != 0 && header.biHeight != LONG_MIN;
    if (!valid) throw WriteError{0, "the page that came is no BMP file."};
    if (header.biCompression != BI_RGB) refuse("is compressed");
    fileBits_ = header.biBitCount;
    if (fileBits_ != 1 && fileBits_ != 4 && fileBits_ != 8 && fileBits_ != 24 && fileBits_ != 32)
        refuse("has an uncommon number of bits per pixel");
    // Rows are counted in 32 bits.
    if (shared::bmpRowBytes(header.biWidth, 32) > INT_MAX) refuse("is wider than any scanner's");
    format_.width = header.biWidth;
    format_.height = std::abs(static_cast<int>(header.biHeight));
    format_.xDotsPerInch = header.biXPelsPerMeter * 0.0254;
    format_.yDotsPerInch = header.biYPelsPerMeter * 0.0254;
    topDown_ = header.biHeight < 0;
    pixelsAt_ = fileHeader.bfOffBits;
    fileRowBytes_ = static_cast<std::size_t>(shared::bmpRowBytes(format_.width, fileBits_));
    if (fileBits_ <= 8) {
        const std::size_t most = std::size_t{1} << fileBits_;
        const std::size_t count =
            header.biClrUsed == 0 ? most : std::min<std::size_t>(header.biClrUsed, most);
        format_.palette.resize(count);
        read(sizeof fileHeader + header.biSize, format_.palette.data(), count * sizeof(shared::BmpColor));
    }
    choosePixels(fileBits_);
}

void BmpReader::choosePixels(int fileBits) {
    format_.bits = fileBits;
    if (fileBits > 8) {
        format_.color = ColorKind::Rgb;
        format_.bits = 24;
        return;
    }
    inverted_ = isGrayRamp(format_.palette, fileBits, true);
    if (inverted_ || isGrayRamp(format_.palette, fileBits, false)) {
        format_.color = ColorKind::Gray;
        format_.palette.clear();
    } else {
        format_.color = ColorKind::Palette;
        // A pixel may name a colour that isn't there.
        format_.palette.resize(std::size_t{1} << fileBits);
    }
}

const std::uint8_t* BmpReader::row() {
    if (nextRow_ >= blockFirst_ + blockRows_) readBlock(nextRow_);
    const int inBlock = nextRow_ - blockFirst_;
    const int place = topDown_ ? inBlock : blockRows_ - 1 - inBlock;
    const std::uint8_t* const source = block_.data() + static_cast<std::size_t>(place) * fileRowBytes_;
    ++nextRow_;
    if (format_.color == ColorKind::Rgb) {
        const int pixelBytes = fileBits_ / 8;
        for (int x = 0; x < format_.width; ++x) {
            const std::uint8_t* const pixel = source + static_cast<std::size_t>(x) * pixelBytes;
            std::uint8_t* const target = row_.data() + static_cast<std::size_t>(x) * 3;
            target[0] = pixel[2];
            target[1] = pixel[1];
            target[2] = pixel[0];
        }
        return row_.data();
    }
    if (!inverted_) return source;
    for (std::size_t i = 0; i < format_.rowBytes(); ++i)
        row_[i] = static_cast<std::uint8_t>(~source[i]);
    return row_.data();
}

void BmpReader::readBlock(int firstRow) {
    blockFirst_ = firstRow;
    blockRows_ = std::min(static_cast<int>(block_.size() / fileRowBytes_), format_.height - firstRow);
    const int fileRow = topDown_ ? firstRow : format_.height - firstRow - blockRows_;
    const std::size_t bytes = static_cast<std::size_t>(blockRows_) * fileRowBytes_;
    read(pixelsAt_ + static_cast<std::uint64_t>(fileRow) * fileRowBytes_, block_.data(), bytes);
}

void BmpReader::read(std::uint64_t offset, void* bytes, std::size_t count) {
    LARGE_INTEGER distance;
    distance.QuadPart = static_cast<LONGLONG>(offset);
    DWORD done = 0;
    if (!SetFilePointerEx(file_.get(), distance, nullptr, FILE_BEGIN) ||
        !ReadFile(file_.get(), bytes, static_cast<DWORD>(count), &done, nullptr))
        fail();
    // The last row's padding may be missing.
    if (done + 3 < count) throw WriteError{0, "the page that came ends too early."};
}

void copyPage(const std::wstring& bmpFile, double xDotsPerInch, double yDotsPerInch, PageWriter& writer) {
    BmpReader reader(bmpFile);
    PageFormat format = reader.format();
    format.xDotsPerInch = xDotsPerInch;
    format.yDotsPerInch = yDotsPerInch;
    writer.begin(format);
    for (int row = 0; row < format.height; ++row)
        writer.row(reader.row());
    writer.end();
}

void setBmpResolution(const std::wstring& bmpFile, double xDotsPerInch, double yDotsPerInch) {
    const HANDLE file =
        CreateFileW(bmpFile.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) fail();
    const LONG dots[] = {shared::dotsPerMetre(xDotsPerInch), shared::dotsPerMetre(yDotsPerInch)};
    constexpr LONG place = shared::bmpFileHeaderBytes + offsetof(BITMAPINFOHEADER, biXPelsPerMeter);
    DWORD done = 0;
    const bool written = SetFilePointer(file, place, nullptr, FILE_BEGIN) == static_cast<DWORD>(place) &&
                         WriteFile(file, dots, sizeof dots, &done, nullptr) && done == sizeof dots;
    const DWORD error = GetLastError();
    CloseHandle(file);
    if (!written) throw WriteError{error, ""};
}

}  // namespace pages
