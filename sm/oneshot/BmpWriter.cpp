// The writer of BMP files: headers and palette first, then strips at their final places, or a whole packed
// DIB.
#include <algorithm>
#include <cstring>

#include "TScanModule.h"
#include "base/GlobalBuffer.h"
#include "capabilities/Containers.h"
#include "oneshot/ImageFile.h"
#include "transfer/ImageSizes.h"
#include "transfer/StripBuffer.h"
#include "transfer/StripConversion.h"

namespace {

constexpr uint32_t pieceSize = 0xF000;
constexpr uint32_t largestPlanarBuffer = 0x40000;
constexpr uint32_t diskSlack = 0x20000;
constexpr uint32_t headersSize = sizeof(BITMAPFILEHEADER) + sizeof(BITMAPINFOHEADER);
static_assert(headersSize == 54);
constexpr int planes = 3;

enum FileResult : int32_t { fileWritten = 0, fileUnsupported = 1, fileNoSpace = -2, fileError = -3 };

uint32_t pixelOffset(const TW_IMAGEINFO& info) {
    return TScanModule::PaletteSize(info.BitsPerPixel) * sizeof(RGBQUAD) + headersSize;
}

BITMAPFILEHEADER fileHeader(uint32_t fileSize, uint32_t offset) {
    return {0x4D42, fileSize, 0, 0, offset};
}

WORD fileBitCount(int32_t bitsPerPixel) {
    if (bitsPerPixel <= 1) return 1;
    if (bitsPerPixel <= 4) return 4;
    return bitsPerPixel <= 8 ? 8 : 24;
}

bool writePieces(HFILE file, const uint8_t* bytes, uint32_t size) {
    for (; size > pieceSize; bytes += pieceSize, size -= pieceSize) {
        if (!writeAll(file, bytes, pieceSize)) return false;
    }
    return writeAll(file, bytes, size);
}

// Rows of a strip that belong to the image; some sources fill their last strip up.
uint32_t rowsInImage(const TW_IMAGEINFO& info, const TW_IMAGEMEMXFER& strip) {
    const int64_t below = static_cast<int64_t>(info.ImageLength) - strip.YOffset;
    if (below <= 0 || strip.BytesPerRow == 0) return 0;
    return static_cast<uint32_t>(std::min<int64_t>(strip.Rows, below));
}

bool isSamplesOf8(const TW_IMAGEINFO& info) {
    return info.BitsPerPixel == 24 && info.BitsPerSample[0] == 8 && info.BitsPerSample[1] == 8 &&
           info.BitsPerSample[2] == 8;
}

// Puts one plane's bytes of some strip rows between those of the other planes: read, merge, write back. The
// lane is the plane's place in a pixel. Gives the words of a failure.
const char* mergePlane(HFILE file, const TW_IMAGEINFO& info, const TW_IMAGEMEMXFER& strip,
                       const uint8_t* bytes, uint32_t done, uint32_t rows, uint32_t lane, uint8_t* work) {
    const uint32_t dibRow = bytesPerRow(info);
    const uint32_t columns = std::min<uint32_t>({strip.Columns, strip.BytesPerRow, dibRow / planes});
    const int64_t fileRow = info.ImageLength - (static_cast<int64_t>(strip.YOffset) + done + rows);
    const int64_t position =
        pixelOffset(info) + fileRow * dibRow + static_cast<int64_t>(strip.XOffset) * planes;
    if (!seekTo(file, position) || _lread(file, work, rows * dibRow) != rows * dibRow) {
        return "_lread returns failure";
    }
    for (uint32_t row = 0; row < rows; ++row) {
        const uint8_t* from = bytes + static_cast<size_t>(done + row) * strip.BytesPerRow;
        uint8_t* to = work + static_cast<size_t>(rows - 1 - row) * dibRow + lane;
        for (uint32_t column = 0; column < columns; ++column)
            to[column * planes] = from[column];
    }
    seekTo(file, position);
    return writeAll(file, work, rows * dibRow) ? nullptr : "_lwrite returns failure";
}

// Pixels per metre, with what hosts rely on: 0 as long as GetUnit succeeds (its result is tested, not its
// code), and a factor of 254 for inches.
void fillResolution(TScanModule& module, BITMAPINFOHEADER& header, const TW_IMAGEINFO& info) {
    uint16_t unit = 0;
    if (module.GetUnit(&unit) != 1) return;
    double factor = 0.0;
    if (unit == SM_UNIT_INCHES) factor = 254.0;
    if (unit == SM_UNIT_CENTIMETERS) factor = 100.0;
    header.biXPelsPerMeter = static_cast<LONG>(truncated(fix32ToNumber(info.XResolution) * factor));
    header.biYPelsPerMeter = static_cast<LONG>(truncated(fix32ToNumber(info.YResolution) * factor));
}

bool writePalette(TScanModule& module, HFILE file, const TW_IMAGEINFO& info) {
    RGBQUAD entries[256] = {};
    uint32_t count = 0;
    if (info.BitsPerPixel == 1 && info.PixelType == TWPT_BW) {
        entries[1] = {0xFF, 0xFF, 0xFF, 0};
        count = 2;
    } else if (info.BitsPerPixel == 8 && info.PixelType == TWPT_GRAY) {
        for (RGBQUAD& entry : entries) {
            const auto level = static_cast<BYTE>(count++);
            entry = {level, level, level, 0};
        }
    } else if (info.PixelType == TWPT_PALETTE) {
        SmPalette palette = {};
        module.GetDSPalette(&palette);
        // Kept: always 256; below 8 bits the surplus runs into the pixels, which come later and cover it.
        for (RGBQUAD& entry : entries) {
            const SmPaletteEntry& color = palette.Entries[count++];
            entry = {color.Channel3, color.Channel2, color.Channel1, 0};
        }
    }
    return count == 0 || writeAll(file, entries, count * sizeof entries[0]);
}

}  // namespace

