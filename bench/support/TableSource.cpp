#include "support/TableSource.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "support/BenchModule.h"

namespace bench {

namespace {

TableSource* current = nullptr;
FARPROC managersEntry = nullptr;

TW_UINT16 WINAPI ownEntry(pTW_IDENTITY origin, pTW_IDENTITY, TW_UINT32 group, TW_UINT16 argumentType,
                          TW_UINT16 message, TW_MEMREF data) {
    return current->call({origin, group, argumentType, message, data});
}

// The manager's entry becomes a jump to the own one.
void redirect(FARPROC entry) {
    auto* const code = reinterpret_cast<uint8_t*>(reinterpret_cast<void*>(entry));
    constexpr size_t jumpBytes = 5;
    const auto target = reinterpret_cast<uint8_t*>(reinterpret_cast<void*>(ownEntry));
    const auto distance = static_cast<int32_t>(target - (code + jumpBytes));
    DWORD protection = 0;
    require(VirtualProtect(code, jumpBytes, PAGE_EXECUTE_READWRITE, &protection) != FALSE, "VirtualProtect");
    code[0] = 0xE9;
    std::memcpy(code + 1, &distance, sizeof distance);
    VirtualProtect(code, jumpBytes, protection, &protection);
    FlushInstructionCache(GetCurrentProcess(), code, jumpBytes);
}

uint32_t widthOf(TW_UINT16 itemType) {
    return itemType == TWTY_UINT16 || itemType == TWTY_BOOL || itemType == TWTY_INT16 ? 2 : 4;
}

}  // namespace

TableSource::TableSource() {
    char path[MAX_PATH];
    require(GetWindowsDirectoryA(path, sizeof path) != 0, "GetWindowsDirectory");
    const HMODULE manager = LoadLibraryA((std::string(path) + "\\TWAIN_32.DLL").c_str());
    managersEntry = manager != nullptr ? GetProcAddress(manager, "DSM_Entry") : nullptr;
    require(managersEntry != nullptr, "loading the TWAIN manager");
    redirect(managersEntry);
    current = this;
}

void TableSource::putScannerBehind() {
    const HMODULE scanner = LoadLibraryA("vscan.ds");
    const FARPROC found = scanner != nullptr ? GetProcAddress(scanner, "DS_Entry") : nullptr;
    require(found != nullptr, "loading the virtual scanner");
    scanner_ = reinterpret_cast<DsEntry>(reinterpret_cast<void*>(found));
}

DSMENTRYPROC TableSource::entry() const {
    return reinterpret_cast<DSMENTRYPROC>(reinterpret_cast<void*>(managersEntry));
}

void TableSource::give(TW_UINT16 capability, TW_UINT16 containerKind, TW_UINT16 itemType,
                       const std::vector<uint32_t>& items) {
    std::vector<uint8_t> block;
    const auto append = [&](uint32_t value, uint32_t width) {
        for (uint32_t i = 0; i < width; ++i)
            block.push_back(static_cast<uint8_t>(value >> 8 * i));
    };
    append(itemType, 2);
    if (containerKind == TWON_ENUMERATION) {
        append(static_cast<uint32_t>(items.size()), 4);
        append(0, 8);
    }
    for (const uint32_t item : items)
        append(item, containerKind == TWON_ENUMERATION ? widthOf(itemType) : 4);
    containers_[capability] = {containerKind, block};
}

void TableSource::put(const Image& image, uint32_t stripBytes) {
    image_ = image;
    stripBytes_ = stripBytes;
    row_ = 0;
    pixels_.resize(plenty, 0x5A);
}

TW_UINT16 TableSource::capability(TW_UINT16 message, TW_CAPABILITY& cap) {
    if (message == MSG_SET) return TWRC_SUCCESS;
    const auto found = containers_.find(cap.Cap);
    if (found == containers_.end()) return TWRC_FAILURE;
    const std::vector<uint8_t>& block = found->second.block;
    cap.ConType = found->second.kind;
    cap.hContainer = GlobalAlloc(GHND, block.size());
    std::memcpy(GlobalLock(cap.hContainer), block.data(), block.size());
    GlobalUnlock(cap.hContainer);
    return TWRC_SUCCESS;
}

void TableSource::copyPixels(void* destination, uint32_t size) {
    if (at_ + size > pixels_.size()) at_ = 0;
    std::memcpy(destination, pixels_.data() + at_, size);
    at_ += size;
}

TW_UINT16 TableSource::nextStrip(TW_IMAGEMEMXFER& strip) {
    const uint32_t fitting = std::min<uint32_t>(strip.Memory.Length, stripBytes_) / image_.bytesPerRow;
    const auto length = static_cast<uint32_t>(image_.info.ImageLength);
    strip.Compression = TWCP_NONE;
    strip.BytesPerRow = image_.bytesPerRow;
    strip.Columns = static_cast<TW_UINT32>(image_.info.ImageWidth);
    strip.Rows = std::min(fitting, length - row_);
    strip.XOffset = 0;
    strip.YOffset = row_;
    strip.BytesWritten = strip.Rows * image_.bytesPerRow;
    copyPixels(strip.Memory.TheMem, strip.BytesWritten);
    row_ += strip.Rows;
    if (row_ < length) return TWRC_SUCCESS;
    row_ = 0;
    return TWRC_XFERDONE;
}

TW_UINT16 TableSource::call(const Operation& operation) {
    if (recorder) recorder(operation);
    const bool isManagers = operation.argumentType == DAT_PARENT || operation.argumentType == DAT_NULL ||
                            operation.message == MSG_GETDEFAULT;
    const bool isGiven = operation.argumentType == DAT_CAPABILITY &&
                         containers_.count(static_cast<TW_CAPABILITY*>(operation.data)->Cap) != 0;
    if (scanner_ == nullptr || isManagers || isGiven) return answer(operation);
    return scanner_(operation.origin, operation.group, operation.argumentType, operation.message,
                    operation.data);
}

TW_UINT16 TableSource::answer(const Operation& operation) {
    const TW_MEMREF data = operation.data;
    switch (operation.argumentType) {
        case DAT_CAPABILITY:
            return capability(operation.message, *static_cast<TW_CAPABILITY*>(data));
        case DAT_EVENT: {
            auto& event = *static_cast<TW_EVENT*>(data);
            event.TWMessage = static_cast<TW_UINT16>(ready_ ? MSG_XFERREADY : MSG_NULL);
            const bool was = ready_;
            ready_ = false;
            return was ? TWRC_DSEVENT : TWRC_NOTDSEVENT;
        }
        case DAT_IDENTITY:
            if (operation.message == MSG_GETDEFAULT)
                lstrcpyA(static_cast<pTW_IDENTITY>(data)->ProductName, "Table");
            return TWRC_SUCCESS;
        case DAT_SETUPMEMXFER:
            *static_cast<TW_SETUPMEMXFER*>(data) = {stripBytes_, stripBytes_, stripBytes_};
            return TWRC_SUCCESS;
        case DAT_IMAGEINFO:
            *static_cast<TW_IMAGEINFO*>(data) = image_.info;
            return TWRC_SUCCESS;
        case DAT_IMAGEMEMXFER:
            return nextStrip(*static_cast<TW_IMAGEMEMXFER*>(data));
        case DAT_PENDINGXFERS:
            static_cast<TW_PENDINGXFERS*>(data)->Count = 0;
            return TWRC_SUCCESS;
        default:
            return TWRC_SUCCESS;
    }
}

TW_IMAGEINFO a4Page(TW_INT16 dotsPerInch, TW_INT16 pixelType, TW_INT16 bitsPerPixel) {
    TW_IMAGEINFO info = {};
    info.XResolution = info.YResolution = {dotsPerInch, 0};
    info.ImageWidth = dotsPerInch / 150 * 1240;
    info.ImageLength = dotsPerInch / 150 * 1754;
    info.SamplesPerPixel = pixelType == TWPT_RGB ? 3 : 1;
    for (TW_INT16 sample = 0; sample < info.SamplesPerPixel; ++sample)
        info.BitsPerSample[sample] = static_cast<TW_INT16>(bitsPerPixel / info.SamplesPerPixel);
    info.BitsPerPixel = bitsPerPixel;
    info.PixelType = pixelType;
    info.Compression = TWCP_NONE;
    return info;
}

}  // namespace bench
