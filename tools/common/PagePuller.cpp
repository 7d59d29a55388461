#include "common/PagePuller.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "common/Failure.h"
#include "common/Text.h"
#include "common/Wording.h"

namespace host {

namespace {

constexpr unsigned int untouched = 0xfffffffe;  // a count that the module never writes

// What the buffer holds before each call, so that the last block's length shows, which isn't told: where the
// page's own bytes begin to differ. Rows of a page don't look like this.
uint8_t fillerAt(size_t offset) {
    return static_cast<uint8_t>(offset * 167 + (offset >> 8) * 29 + 90);
}

void fill(std::vector<uint8_t>& buffer) {
    for (size_t i = 0; i < buffer.size(); ++i)
        buffer[i] = fillerAt(i);
}

size_t bytesWritten(const std::vector<uint8_t>& buffer) {
    size_t count = buffer.size();
    while (count > 0 && buffer[count - 1] == fillerAt(count - 1))
        --count;
    return count;
}

// The module hands colours over as red, green, blue; files have them the other way round.
void swapRedAndBlue(uint8_t* pixels, size_t bytes) {
    for (size_t i = 0; i + 2 < bytes; i += 3)
        std::swap(pixels[i], pixels[i + 2]);
}

struct BlockPlan {
    size_t rowBytes;    // of a row as the module delivers it
    unsigned int size;  // to ask for at a time
};

BlockPlan planBlocks(const ModuleLibrary& module, const PageImage& image, int sourceBits) {
    if (image.layout != PixelLayout::Packed)
        throw Failure{
            FailureCode::Usage,
            format("pages with %d bits per pixel%s can't be pulled block by block without loss. Use "
                   "%smech memory.",
                   sourceBits, image.format.bits == 24 && sourceBits == 24 ? " in planes" : "",
                   wording.option)};
    const size_t width = static_cast<size_t>(image.format.width);
    const size_t rowBytes = image.format.bits == 24 ? 3 * width : width;
    // Below 8 bits the rows that the module hands over are longer than those that the source delivers, and
    // only the first that fit count: one at a time loses none.
    if (image.format.bits < 8)
        return {rowBytes,
                static_cast<unsigned int>(shared::bmpRowBytes(image.format.width, image.format.bits))};
    unsigned int lowest = 0;
    unsigned int highest = 0;
    unsigned int preferred = 0;
    module.smGetMemXferSize(&lowest, &highest, &preferred);
    constexpr unsigned int most = 1 << 24;
    const unsigned int atLeastOneRow =
        static_cast<unsigned int>(shared::bmpRowBytes(image.format.width, image.format.bits));
    return {rowBytes, std::max(std::min(preferred, most), atLeastOneRow)};
}

[[noreturn]] void failEarly(int rows) {
    throw Failure{
        FailureCode::SourceError,
        format("the source cancelled or failed at line %d; pulled block by block it gives no reason.", rows)};
}

}  // namespace

std::unique_ptr<StripWriter> pullPage(const ModuleLibrary& module, const HostWindow& window,
                                      const PageImage& image, int sourceBits, int height,
                                      const std::string& path, const std::function<void(int rows)>& onRows) {
    const BlockPlan plan = planBlocks(module, image, sourceBits);
    auto writer = std::make_unique<StripWriter>(path, image.format, height, image.layout);
    std::vector<uint8_t> buffer(plan.size + plan.rowBytes);
    onRows(0);
    for (bool over = false; !over && !window.cancelRequested();) {
        fill(buffer);
        unsigned int count = untouched;
        over = module.smReadBlock(buffer.data(), plan.size, &count) != 0;
        if (count == untouched) failEarly(writer->rows());
        const size_t bytes = over ? bytesWritten(buffer) : count;
        // The last bytes of a page may happen to look like what was there before.
        const size_t rows = over ? (bytes + plan.rowBytes - 1) / plan.rowBytes : bytes / plan.rowBytes;
        if (!over && bytes % plan.rowBytes != 0)
            throw Failure{
                FailureCode::SourceError,
                "the source delivers parts of rows, which can't be told apart when they are pulled block "
                "by block. Use " +
                    optionName("mech") + " memory."};
        if (image.format.bits == 24) swapRedAndBlue(buffer.data(), rows * plan.rowBytes);
        writer->add({buffer.data(), buffer.size(), static_cast<uint32_t>(plan.rowBytes),
                     static_cast<uint32_t>(image.format.width), static_cast<uint32_t>(rows), 0,
                     static_cast<uint32_t>(writer->rows())});
        onRows(writer->rows());
        if (over && rows == 0 && !(height >= 0 && writer->complete())) failEarly(writer->rows());
    }
    return writer;
}

}  // namespace host
