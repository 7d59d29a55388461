#include "PageSource.h"

#include <algorithm>
#include <cstring>
#include <fstream>

TW_IMAGEINFO imageInfo(TW_INT16 pixelType, TW_INT16 bits, TW_INT32 width, TW_INT32 length) {
    const TW_INT16 samples = pixelType == TWPT_RGB ? 3 : 1;
    const auto first = static_cast<TW_INT16>(bits / samples), others = samples == 3 ? first : TW_INT16{0};
    const TW_FIX32 resolution = {300, 0};
    return {resolution, resolution, width,     length,   samples, {first, others, others},
            bits,       FALSE,      pixelType, TWCP_NONE};
}

Bytes pattern(size_t size) {
    Bytes bytes(size);
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<uint8_t>(1 + i * 37 % 251);
    return bytes;
}

Page imagePage(TW_INT16 pixelType, TW_INT16 bits, TW_INT32 width, TW_INT32 length, TW_UINT32 bytesPerRow,
               TW_UINT32 rowsPerStrip, bool planar) {
    Page page{imageInfo(pixelType, bits, width, length)};
    page.info.Planar = planar;
    const Bytes bytes = pattern(bytesPerRow * length);
    const auto columns = static_cast<TW_UINT32>(width), rows = static_cast<TW_UINT32>(length);
    for (TW_UINT32 row = 0; row < rows; row += rowsPerStrip) {
        const TW_UINT32 count = std::min(rowsPerStrip, rows - row), size = count * bytesPerRow;
        const auto begin = bytes.begin() + row * bytesPerRow;
        page.strips.push_back({{bytesPerRow, columns, count, 0, row, size}, {begin, begin + size}});
    }
    page.strips.back().returnCode = TWRC_XFERDONE;
    return page;
}

PageSource::PageSource(ScriptedManager& manager, const std::vector<Page>& pages) {
    put(pages);
    manager.answer(operation::getCurrent(ICAP_UNITS), give(oneValue(TWTY_UINT16, TWUN_INCHES)));
    manager.answer(operation::getCurrent(ICAP_XFERMECH), give(oneValue(TWTY_UINT16, TWSX_MEMORY)));
    manager.answer(operation::get(ICAP_XFERMECH), give(enumeration(TWTY_UINT16, {0, 1, 2})));
    manager.useSource([this](TW_UINT32, TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) {
        return call(argumentType, message, data);
    });
}

TW_UINT16 PageSource::call(TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) {
    if (argumentType == DAT_IMAGEINFO) return giveImageInfo(*static_cast<TW_IMAGEINFO*>(data));
    if (argumentType == DAT_IMAGEMEMXFER) return giveStrip(*static_cast<TW_IMAGEMEMXFER*>(data));
    if (argumentType == DAT_IMAGENATIVEXFER) return giveWhole(static_cast<HGLOBAL*>(data));
    if (argumentType == DAT_IMAGEFILEXFER) return giveWhole(nullptr);
    if (argumentType == DAT_PENDINGXFERS) return endPages(message, *static_cast<TW_PENDINGXFERS*>(data));
    if (argumentType == DAT_CAPABILITY && message != MSG_SET) return fail(TWCC_BADCAP);
    if (argumentType == DAT_SETUPFILEXFER) fileName_ = static_cast<const TW_SETUPFILEXFER*>(data)->FileName;
    if (argumentType == DAT_SETUPMEMXFER) *static_cast<TW_SETUPMEMXFER*>(data) = bufferSizes;
    if (argumentType == DAT_STATUS) static_cast<TW_STATUS*>(data)->ConditionCode = conditionCode_;
    return argumentType == DAT_EVENT ? TWRC_NOTDSEVENT : TWRC_SUCCESS;
}

TW_UINT16 PageSource::giveImageInfo(TW_IMAGEINFO& info) {
    if (pages_.empty()) return fail(TWCC_SEQERROR);
    if (pages_.front().refusal != 0) return fail(pages_.front().refusal);
    info = pages_.front().info;
    return TWRC_SUCCESS;
}

TW_UINT16 PageSource::giveStrip(TW_IMAGEMEMXFER& transfer) {
    requests.push_back(transfer.Memory);
    if (whileTransferring) whileTransferring();
    if (pages_.empty() || pages_.front().strips.empty()) return fail(TWCC_SEQERROR);
    const Strip strip = pages_.front().strips.front();
    pages_.front().strips.pop_front();
    if (strip.returnCode == TWRC_FAILURE) return fail(strip.conditionCode);
    transfer.Compression = pages_.front().info.Compression;
    std::memcpy(&transfer.BytesPerRow, &strip.facts, sizeof strip.facts);
    const size_t size = std::min<size_t>(strip.bytes.size(), transfer.Memory.Length);
    if (size != 0) std::memcpy(transfer.Memory.TheMem, strip.bytes.data(), size);
    return strip.returnCode;
}

// To a handle, or without one into a file.
TW_UINT16 PageSource::giveWhole(HGLOBAL* dib) {
    if (pages_.empty()) return fail(TWCC_SEQERROR);
    const Page& page = pages_.front();
    const Strip& last = page.strips.back();
    if (last.returnCode == TWRC_FAILURE) return fail(last.conditionCode);
    if (last.returnCode != TWRC_XFERDONE) return last.returnCode;
    if (dib != nullptr) {
        *dib = GlobalAlloc(GPTR, std::max<size_t>(page.whole.size(), 40));
        std::copy(page.whole.begin(), page.whole.end(), static_cast<uint8_t*>(*dib));
    } else if (!page.whole.empty()) {
        std::ofstream(fileName_, std::ios::binary) << std::string(page.whole.begin(), page.whole.end());
    }
    return TWRC_XFERDONE;
}

TW_UINT16 PageSource::endPages(TW_UINT16 message, TW_PENDINGXFERS& pending) {
    if (message == MSG_RESET) pages_.clear();
    if (!pages_.empty()) pages_.pop_front();
    pending.Count = static_cast<TW_UINT16>(countIsKnown || pages_.empty() ? pages_.size() : 0xFFFF);
    return TWRC_SUCCESS;
}

TW_UINT16 PageSource::fail(TW_UINT16 conditionCode) {
    conditionCode_ = conditionCode;
    return TWRC_FAILURE;
}
