#include "BlockReader.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "Failure.h"
#include "HostWindow.h"
#include "Text.h"

namespace smscan {

namespace {

constexpr unsigned int untouched = 0xfffffffe;  // a count that the module never writes

// Bytes that tell afterwards whether anything was written over them: the last block comes without its length.
constexpr uint8_t marker[] = {0x5a, 0xc3, 0x96, 0x0f, 0xe1, 0x78, 0x2d, 0xb4};

// The module hands colours over as red, green, blue; files have them the other way round.
void swapRedAndBlue(uint8_t* pixels, size_t bytes) {
    for (size_t i = 0; i + 2 < bytes; i += 3)
        std::swap(pixels[i], pixels[i + 2]);
}

struct BlockPlan {
    size_t rowBytes;    // of a row as the module delivers it
    unsigned int size;  // to ask for at a time
};

BlockPlan planBlocks(const ModuleLibrary& module, const PageImage& image, int sourceBits, int height) {
    if (image.layout != PixelLayout::Packed)
        throw Failure{
            ExitCode::CannotWrite,
            format("Pages with %d bits per pixel%s can't be pulled block by block without loss. Use "
                   "--mech memory.",
                   sourceBits, image.format.bits == 24 && sourceBits == 24 ? " in planes" : "")};
    if (height < 0)
        throw Failure{ExitCode::CannotWrite,
                      "The source doesn't know how long the page is, which pulling block by "
                      "block needs. Use --mech memory."};
    const size_t width = static_cast<size_t>(image.format.width);
    const size_t rowBytes = image.format.bits == 24 ? 3 * width : width;
    // Below 8 bits the rows that the module hands over are longer than those that the source delivers, and
    // only the first that fit count: one at a time loses none.
    if (image.format.bits < 8)
        return {rowBytes, static_cast<unsigned int>(bmpRowBytes(image.format.width, image.format.bits))};
    unsigned int lowest = 0;
    unsigned int highest = 0;
    unsigned int preferred = 0;
    module.smGetMemXferSize(&lowest, &highest, &preferred);
    constexpr unsigned int most = 1 << 24;
    const unsigned int atLeastOneRow =
        static_cast<unsigned int>(bmpRowBytes(image.format.width, image.format.bits));
    return {rowBytes, std::max(std::min(preferred, most), atLeastOneRow)};
}

[[noreturn]] void failEarly(int rows, int height) {
    throw Failure{
        ExitCode::SourceError,
        format("The source ended the page at line %d of %d: cancelled there, or failed.", rows, height)};
}

}  // namespace

DibFacts readPageByBlocks(const ModuleLibrary& module, const PageImage& image, int sourceBits, int height,
                          const std::string& path, const std::function<void(int rows)>& onRows) {
    const BlockPlan plan = planBlocks(module, image, sourceBits, height);
    StripWriter writer(path, image.format, height, image.layout);
    std::vector<uint8_t> buffer(plan.size + plan.rowBytes + sizeof marker);
    onRows(0);
    for (bool over = false; !over && !cancelRequested();) {
        unsigned int count = untouched;
        std::memcpy(buffer.data(), marker, sizeof marker);
        over = module.smReadBlock(buffer.data(), plan.size, &count) != 0;
        if (count == untouched) failEarly(writer.rows(), height);
        size_t rows = count / plan.rowBytes;
        if (over) {
            // The last block holds what is missing, if anything was delivered at all.
            rows = static_cast<size_t>(height - writer.rows());
            const bool delivered = std::memcmp(buffer.data(), marker, sizeof marker) != 0;
            if (rows > 0 && (!delivered || rows * plan.rowBytes > buffer.size()))
                failEarly(writer.rows(), height);
        } else if (count % plan.rowBytes != 0) {
            throw Failure{ExitCode::SourceError,
                          "The source delivers parts of rows, which can't be told apart when "
                          "pulled block by block. Use --mech memory."};
        }
        if (image.format.bits == 24) swapRedAndBlue(buffer.data(), rows * plan.rowBytes);
        writer.add({buffer.data(), buffer.size(), static_cast<uint32_t>(plan.rowBytes),
                    static_cast<uint32_t>(image.format.width), static_cast<uint32_t>(rows), 0,
                    static_cast<uint32_t>(writer.rows())});
        onRows(writer.rows());
    }
    if (writer.rows() > 0) return writer.finish();
    return {};
}

}  // namespace smscan
