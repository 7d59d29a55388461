#include "ScriptedSource.h"

#include <algorithm>
#include <string>
#include <vector>

#include "World.h"

ScriptedSource source;

namespace {

constexpr uint8_t refusals = 0xD0;  // and above
constexpr uint8_t lies = 0x80;      // and above: the answer is not the plain one

TW_FIX32 fix32() {
    return {static_cast<TW_INT16>(world.script.number()), static_cast<TW_UINT16>(world.script.number())};
}

// Texts without a terminator, or any.
void putIdentity(TW_IDENTITY& identity, bool plain) {
    identity = {};
    std::strcpy(identity.Manufacturer, "KAVRO");
    std::strcpy(identity.ProductName, "Scanner");
    if (plain) return;
    Script& script = world.script;
    for (TW_STR32* text :
         {&identity.Version.Info, &identity.Manufacturer, &identity.ProductFamily, &identity.ProductName})
        if (script.byte() & 1) std::memset(text, script.byte(), sizeof *text);
}

void putImage(TW_IMAGEINFO& info, uint8_t how) {
    Script& script = world.script;
    if (source.keepsImage) {
        info = source.image;
        return;
    }
    info = {{100, 0}, {100, 0}, 17, 9, 3, {8, 8, 8}, 24, 0, 2, 0};
    if (how & 1) info.Planar = TRUE;
    if (how & 2) info.SamplesPerPixel = 1, info.BitsPerPixel = 8, info.PixelType = how & 1 ? 3 : 1;
    if (how >= lies) {
        constexpr TW_INT16 depths[] = {1, 4, 8, 16, 24, 48};
        const uint8_t kind = script.byte();
        info.XResolution = info.YResolution = fix32();
        info.ImageWidth = static_cast<TW_INT32>(script.number());
        info.ImageLength = static_cast<TW_INT32>(script.number());
        info.BitsPerPixel = kind % 8 < 6 ? depths[kind % 8] : static_cast<TW_INT16>(script.number());
        const bool colours = info.BitsPerPixel >= 24;
        info.SamplesPerPixel = colours ? 3 : 1;
        info.PixelType = static_cast<TW_INT16>(colours ? 2 : info.BitsPerPixel > 1);
        if (kind & 0x10) info.PixelType = static_cast<TW_INT16>(script.byte());
        if (kind & 0x20) info.SamplesPerPixel = static_cast<TW_INT16>(script.byte());
        info.Planar = (kind & 0x40) != 0;
        info.Compression = (kind & 0x80) != 0;
    }
    source.image = info;
    if (info.ImageWidth <= 0 || info.ImageWidth > 0x10000)
        source.widthUnknown = true;
    else
        source.widestRow = std::max(source.widestRow, 3 * info.ImageWidth);
}

// Writes where it was told to, to the very end; then it may tell something else.
TW_UINT16 putStrip(TW_IMAGEMEMXFER& strip, uint8_t how) {
    Script& script = world.script;
    const TW_IMAGEINFO& image = source.image;
    auto* bytes = static_cast<uint8_t*>(strip.Memory.TheMem);
    const TW_UINT32 room = strip.Memory.Length;
    if (room != 0) std::memset(bytes, 0x5A, std::min<TW_UINT32>(room, 0x1000)), bytes[room - 1] = 0xA5;
    strip.BytesPerRow =
        (static_cast<TW_UINT32>(image.ImageWidth) * (image.Planar ? 8 : image.BitsPerPixel) + 7) / 8;
    strip.Columns = static_cast<TW_UINT32>(image.ImageWidth);
    const TW_UINT32 fitting = strip.BytesPerRow != 0 ? room / strip.BytesPerRow : 0;
    strip.Rows = std::min(static_cast<TW_UINT32>(image.ImageLength), fitting);
    strip.BytesWritten = strip.Rows * strip.BytesPerRow;
    if (how & 2) strip.YOffset = script.number();
    if (how & 0x20) strip.BytesWritten *= 64;
    if (how >= lies) {
        using PackedNumber __attribute__((aligned(2))) = TW_UINT32;
        PackedNumber* const fields[] = {&strip.BytesPerRow, &strip.Columns, &strip.Rows,
                                        &strip.XOffset,     &strip.YOffset, &strip.BytesWritten};
        const uint8_t which = script.byte();
        for (int i = 0; i < 6; ++i)
            if (which & 1 << i) *fields[i] = script.number();
        if (which & 0x40) strip.BytesWritten = strip.Rows * strip.BytesPerRow;
    }
    return how & 1 ? TWRC_SUCCESS : TWRC_XFERDONE;
}

HGLOBAL makeDib(bool plain) {
    Script& script = world.script;
    BITMAPINFOHEADER header = {40, 5, 3, 1, 24, 0, 0, 0, 0, 0, 0};
    size_t size = sizeof header + 3 * 16;
    if (!plain) {
        header.biWidth = static_cast<LONG>(script.number());
        header.biHeight = static_cast<LONG>(script.number());
        header.biBitCount = static_cast<WORD>(script.number());
        header.biClrUsed = script.number();
        size = script.number() & 0xFFFF;
    }
    std::string bytes(std::max(size, sizeof header), 'd');
    std::memcpy(bytes.data(), &header, sizeof header);
    return foreignBlock(bytes.data(), size);
}

TW_UINT16 answer(TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data, uint8_t how) {
    Script& script = world.script;
    const bool plain = how < lies;
    switch (argumentType) {
        case DAT_IDENTITY:
            if (message == MSG_CLOSEDS && plain) return TWRC_SUCCESS;
            putIdentity(*static_cast<TW_IDENTITY*>(data), plain);
            return message == MSG_GETNEXT && how == 0 ? TWRC_ENDOFLIST : TWRC_SUCCESS;
        case DAT_STATUS:
            static_cast<TW_STATUS*>(data)->ConditionCode = static_cast<TW_UINT16>(how & 0x1F);
            return TWRC_SUCCESS;
        case DAT_CAPABILITY: {
            auto& cap = *static_cast<TW_CAPABILITY*>(data);
            if (message == MSG_SET) {
                checkBytes(GlobalLock(cap.hContainer), GlobalSize(cap.hContainer));
                return TWRC_SUCCESS;
            }
            putContainer(cap, cap.Cap == ICAP_XFERMECH ? source.mechanism : 2);
            handOver(cap.hContainer);
            return TWRC_SUCCESS;
        }
        case DAT_EVENT:
            static_cast<TW_EVENT*>(data)->TWMessage = how & 1   ? MSG_CLOSEDSREQ
                                                      : how & 2 ? MSG_NULL
                                                                : MSG_XFERREADY;
            return TWRC_DSEVENT;
        case DAT_PENDINGXFERS:
            static_cast<TW_PENDINGXFERS*>(data)->Count =
                static_cast<TW_UINT16>(plain ? how & 3 : script.number());
            return TWRC_SUCCESS;
        case DAT_SETUPMEMXFER:
            *static_cast<TW_SETUPMEMXFER*>(data) = {1024, 8192, 4096};
            if (!plain)
                *static_cast<TW_SETUPMEMXFER*>(data) = {script.number(), script.number(), script.number()};
            return TWRC_SUCCESS;
        case DAT_SETUPFILEXFER:
            if (message == MSG_SET && std::strlen(static_cast<TW_SETUPFILEXFER*>(data)->FileName) > 255)
                fail("a file name was not terminated");
            return TWRC_SUCCESS;
        case DAT_IMAGEINFO: putImage(*static_cast<TW_IMAGEINFO*>(data), how); return TWRC_SUCCESS;
        case DAT_IMAGEMEMXFER: return putStrip(*static_cast<TW_IMAGEMEMXFER*>(data), how);
        case DAT_IMAGENATIVEXFER: {
            const HGLOBAL dib = how == lies ? nullptr : makeDib(plain);
            handOver(dib);
            std::memcpy(data, &dib, sizeof dib);
            return TWRC_XFERDONE;
        }
        case DAT_IMAGEFILEXFER: return TWRC_XFERDONE;
        case DAT_PALETTE8: {
            auto& palette = *static_cast<TW_PALETTE8*>(data);
            script.fill(palette.Colors, sizeof palette.Colors / 64);
            palette.NumColors = static_cast<TW_UINT16>(plain ? 256 + (how & 1) : script.number());
            return TWRC_SUCCESS;
        }
    }
    return TWRC_SUCCESS;
}

}  // namespace

