// The images of the hostile source: what it says of them, and how they come.
#include "HostileSource.h"

#include <algorithm>
#include <cstring>

#include "Watch.h"

namespace {

// What the module puts up with, and as much again for calls within calls.
constexpr uint32_t mostEmptyStrips = 10000, mostUndescribed = 1000, mostWithoutHost = 50;
constexpr uint32_t strips = 1000, images = 12;  // that the source has before it ends by itself

// Kinds of image: pixel type, bits per pixel, samples.
constexpr struct {
    TW_INT16 pixelType, bits, samples;
} kinds[] = {{TWPT_BW, 1, 1},    {TWPT_GRAY, 8, 1}, {TWPT_RGB, 24, 3},    {TWPT_RGB, 24, 3},
             {TWPT_GRAY, 16, 1}, {TWPT_RGB, 48, 3}, {TWPT_PALETTE, 4, 1}, {TWPT_PALETTE, 8, 1}};

}  // namespace

void HostileSource::newImage() {
    ++imageNumber_;
    row_ = strips_ = emptyStrips_ = 0;
    bytes_ = 0;
    endlessStrips_ = dice_.inHundred(3);
    if (keepsImage) return;
    const auto& kind = dice_.pick(kinds);
    image_ = {{300, 0}, {300, 0}, 0, 0, kind.samples, {}, kind.bits, 0, kind.pixelType, TWCP_NONE};
    image_.ImageWidth = static_cast<TW_INT32>(1 + dice_.below(300));
    image_.ImageLength = static_cast<TW_INT32>(1 + dice_.below(100));
    for (TW_INT16 i = 0; i < kind.samples; ++i)
        image_.BitsPerSample[i] = static_cast<TW_INT16>(kind.bits / kind.samples);
    image_.Planar = kind.samples == 3 && dice_.inHundred(40);
    if (dice_.inHundred(10)) image_.Compression = TWCP_PACKBITS;
    if (lies()) image_.ImageWidth = static_cast<TW_INT32>(dice_.any());
    if (lies()) image_.ImageLength = static_cast<TW_INT32>(dice_.any());
    if (lies()) image_.BitsPerPixel = static_cast<TW_INT16>(dice_.any());
    if (lies()) image_.PixelType = static_cast<TW_INT16>(dice_.any());
    if (lies()) image_.SamplesPerPixel = static_cast<TW_INT16>(dice_.any());
    if (lies()) dice_.fill(&image_, sizeof image_);
    if (image_.ImageWidth <= 0) widthKnown_ = false;
    const uint64_t row = uint64_t{3} * static_cast<uint32_t>(image_.ImageWidth);
    longestRow_ = static_cast<uint32_t>(std::min<uint64_t>(UINT32_MAX, std::max<uint64_t>(longestRow_, row)));
}

TW_UINT16 HostileSource::setupMemory(TW_SETUPMEMXFER& setup) {
    setup = {512 + dice_.below(1000), 4096 + dice_.below(60000), 2000 + dice_.below(2000)};
    if (endlessStrips_) setup = {0x10000, 0x10000, 0x10000};
    if (lies()) setup.MinBufSize = dice_.any();
    if (lies()) setup.MaxBufSize = dice_.any();
    if (lies()) setup.Preferred = dice_.any();
    return returnCode(TWRC_SUCCESS);
}

TW_UINT16 HostileSource::imageInfo(TW_IMAGEINFO& info) {
    const TW_UINT16 code = endlessImages_ && images_ > 0 ? +TWRC_FAILURE : returnCode(TWRC_SUCCESS);
    info = image_;
    return code;
}

// A little beside it, anything below an edge, or anything at all.
uint32_t HostileSource::lieAbout(uint32_t value, uint32_t edge) {
    switch (dice_.below(3)) {
        case 0:
            return value + dice_.below(5) - 2;
        case 1:
            return dice_.below(edge + 1);
        default:
            return dice_.any();
    }
}

