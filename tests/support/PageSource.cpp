#include "PageSource.h"

#include <algorithm>
#include <cstring>

constexpr TW_UINT32 most = 0xFFFFFFFF;
const std::vector<StripFacts> lies = {
    {0, 10, 10, 0, 0, 300},                // rows of no bytes
    {30, 10, 1000, 0, 0, 300},             // rows beyond the buffer
    {30, 10, 10, 0, 0, 60000},             // bytes beyond it
    {32, 10, 100000, 0, 0, 60000},         // both
    {200, 10, 2, 0, 0, 400},               // the last row only in part
    {30, 100000, 10, 0, 0, 300},           // columns wider than the row
    {100000, 33333, 10, 0, 0, 300},        // columns and rows wider than the page
    {100000, 10, 1, 0, 0, 100000},         // a row beyond the buffer
    {300, 100, 1, 0, 0, 300},              // columns that fill a row wider than the page
    {30, 0, 10, 0, 0, 300},                // no columns
    {30, 10, 10, 0, 5, 300},               // rows below the image
    {30, 10, 10, 0, most, 300},            // far below it
    {30, 10, 10, most, 0, 300},            // far to the right
    {0x10000, 0x10000, 0x10000, 0, 0, 0},  // products that wrap: to nothing,
    {2, 0x55555556, 2, 0, 0, 300},         // and to a row's bytes
    {most, most, most, most, most, most},  // everything
};

Strip endedBy(TW_UINT16 returnCode) {
    Strip strip;
    strip.returnCode = returnCode;
    return strip;
}

Strip failedWith(TW_UINT16 conditionCode) {
    Strip strip = endedBy(TWRC_FAILURE);
    strip.conditionCode = conditionCode;
    return strip;
}

TW_IMAGEINFO imageInfo(TW_INT16 pixelType, TW_INT16 bits, TW_INT32 width, TW_INT32 length) {
    TW_IMAGEINFO info = {};
    info.XResolution.Whole = info.YResolution.Whole = 300;
    info.ImageWidth = width;
    info.ImageLength = length;
    info.SamplesPerPixel = pixelType == TWPT_RGB ? 3 : 1;
    std::fill_n(info.BitsPerSample, info.SamplesPerPixel, static_cast<TW_INT16>(bits / info.SamplesPerPixel));
    info.BitsPerPixel = bits;
    info.PixelType = pixelType;
    info.Compression = TWCP_NONE;
    return info;
}

std::vector<Strip> cutRows(const Bytes& rows, TW_UINT32 bytesPerRow, TW_UINT32 columns,
                           TW_UINT32 rowsPerStrip) {
    std::vector<Strip> strips;
    const auto count = static_cast<TW_UINT32>(rows.size() / bytesPerRow);
    for (TW_UINT32 row = 0; row < count; row += rowsPerStrip) {
        const TW_UINT32 stripRows = std::min(rowsPerStrip, count - row);
        const auto begin = rows.begin() + row * bytesPerRow;
        strips.push_back({{bytesPerRow, columns, stripRows, 0, row, stripRows * bytesPerRow},
                          Bytes(begin, begin + stripRows * bytesPerRow)});
    }
    strips.back().returnCode = TWRC_XFERDONE;
    return strips;
}

Bytes pattern(size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<uint8_t>(1 + i * 37 % 251);
    return bytes;
}

PageSource::PageSource(ScriptedManager& manager, std::vector<Page> pages) {
    put(std::move(pages));
    manager.useSource([this](TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) {
        return call(group, argumentType, message, data);
    });
}

TW_UINT16 PageSource::call(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) {
    if (group == DG_IMAGE && argumentType == DAT_IMAGEINFO)
        return giveImageInfo(*static_cast<TW_IMAGEINFO*>(data));
    if (group == DG_IMAGE && argumentType == DAT_IMAGEMEMXFER)
        return giveStrip(*static_cast<TW_IMAGEMEMXFER*>(data));
    switch (argumentType) {
        case DAT_IDENTITY:
        case DAT_USERINTERFACE:
            return TWRC_SUCCESS;
        case DAT_EVENT:
            return TWRC_NOTDSEVENT;
        case DAT_CAPABILITY:
            return message == MSG_SET ? TW_UINT16{TWRC_SUCCESS} : fail(TWCC_BADCAP);
        case DAT_SETUPFILEXFER:
            return TWRC_SUCCESS;
        case DAT_SETUPMEMXFER:
            *static_cast<TW_SETUPMEMXFER*>(data) = sizes_;
            return TWRC_SUCCESS;
        case DAT_PENDINGXFERS:
            return endPages(message, *static_cast<TW_PENDINGXFERS*>(data));
        case DAT_STATUS:
            static_cast<TW_STATUS*>(data)->ConditionCode = conditionCode_;
            return TWRC_SUCCESS;
        default:
            return fail(TWCC_BADPROTOCOL);
    }
}

TW_UINT16 PageSource::giveImageInfo(TW_IMAGEINFO& info) {
    if (pages_.empty()) return fail(TWCC_SEQERROR);
    info = pages_.front().info;
    return TWRC_SUCCESS;
}

TW_UINT16 PageSource::giveStrip(TW_IMAGEMEMXFER& transfer) {
    requests_.push_back(transfer.Memory);
    if (whileTransferring) whileTransferring();
    if (pages_.empty() || nextStrip_ >= pages_.front().strips.size()) return fail(TWCC_SEQERROR);
    const Strip& strip = pages_.front().strips[nextStrip_++];
    if (strip.returnCode == TWRC_FAILURE) return fail(strip.conditionCode);
    transfer.Compression = pages_.front().info.Compression;
    std::memcpy(&transfer.BytesPerRow, &strip.facts, sizeof strip.facts);
    const size_t size = std::min<size_t>(strip.bytes.size(), transfer.Memory.Length);
    if (size != 0) std::memcpy(transfer.Memory.TheMem, strip.bytes.data(), size);
    return strip.returnCode;
}

TW_UINT16 PageSource::endPages(TW_UINT16 message, TW_PENDINGXFERS& pending) {
    nextStrip_ = 0;
    if (message == MSG_RESET) pages_.clear();
    if (!pages_.empty()) pages_.pop_front();
    pending.Count = static_cast<TW_UINT16>(countIsKnown_ || pages_.empty() ? pages_.size() : 0xFFFF);
    return TWRC_SUCCESS;
}

TW_UINT16 PageSource::fail(TW_UINT16 conditionCode) {
    conditionCode_ = conditionCode;
    return TWRC_FAILURE;
}
