#include "recording/RecordShapes.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "recording/ContainerBytes.h"

namespace recording {

namespace {

struct Shape {
    TW_UINT32 group;
    TW_UINT16 argumentType;
    std::size_t size;
};

constexpr Shape shapes[] = {
    {DG_CONTROL, DAT_CAPABILITY, sizeof(TW_CAPABILITY)},
    {DG_CONTROL, DAT_EVENT, sizeof(TW_EVENT)},
    {DG_CONTROL, DAT_IDENTITY, sizeof(TW_IDENTITY)},
    {DG_CONTROL, DAT_PENDINGXFERS, sizeof(TW_PENDINGXFERS)},
    {DG_CONTROL, DAT_SETUPMEMXFER, sizeof(TW_SETUPMEMXFER)},
    {DG_CONTROL, DAT_SETUPFILEXFER, sizeof(TW_SETUPFILEXFER)},
    {DG_CONTROL, DAT_STATUS, sizeof(TW_STATUS)},
    {DG_CONTROL, DAT_USERINTERFACE, sizeof(TW_USERINTERFACE)},
    {DG_CONTROL, DAT_XFERGROUP, sizeof(TW_UINT32)},
    {DG_IMAGE, DAT_IMAGEINFO, sizeof(TW_IMAGEINFO)},
    {DG_IMAGE, DAT_IMAGELAYOUT, sizeof(TW_IMAGELAYOUT)},
    {DG_IMAGE, DAT_IMAGEMEMXFER, sizeof(TW_IMAGEMEMXFER)},
    {DG_IMAGE, DAT_RGBRESPONSE, 256 * sizeof(TW_ELEMENT8)},
    {DG_IMAGE, DAT_PALETTE8, sizeof(TW_PALETTE8)},
};

constexpr std::size_t memoryAt = offsetof(TW_IMAGEMEMXFER, Memory);

void clear(Bytes& record, std::size_t at, std::size_t size) {
    std::fill_n(record.begin() + static_cast<std::ptrdiff_t>(at), size, std::uint8_t{0});
}

// Of a file's name only the extension is kept.
void maskFileName(Bytes& record) {
    char* name = reinterpret_cast<char*>(record.data());
    constexpr std::size_t room = sizeof(TW_STR255);
    const std::string whole(name, strnlen(name, room));
    const std::size_t dot = whole.find_last_of(".\\/:");
    std::string kept = whole.empty() ? "" : "page";
    constexpr std::size_t longestExtension = 5;
    if (dot != std::string::npos && whole[dot] == '.' && whole.size() - dot <= longestExtension)
        kept += whole.substr(dot);
    clear(record, 0, room);
    std::copy(kept.begin(), kept.end(), record.begin());
}

// Without handles, addresses and names, whichever way it goes.
void cleanBothWays(const Triplet& triplet, Bytes& record) {
    if (record.empty() || record.size() < recordSize(triplet) || triplet.group != DG_CONTROL) return;
    switch (triplet.argumentType) {
        case DAT_CAPABILITY:
            return clear(record, offsetof(TW_CAPABILITY, hContainer), sizeof(TW_HANDLE));
        case DAT_EVENT:
            return clear(record, offsetof(TW_EVENT, pEvent), sizeof(TW_MEMREF));
        case DAT_USERINTERFACE:
            return clear(record, offsetof(TW_USERINTERFACE, hParent), sizeof(TW_HANDLE));
        case DAT_SETUPFILEXFER:
            return maskFileName(record);
        case DAT_IDENTITY:
            clear(record, offsetof(TW_IDENTITY, Id), sizeof(TW_UINT32));
            for (const std::size_t text :
                 {offsetof(TW_IDENTITY, Version) + offsetof(TW_VERSION, Info),
                  offsetof(TW_IDENTITY, Manufacturer), offsetof(TW_IDENTITY, ProductFamily),
                  offsetof(TW_IDENTITY, ProductName)})
                cutText(record.data() + text, sizeof(TW_STR32));
            return;
        default:
            return;
    }
}

bool isMemoryTransfer(const Triplet& triplet) {
    return triplet.group == DG_IMAGE && triplet.argumentType == DAT_IMAGEMEMXFER;
}

int stateAfterTransferEnd(int state, const Triplet& triplet, const Bytes& record) {
    if (triplet.message == MSG_GET) return state;
    TW_UINT16 count = 0;
    if (record.size() >= sizeof count) std::memcpy(&count, record.data(), sizeof count);
    return count == 0 || triplet.message == MSG_RESET ? 5 : 6;
}

}  // namespace

std::size_t recordSize(const Triplet& triplet) {
    if (triplet.is(DG_CONTROL, DAT_IDENTITY, MSG_CLOSEDS)) return 0;
    for (const Shape& shape : shapes)
        if (shape.group == triplet.group && shape.argumentType == triplet.argumentType) return shape.size;
    return 0;
}

bool isVendorRecord(const Triplet& triplet) {
    return triplet.argumentType >= DAT_CUSTOMBASE && recordSize(triplet) == 0;
}

bool hostWrites(const Triplet& triplet) {
    if (isMemoryTransfer(triplet)) return true;
    if (triplet.group != DG_CONTROL) return triplet.message == MSG_SET;
    return triplet.message == MSG_SET || triplet.argumentType == DAT_CAPABILITY ||
           triplet.argumentType == DAT_USERINTERFACE;
}

bool sourceWrites(const Triplet& triplet) {
    return triplet.message != MSG_SET && triplet.argumentType != DAT_USERINTERFACE;
}

Bytes presentableQuestion(const Triplet& triplet, Bytes record) {
    if (isMemoryTransfer(triplet) && record.size() == recordSize(triplet)) {
        clear(record, 0, memoryAt);
        clear(record, memoryAt + offsetof(TW_MEMORY, TheMem), sizeof(TW_MEMREF));
    }
    cleanBothWays(triplet, record);
    return record;
}

Bytes presentableAnswer(const Triplet& triplet, Bytes record) {
    if (isMemoryTransfer(triplet)) record.resize(std::min(record.size(), memoryAt));
    cleanBothWays(triplet, record);
    return record;
}

int stateAfter(int state, const Triplet& triplet, int returnCode, const Bytes& record) {
    const bool done = returnCode == TWRC_SUCCESS || returnCode == TWRC_CHECKSTATUS;
    if (isTransfer(triplet))
        return done || returnCode == TWRC_XFERDONE || returnCode == TWRC_CANCEL ? 7 : state;
    if (!done || triplet.group != DG_CONTROL) return state;
    if (triplet.is(DG_CONTROL, DAT_IDENTITY, MSG_OPENDS)) return 4;
    if (triplet.is(DG_CONTROL, DAT_IDENTITY, MSG_CLOSEDS)) return 3;
    // The image may have been announced already.
    if (triplet.is(DG_CONTROL, DAT_USERINTERFACE, MSG_ENABLEDS)) return state < 5 ? 5 : state;
    if (triplet.is(DG_CONTROL, DAT_USERINTERFACE, MSG_DISABLEDS)) return 4;
    if (triplet.argumentType == DAT_PENDINGXFERS) return stateAfterTransferEnd(state, triplet, record);
    return state;
}

Bytes patternPixels(std::size_t count) {
    Bytes pixels(count);
    for (std::size_t i = 0; i < count; ++i)
        pixels[i] = i / 32 % 2 ? 0xC0 : 0x40;  // stripes, visible in every pixel kind
    return pixels;
}

}  // namespace recording