TW_UINT16 HostileSource::nextStrip(TW_IMAGEMEMXFER& strip) {
    const TW_MEMORY given = strip.Memory;
    auto* const bytes = static_cast<uint8_t*>(given.TheMem);
    if (bytes == nullptr || given.Length == 0 || given.Flags != (TWMF_APPOWNS | TWMF_POINTER))
        fault("asks for a strip without a buffer");
    // The whole of it has to be there.
    bytes[given.Length - 1] = 1;
    dice_.fill(bytes, std::min<TW_UINT32>(given.Length, 300));
    const TW_UINT16 failure = endlessStrips_ ? +TWRC_SUCCESS : returnCode(TWRC_SUCCESS);
    if (failure != TWRC_SUCCESS && failure != TWRC_XFERDONE) return failure;

    const bool isHonest = lies_ == 0 || !dice_.inHundred(20);
    const auto width = static_cast<uint32_t>(std::clamp<TW_INT32>(image_.ImageWidth, 1, 3000));
    const auto length = static_cast<uint32_t>(std::clamp<TW_INT32>(image_.ImageLength, 1, 3000));
    const auto bits = static_cast<uint32_t>(std::clamp<TW_INT32>(image_.BitsPerPixel, 1, 64));
    const uint32_t rowBytes = (width * (image_.Planar ? 8 : bits) + 7) / 8;
    strip = {image_.Compression,
             dice_.inHundred(60) ? (rowBytes + 3) / 4 * 4 : rowBytes,
             width,
             0,
             0,
             row_,
             0,
             given};
    strip.Rows = std::min<uint32_t>(given.Length / strip.BytesPerRow, std::max(length, row_ + 1) - row_);
    if (endlessStrips_) strip.Rows = given.Length / strip.BytesPerRow;
    if (endlessStrips_ && imageNumber_ % 2 != 0) strip.Rows = 0;
    strip.BytesWritten = strip.Rows * strip.BytesPerRow;
    // Who lies of one number lies of others too.
    for (TW_UINT32* field : {&strip.BytesPerRow, &strip.Columns, &strip.Rows, &strip.XOffset, &strip.YOffset,
                             &strip.BytesWritten, &strip.Memory.Length}) {
        if (!isHonest && dice_.inHundred(40)) *field = lieAbout(*field, given.Length);
    }
    if (lies()) strip.Memory.TheMem = strangeHandle();

    row_ += strip.Rows;
    emptyStrips_ = strip.BytesWritten == 0 ? emptyStrips_ + 1 : 0;
    if (emptyStrips_ > mostEmptyStrips) fault("takes empty strips for ever");
    bytes_ += std::min(strip.BytesWritten, given.Length);
    const bool isPlain = image_.ImageWidth <= 3000 && image_.ImageLength <= 3000 && image_.BitsPerPixel <= 64;
    const uint64_t most = (uint64_t{2} << 20) + uint64_t{4} * width * length * bits / 8;
    if (oneShotRuns && isPlain && bytes_ > most) fault("writes strips to a file for ever");
    if (strip.BytesWritten != 0) ++strips_;
    const bool last = (row_ >= length && !endlessStrips_) || strips_ > strips;
    return last || failure == TWRC_XFERDONE ? +TWRC_XFERDONE : +TWRC_SUCCESS;
}

TW_UINT16 HostileSource::nativeDib(HGLOBAL& dib) {
    const TW_UINT16 code = returnCode(TWRC_XFERDONE);
    BITMAPINFOHEADER header = {sizeof header,
                               1 + static_cast<LONG>(dice_.below(100)),
                               1 + static_cast<LONG>(dice_.below(100)),
                               1,
                               8,
                               0,
                               0,
                               0,
                               0,
                               256,
                               0};
    const uint32_t row = static_cast<uint32_t>(header.biWidth + 3) / 4 * 4;
    uint32_t size = sizeof header + 1024 + row * static_cast<uint32_t>(header.biHeight);
    if (lies()) size = dice_.below(dice_.inHundred(50) ? 60 : size);
    if (lies()) header.biWidth = static_cast<LONG>(dice_.any());
    if (lies()) header.biHeight = static_cast<LONG>(dice_.any());
    if (lies()) header.biClrUsed = dice_.any();
    dib = memory.allocate(size, Owner::Source);
    if (uint8_t* const bytes = memory.lock(dib)) {
        std::memcpy(bytes, &header, std::min<size_t>(size, sizeof header));
        memory.unlock(dib);
    }
    memory.allowLock(dib);
    const bool isStrange = lies();
    if (code == TWRC_XFERDONE && !isStrange)
        memory.give(dib, Owner::Module);
    else
        keep(dib);
    if (isStrange) dib = strangeHandle();
    return code;
}

TW_UINT16 HostileSource::pending(TW_PENDINGXFERS& pending) {
    newImage();
    if (endlessImages_ && ++undescribed_ > mostUndescribed) fault("waits for a description for ever");
    pending.Count = static_cast<TW_UINT16>(lies() ? dice_.any() : dice_.below(3));
    if (++images_ > images) pending.Count = 0;
    if (hostIsGone && ++imagesWithoutHost_ > mostWithoutHost) fault("a batch goes on without a host");
    if (!hostIsGone && !endlessImages_) return returnCode(TWRC_SUCCESS);
    pending.Count = 0xFFFF;
    return TWRC_SUCCESS;
}

TW_UINT16 HostileSource::palette(TW_PALETTE8& palette) {
    dice_.fill(&palette, sizeof palette);
    palette.NumColors = static_cast<TW_UINT16>(lies()                ? dice_.any()
                                               : dice_.inHundred(20) ? 256
                                                                     : dice_.below(257));
    return returnCode(TWRC_SUCCESS);
}
