// The manager and a source in one, in the program's own process, with all answers ready: next to nothing
// hides what the module takes.
#pragma once

#include <scanmodule/twain_types.h>

#include <cstdint>
#include <functional>
#include <map>
#include <vector>

namespace bench {

class TableSource {
public:
    // Takes the place of the TWAIN manager that the module is going to load. One at a time, for good.
    TableSource();
    TableSource(const TableSource&) = delete;
    TableSource& operator=(const TableSource&) = delete;

    // From here on the virtual scanner (vscan.ds beside the program) answers what nothing was given for.
    void putScannerBehind();

    // What the module calls, for the bare calls.
    DSMENTRYPROC entry() const;

    // The capability's container, of items of this type, at the width that the type has; the first is the
    // current one.
    void give(TW_UINT16 capability, TW_UINT16 containerKind, TW_UINT16 itemType,
              const std::vector<uint32_t>& items);

    // An image in strips of so many bytes at most.
    struct Image {
        TW_IMAGEINFO info;
        uint32_t bytesPerRow;
    };
    void put(const Image& image, uint32_t stripBytes);
    // More pixels of it.
    void copyPixels(void* destination, uint32_t size);
    // The next message is told to be "ready".
    void signalReady() { ready_ = true; }

    // The operations are put into the list, while there is one, as they were asked.
    struct Operation {
        pTW_IDENTITY origin;
        TW_UINT32 group;
        TW_UINT16 argumentType;
        TW_UINT16 message;
        TW_MEMREF data;  // only to be looked at while the operation runs
    };
    std::function<void(const Operation&)> recorder;

    TW_UINT16 call(const Operation& operation);

private:
    struct Container {
        TW_UINT16 kind;
        std::vector<uint8_t> block;
    };
    using DsEntry = TW_UINT16(WINAPI*)(pTW_IDENTITY, TW_UINT32, TW_UINT16, TW_UINT16, TW_MEMREF);
    TW_UINT16 answer(const Operation& operation);
    TW_UINT16 capability(TW_UINT16 message, TW_CAPABILITY& cap);
    TW_UINT16 nextStrip(TW_IMAGEMEMXFER& strip);

    DsEntry scanner_ = nullptr;
    std::map<TW_UINT16, Container> containers_;
    Image image_ = {};
    uint32_t stripBytes_ = 0;
    uint32_t row_ = 0;
    // As from a device, pixels come out of memory, not out of the processor's cache: more than that holds.
    static constexpr size_t plenty = 128 << 20;
    std::vector<uint8_t> pixels_;
    size_t at_ = 0;
    bool ready_ = false;
};

// An A4 page.
TW_IMAGEINFO a4Page(TW_INT16 dotsPerInch, TW_INT16 pixelType, TW_INT16 bitsPerPixel);

}  // namespace bench