int32_t TScanModule::WriteDIBHeader(HFILE file, const char* path, const TW_IMAGEINFO* info) {
    const MethodTrace trace{"TScanModule::WriteDIBHeader"};
    const auto failed = [&](TracePoint at = TracePoint::here()) {
        trace.warn("_lwrite returns failure", at);
        return fileError;
    };
    oneShot_.rows.Allocate(pieceSize);
    if (oneShot_.rows.size() == 0) {
        trace.warn("Low Memory");
        return TWCC_LOWMEMORY;
    }
    const uint32_t offset = pixelOffset(*info);
    const BITMAPFILEHEADER header = fileHeader(ImageDataSize(info) + offset, offset);
    // The file has its full size from the start; merging planes reads what is not yet written.
    if (!reserve(file, path, header.bfSize, oneShot_.rows)) return failed();
    seekTo(file, 0);
    if (!writeAll(file, &header, sizeof header)) {
        // Kept: only this failure closes the file, which the caller then does again.
        _lclose(file);
        return failed();
    }
    BITMAPINFOHEADER infoHeader = {};
    infoHeader.biSize = sizeof infoHeader;
    infoHeader.biWidth = info->ImageWidth;
    infoHeader.biHeight = info->ImageLength;
    infoHeader.biPlanes = 1;
    infoHeader.biBitCount = fileBitCount(info->BitsPerPixel);
    infoHeader.biClrUsed = PaletteSize(info->BitsPerPixel);
    fillResolution(*this, infoHeader, *info);
    if (!writeAll(file, &infoHeader, sizeof infoHeader)) return failed();
    seekTo(file, headersSize);
    return writePalette(*this, file, *info) ? fileWritten : failed();
}

int32_t TScanModule::AppendBufferToFile(HFILE file, const TW_IMAGEINFO* info, TW_IMAGEMEMXFER* strip,
                                        uint8_t* bytes) {
    const MethodTrace trace{"TScanModule::AppendBufferToFile"};
    if (info->SamplesPerPixel == 1) return BufferToFile(file, info, strip, bytes);
    if (info->SamplesPerPixel != planes || !isSamplesOf8(*info)) return fileUnsupported;
    return info->Planar ? BufferToFileForPlanar(file, info, strip, bytes)
                        : BufferToFile(file, info, strip, bytes);
}

int32_t TScanModule::BufferToFile(HFILE file, const TW_IMAGEINFO* info, TW_IMAGEMEMXFER* strip,
                                  uint8_t* bytes) {
    const MethodTrace trace{"TScanModule::BufferToFile"};
    const int32_t dibRow = ImageBytesPerRow(info);
    correctRows(*strip, dibRow);
    if (info->BitsPerPixel == 24) {
        trace.note("Reverse R,B data");
        const size_t size = static_cast<size_t>(strip->Rows) * strip->BytesPerRow;
        swapRedBlue24({bytes, size, strip->BytesPerRow, strip->Rows, strip->Columns}, transfers_.conversion);
    }
    const uint32_t offset = pixelOffset(*info);
    const uint32_t rows = rowsInImage(*info, *strip);
    const int64_t column = (static_cast<int64_t>(info->BitsPerPixel) * strip->XOffset) >> 3;
    const int64_t topRow = static_cast<int64_t>(info->ImageLength) - strip->YOffset - 1;
    // Kept: as many bytes as the source's row has, its padding included.
    if (writeRows(file, {bytes, strip->BytesPerRow, rows, offset + topRow * dibRow + column, dibRow},
                  oneShot_.rows))
        return fileWritten;
    trace.warn("_lwrite returns failure");
    return fileError;
}

