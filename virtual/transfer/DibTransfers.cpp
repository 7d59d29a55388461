#include "transfer/DibTransfers.h"

#include <windows.h>

#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

#include "bmp/BmpHeader.h"
#include "capabilities/GlobalMemory.h"

namespace vscan {

namespace {

// A page as a bitmap: header first, then the rows from the lowest up.
class DibPage {
public:
    DibPage(const PageRequest& page, const PageContent& content, const Density& density)
        : renderer_(inDibKind(page), content),
          stride_(paddedRowBytes(renderer_.kind(), renderer_.width())),
          row_(stride_),
          header_(shared::dibHeader(formatOf(renderer_, density, page.vanilla), renderer_.height())) {}

    const std::vector<std::uint8_t>& header() const { return header_; }
    int height() const { return renderer_.height(); }
    std::size_t stride() const { return stride_; }
    std::uint64_t pixelBytes() const {
        return static_cast<std::uint64_t>(stride_) * static_cast<std::uint64_t>(height());
    }
    // Sizes in bitmaps have 32 bits; larger pages can only be had strip by strip.
    bool tooLarge() const {
        return shared::bmpFileHeaderBytes + header_.size() + pixelBytes() > std::numeric_limits<DWORD>::max();
    }
    // Row `upward`, counted from the foot of the page, padded.
    const std::vector<std::uint8_t>& row(int upward) {
        renderer_.render(height() - 1 - upward, row_.data());
        if (renderer_.kind() == PixelKind::Rgb24)
            for (int x = 0; x < renderer_.width(); ++x)
                std::swap(row_[3u * x], row_[3u * x + 2]);
        return row_;
    }

private:
    static PageRequest inDibKind(PageRequest page) {
        page.kind = dibKind(page.kind);
        return page;
    }
    static shared::BmpFormat formatOf(const PageRenderer& renderer, const Density& density, bool vanilla) {
        shared::BmpFormat format;
        format.width = renderer.width();
        format.bits = bitsPerPixel(renderer.kind());
        format.xDotsPerInch = density.x;
        format.yDotsPerInch = density.y;
        for (const Color& color : paletteOf(renderer.kind(), vanilla))
            format.palette.push_back({color.blue, color.green, color.red, 0});
        return format;
    }

    PageRenderer renderer_;
    std::size_t stride_;
    std::vector<std::uint8_t> row_;
    std::vector<std::uint8_t> header_;
};

bool writeAll(std::FILE* file, const std::vector<std::uint8_t>& bytes) {
    return std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
}

bool writeBmp(std::FILE* file, DibPage& page) {
    const std::size_t pixelOffset = page.header().size();
    if (!writeAll(file, shared::bmpFileHeader(pixelOffset, pixelOffset + page.pixelBytes()))) return false;
    if (!writeAll(file, page.header())) return false;
    for (int upward = 0; upward < page.height(); ++upward)
        if (!writeAll(file, page.row(upward))) return false;
    return true;
}

}  // namespace

Outcome transferNative(const PageRequest& page, const PageContent& content, const Density& density,
                       TW_UINT32& handle) {
    DibPage dib(page, content, density);
    if (dib.tooLarge()) return failure(TWCC_LOWMEMORY);
    const std::size_t bytes = dib.header().size() + static_cast<std::size_t>(dib.pixelBytes());
    const HGLOBAL block = makeGlobal(bytes, [&](std::uint8_t* target) {
        std::memcpy(target, dib.header().data(), dib.header().size());
        target += dib.header().size();
        for (int upward = 0; upward < dib.height(); ++upward, target += dib.stride())
            std::memcpy(target, dib.row(upward).data(), dib.stride());
    });
    if (!block) return failure(TWCC_LOWMEMORY);
    handle = static_cast<TW_UINT32>(reinterpret_cast<UINT_PTR>(block));
    return returning(TWRC_XFERDONE);
}

Outcome transferFile(const PageRequest& page, const PageContent& content, const Density& density,
                     const std::string& path) {
    DibPage dib(page, content, density);
    if (dib.tooLarge()) return failure(TWCC_FILEWRITEERROR);
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "wb"), std::fclose);
    if (!file) return failure(TWCC_FILEWRITEERROR);
    bool complete = writeBmp(file.get(), dib);
    complete = std::fclose(file.release()) == 0 && complete;
    if (complete) return returning(TWRC_XFERDONE);
    DeleteFileA(path.c_str());
    return failure(TWCC_FILEWRITEERROR);
}

}  // namespace vscan
