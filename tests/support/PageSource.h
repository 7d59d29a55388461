// A source that knows no capability but its unit, inches, and its mechanisms, and has pages: what it says of
// each, and how it hands them over. Unlike a real source it says whatever the test wants it to say. A
// manager's script goes before it.
#pragma once

#include <deque>
#include <vector>

#include "ScriptedManager.h"

using Bytes = std::vector<uint8_t>;

// What a source says of a strip: those members of a TW_IMAGEMEMXFER, in its order.
struct StripFacts {
    TW_UINT32 bytesPerRow = 0, columns = 0, rows = 0, xOffset = 0, yOffset = 0, bytesWritten = 0;
};

// What one request for a strip gets.
struct Strip {
    StripFacts facts = {};
    Bytes bytes = {};  // what is really written, as far as the buffer reaches
    TW_UINT16 returnCode = TWRC_SUCCESS;
    TW_UINT16 conditionCode = TWCC_SUCCESS;
};

struct Page {
    TW_IMAGEINFO info;
    std::deque<Strip> strips = {};  // the last one's code is also that of a native or file transfer
    Bytes whole = {};               // what such a transfer brings: 40 zeros in memory and no file when empty
    TW_UINT16 refusal = 0;          // of its description
};

// A request that brings no strip but this.
inline Strip endedBy(TW_UINT16 returnCode) {
    return {{}, {}, returnCode};
}
inline Strip failedWith(TW_UINT16 conditionCode) {
    return {{}, {}, TWRC_FAILURE, conditionCode};
}

// An uncompressed chunky image at 300 dots per inch; the bits are those of a pixel.
TW_IMAGEINFO imageInfo(TW_INT16 pixelType, TW_INT16 bits, TW_INT32 width, TW_INT32 length);

// So many bytes, none of them 0 and no neighbours alike.
Bytes pattern(size_t size);

// Such an image, its rows a pattern in one strip or in more, the last one shorter when it has to be;
// TWRC_XFERDONE comes with the last.
Page imagePage(TW_INT16 pixelType, TW_INT16 bits, TW_INT32 width, TW_INT32 length, TW_UINT32 bytesPerRow,
               TW_UINT32 rowsPerStrip = 0xFFFF, bool planar = false);

class PageSource {
public:
    explicit PageSource(ScriptedManager& manager, const std::vector<Page>& pages = {});
    PageSource(const PageSource&) = delete;
    PageSource& operator=(const PageSource&) = delete;

    void put(const std::vector<Page>& pages) { pages_.assign(pages.begin(), pages.end()); }
    TW_SETUPMEMXFER bufferSizes = {64, 4096, 1024};  // least, most, preferred
    bool countIsKnown = true;                        // else it says "unknown" for how many pages are left
    // Runs inside each request for a strip, as a message loop of the source's own would.
    std::function<void()> whileTransferring;
    std::vector<TW_MEMORY> requests;  // the memory that each request for a strip named

private:
    TW_UINT16 call(TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data);
    TW_UINT16 giveImageInfo(TW_IMAGEINFO& info);
    TW_UINT16 giveStrip(TW_IMAGEMEMXFER& transfer);
    TW_UINT16 giveWhole(HGLOBAL* dib);
    TW_UINT16 endPages(TW_UINT16 message, TW_PENDINGXFERS& pending);
    TW_UINT16 fail(TW_UINT16 conditionCode);

    std::deque<Page> pages_;
    TW_UINT16 conditionCode_ = TWCC_SUCCESS;
    std::string fileName_;
};