int32_t TScanModule::BufferToFileForPlanar(HFILE file, const TW_IMAGEINFO* info, TW_IMAGEMEMXFER* strip,
                                           uint8_t* bytes) {
    const MethodTrace trace{"TScanModule::BufferToFileForPlanar"};
    if (strip->YOffset == 0) {
        oneShot_.planeCounter = (oneShot_.planeCounter + 1) % planes;
        trace::write(TraceLevel::Trace, TracePoint::here(),
                     "Pass = ", static_cast<uint32_t>(oneShot_.planeCounter),
                     " in TScanModule::BufferToFileForPlanar");
    }
    const int32_t dibRow = ImageBytesPerRow(info);
    correctRows(*strip, dibRow);
    const uint32_t stripRows = rowsInImage(*info, *strip);
    if (stripRows == 0 || dibRow <= 0) return fileWritten;
    const uint64_t stripSize = static_cast<uint64_t>(stripRows) * dibRow;
    const GlobalBuffer work{
        static_cast<uint32_t>(std::min<uint64_t>(largestPlanarBuffer / dibRow * dibRow, stripSize))};
    if (work.size() == 0) {
        trace.warn("Low Memory");
        return TWCC_LOWMEMORY;
    }
    const uint32_t lane = planes - 1 - oneShot_.planeCounter;
    const char* failure = nullptr;
    const uint32_t rowsPerChunk = work.size() / dibRow;
    for (uint32_t done = 0; done < stripRows && failure == nullptr;) {
        const uint32_t rows = std::min<uint32_t>(stripRows - done, rowsPerChunk);
        failure = mergePlane(file, *info, *strip, bytes, done, rows, lane, work.data());
        done += rows;
    }
    if (failure == nullptr) return fileWritten;
    trace.warn(failure);
    return fileError;
}

int32_t TScanModule::WriteDIBHandleToFile(HGLOBAL dib, const char* path) {
    const MethodTrace trace{"TScanModule::WriteDIBHandleToFile"};
    const HFILE file = createFile(path);
    if (file == HFILE_ERROR) {
        trace.warn("Create file error");
        return fileError;
    }
    const SIZE_T blockSize = GlobalSize(dib);
    const auto* bytes = static_cast<const uint8_t*>(GlobalLock(dib));
    bool written = false;
    if (bytes != nullptr && blockSize >= sizeof(BITMAPINFOHEADER)) {
        BITMAPINFOHEADER header;
        std::memcpy(&header, bytes, sizeof header);
        // Kept: a palette counts only with biClrUsed, and the info header as 40 bytes.
        const uint32_t rowWords =
            (((header.biBitCount * static_cast<uint32_t>(header.biWidth) + 7) >> 3) + 3) >> 2;
        const uint32_t words = rowWords * static_cast<uint32_t>(header.biHeight) + header.biClrUsed;
        const uint64_t size = uint64_t{words} * 4 + sizeof header;
        const BITMAPFILEHEADER first =
            fileHeader(words * 4 + headersSize, header.biClrUsed * sizeof(RGBQUAD) + headersSize);
        // A header that describes more than the block holds is treated like a failed write.
        written = size <= blockSize && writeAll(file, &first, sizeof first) &&
                  writePieces(file, bytes, static_cast<uint32_t>(size));
    }
    _lclose(file);
    // Kept: on success the block stays locked.
    if (written) return fileWritten;
    trace.warn("Error in _lwrite");
    GlobalUnlock(dib);
    return fileError;
}

int32_t TScanModule::CheckDiskSpace(const char* path, const TW_IMAGEINFO* info) {
    const MethodTrace trace{"TScanModule::CheckDiskSpace"};
    const HFILE file = createFile(path);
    if (file == HFILE_ERROR) {
        trace.warn("Create file error");
        return fileError;
    }
    char root[4];
    lstrcpynA(root, path, sizeof root);
    const auto need = static_cast<uint32_t>(ImageDataSize(info));
    DWORD sectorsPerCluster, bytesPerSector, freeClusters, clusters;
    int32_t result = fileWritten;
    // Kept: 32-bit arithmetic that wraps on large volumes, and slack added to what is free.
    if (GetDiskFreeSpaceA(root, &sectorsPerCluster, &bytesPerSector, &freeClusters, &clusters) == TRUE &&
        need > sectorsPerCluster * bytesPerSector * freeClusters + diskSlack) {
        trace.warn("Disk space is not enough");
        result = fileNoSpace;
    }
    _lclose(file);
    return result;
}