void putContainer(TW_CAPABILITY& cap, TW_UINT32 plainValue) {
    Script& script = world.script;
    constexpr TW_UINT16 kinds[] = {TWON_ONEVALUE, TWON_ENUMERATION, TWON_RANGE, TWON_ARRAY};
    const uint8_t how = script.byte();
    if (how >= 0xFC) {
        cap.hContainer = how & 1 ? nullptr : reinterpret_cast<HGLOBAL>(0x12345);
        return;
    }
    const auto itemType = static_cast<TW_UINT16>(how == 0     ? +TWTY_UINT16
                                                 : how & 0x10 ? +TWTY_FIX32
                                                              : script.byte());
    std::vector<TW_UINT32> words;
    cap.ConType = kinds[how & 3];
    const TW_UINT32 count = script.byte() & 0x0F;
    if (cap.ConType == TWON_ONEVALUE) words = {how == 0 ? plainValue : script.number()};
    if (cap.ConType == TWON_RANGE) words = {0, 255, 1, script.number(), script.number()};
    if (cap.ConType == TWON_ENUMERATION) words = {count, script.byte() & 0x0Fu, 0};
    if (cap.ConType == TWON_ARRAY) words = {count};
    if (how >= lies) words[script.byte() % words.size()] = script.number();
    std::string bytes(reinterpret_cast<const char*>(&itemType), sizeof itemType);
    bytes.append(reinterpret_cast<const char*>(words.data()), words.size() * sizeof words[0]);
    constexpr uint8_t widths[] = {1, 2, 4, 1, 2, 4, 2, 4};
    if (cap.ConType == TWON_ENUMERATION || cap.ConType == TWON_ARRAY)
        bytes += script.text(count * (itemType < 8 ? widths[itemType] : 4));
    // Of any size, to the byte.
    if (how & 0x20) bytes.resize(script.byte());
    if (how & 0x40) cap.ConType = script.byte();
    cap.hContainer = foreignBlock(bytes.data(), bytes.size());
}

TW_UINT16 scriptedEntry(pTW_IDENTITY, pTW_IDENTITY, TW_UINT32, TW_UINT16 argumentType, TW_UINT16 message,
                        TW_MEMREF data) {
    const uint8_t how = world.script.byte();
    if (how >= refusals && argumentType != DAT_STATUS) {
        constexpr TW_UINT16 codes[] = {TWRC_FAILURE,   TWRC_CANCEL,   TWRC_CHECKSTATUS,
                                       TWRC_ENDOFLIST, TWRC_XFERDONE, 99};
        if (how & 0x10) source.meanwhile();
        return codes[how % 6];
    }
    if ((how & 0x0C) == 0x0C) source.meanwhile();
    return answer(argumentType, message, data, how);
}
