// Memory transfer, pulled: each call fetches one strip into the host's buffer.
#include <algorithm>
#include <cstring>

#include "TScanModule.h"
#include "base/Names.h"

namespace {

// Whether a row can be as wide as the strip says. A host that doesn't know the width has no room for a row
// longer than what it asks for.
bool isPossible(const PulledImage& image, const TW_IMAGEMEMXFER& strip, uint64_t rowBytes, uint32_t size) {
    if (!image.described) return false;
    if (image.width > 0) return strip.Columns <= static_cast<uint32_t>(image.width);
    if (rowBytes > size) return false;
    return static_cast<uint64_t>(strip.Columns) * image.bitsPerPixel <=
           static_cast<uint64_t>(strip.BytesPerRow) * 8;
}

// Copies row by row, without the source's padding. Kept: whole rows, so the last one may run past `size` by
// less than a row. A strip that claims a row wider than it can be is cut at `size`.
uint32_t copyRows(const PulledImage& image, uint8_t* destination, uint32_t size, const TW_IMAGEMEMXFER& strip,
                  const GlobalBuffer& buffer) {
    const uint64_t rowBytes = static_cast<uint64_t>(image.bytesPerPixel) * strip.Columns;
    if (rowBytes == 0) return 0;
    const bool honest = isPossible(image, strip, rowBytes, size);
    uint64_t offset = 0;
    uint32_t count = 0;
    for (uint32_t row = 0; row < strip.Rows && count < size && offset < buffer.size(); ++row) {
        const auto taken =
            static_cast<uint32_t>(honest ? rowBytes : std::min<uint64_t>(rowBytes, size - count));
        // Beyond the buffer's end there is nothing to copy; packed depths count more bytes than they have.
        std::memcpy(destination + count, buffer.data() + offset,
                    static_cast<size_t>(std::min<uint64_t>(taken, buffer.size() - offset)));
        count += taken;
        offset += strip.BytesPerRow;
    }
    return count;
}

uint32_t copyStrip(const PulledImage& image, uint8_t* destination, uint32_t size,
                   const TW_IMAGEMEMXFER& strip, const GlobalBuffer& buffer) {
    if (strip.BytesWritten == 0) return 0;
    if (static_cast<uint64_t>(image.bytesPerPixel) * strip.Columns != strip.BytesPerRow) {
        return copyRows(image, destination, size, strip, buffer);
    }
    // Kept: what doesn't fit is dropped.
    const uint32_t count = std::min<uint32_t>(size, strip.BytesWritten);
    std::memcpy(destination, buffer.data(), count);
    return count;
}

// Whether a host may be given what lies behind a strip: rows of packed depths and of planes count more bytes
// than they have.
bool showsMore(const PulledImage& image, const TW_IMAGEMEMXFER& strip) {
    return static_cast<uint64_t>(image.bytesPerPixel) * strip.Columns > strip.BytesPerRow ||
           static_cast<uint64_t>(strip.Rows) * strip.BytesPerRow > strip.BytesWritten;
}

// One strip; the result decides only whether all images end.
int32_t pullStrip(TScanModule& module, Link& link, Transfers& transfers, const MethodTrace& trace,
                  GlobalBuffer& buffer, uint8_t* destination, uint32_t size, uint32_t* count) {
    PulledImage& image = transfers.pulled;
    StripBufferSizes sizes = image.sizes;
    if (std::strcmp(link.dataSource.Manufacturer, brandName) == 0) {
        sizes.preferred = size;
    } else {
        image.sizes.preferred = sizes.preferred = std::min(sizes.preferred, size);
    }
    transfers.clearCancel();
    transfers.area.buffer = SmBufferDescriptor{};
    // A new one is all zeros.
    if (image.showsMore) buffer.Free();
    if (!allocateStripBuffer(trace, sizes, buffer)) return TWCC_LOWMEMORY;

    uint16_t pending;
    TW_IMAGEMEMXFER strip = makeStripRequest(buffer.data(), buffer.size());
    const TW_UINT16 code = fetchStrip(link, strip, buffer.size());
    if (code == TWRC_CANCEL) {
        image.bytesPerPixel = 0;
        *count = imageOver;
        module.EndThisXfer(&pending);
        module.EndAllXfer();
        return 0;
    }
    if (code != TWRC_SUCCESS && code != TWRC_XFERDONE) {
        buffer.Free();
        // Asked before there was an image: the next call asks for its description anew.
        if (!image.described) image.bytesPerPixel = 0;
        const int32_t result = link.conditionCode();
        if (result == TWCC_OPERATIONERROR) {
            module.EndAllXfer();
            *count = imageOver;
        }
        return result;
    }
    *count = copyStrip(image, destination, size, strip, buffer);
    image.showsMore = image.showsMore || showsMore(image, strip);
    image.emptyStrips = strip.BytesWritten == 0 ? image.emptyStrips + 1 : 0;
    if (code == TWRC_SUCCESS && image.emptyStrips == mostEmptyStrips) {
        trace.warn(endlessStrips);
        image = PulledImage{};
        *count = imageOver;
        module.EndThisXfer(&pending);
        module.EndAllXfer();
        return 0;
    }
    if (!transfers.cancelThis && !transfers.cancelAll && code == TWRC_XFERDONE) {
        // Kept: how long the last strip is isn't said; its bytes are in the host's buffer.
        image.bytesPerPixel = 0;
        *count = imageOver;
        module.EndThisXfer(&pending);
    }
    return 0;
}

}  // namespace

void TScanModule::ReadBlock(uint8_t* destination, uint32_t size, uint32_t* count) {
    // Kept: all its lines name the pushed form.
    const MethodTrace trace{"TScanModule::DoMemXfer"};
    PulledImage& image = transfers_.pulled;
    if (image.bytesPerPixel == 0) {
        GetMemXferSize(&image.sizes.min, &image.sizes.max, &image.sizes.preferred);
        TW_IMAGEINFO info = {};
        // Kept: an image that the source doesn't describe is pulled all the same.
        image.described = link_.imageInfo(info) == TWRC_SUCCESS;
        image.bytesPerPixel = info.PixelType == TWPT_RGB ? 3 : 1;
        image.width = info.ImageWidth;
        image.bitsPerPixel = static_cast<uint16_t>(info.BitsPerPixel);
        image.showsMore = false;
    }
    // Kept for the next strip, but nobody else's meanwhile: what the source calls may come here again.
    GlobalBuffer buffer;
    buffer.swap(transfers_.pulledStrip);
    const int32_t result = pullStrip(*this, link_, transfers_, trace, buffer, destination, size, count);
    if (transfers_.cancelAll || result == TWCC_OPERATIONERROR) {
        // Kept: after an operation error for the second time.
        *count = imageOver;
        EndAllXfer();
    } else if (image.bytesPerPixel != 0) {
        buffer.swap(transfers_.pulledStrip);
    }
}
