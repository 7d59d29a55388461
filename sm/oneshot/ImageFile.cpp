#include "oneshot/ImageFile.h"

#include <scanmodule/scanmodule.h>

#include <algorithm>
#include <cstring>

namespace {

enum class Room { Enough, TooLittle, Unknown };

// Some file systems promise room that isn't there.
Room roomFor(const char* path, uint32_t size) {
    char folder[SM_FILE_NAME_SIZE];
    lstrcpynA(folder, path, sizeof folder);
    const char* name = folder;
    for (const char* at = folder; *at != '\0'; ++at) {
        if (*at == '\\' || *at == '/' || *at == ':') name = at + 1;
    }
    folder[name - folder] = '\0';
    ULARGE_INTEGER available;
    if (!GetDiskFreeSpaceExA(folder[0] != '\0' ? folder : nullptr, &available, nullptr, nullptr))
        return Room::Unknown;
    return available.QuadPart >= size ? Room::Enough : Room::TooLittle;
}

bool writeZeros(HFILE file, uint32_t count, const GlobalBuffer& zeros) {
    for (; count > zeros.size(); count -= zeros.size()) {
        if (!writeAll(file, zeros.data(), zeros.size())) return false;
    }
    return writeAll(file, zeros.data(), count);
}

bool seekTo32(HFILE file, uint32_t position) {
    LONG high = 0;
    const HANDLE handle = reinterpret_cast<HANDLE>(static_cast<INT_PTR>(file));
    return SetFilePointer(handle, static_cast<LONG>(position), &high, FILE_BEGIN) != INVALID_SET_FILE_POINTER;
}

// Rows without gaps: the last one first, as in the file.
bool writeReversed(HFILE file, const DescendingRows& rows) {
    uint8_t* upper = rows.bytes;
    uint8_t* lower = rows.bytes + static_cast<size_t>(rows.count - 1) * rows.size;
    for (; upper < lower; upper += rows.size, lower -= rows.size)
        std::swap_ranges(upper, upper + rows.size, lower);
    return seekTo(file, rows.position - static_cast<int64_t>(rows.count - 1) * rows.step) &&
           writeAll(file, rows.bytes, rows.count * rows.size);
}

// How many of the rows that are left are written at once.
uint32_t rowsAtOnce(const DescendingRows& rows, uint32_t done, const GlobalBuffer& work) {
    if (rows.step <= 0 || rows.size > work.size()) return 1;
    return std::min(rows.count - done, (work.size() - rows.size) / rows.step + 1);
}

bool writeJoined(HFILE file, const DescendingRows& rows, uint32_t first, uint32_t count,
                 const GlobalBuffer& work) {
    const uint32_t step = static_cast<uint32_t>(rows.step);
    const uint32_t size = (count - 1) * step + rows.size;
    const int64_t position = rows.position - (static_cast<int64_t>(first) + count - 1) * step;
    if (rows.size < step) {
        // What lies between the rows stays; beyond the file's end there would be zeros.
        if (!seekTo(file, position)) return false;
        const UINT read = _lread(file, work.data(), size);
        if (read > size) return false;
        std::memset(work.data() + read, 0, size - read);
    }
    for (uint32_t row = 0; row < count; ++row)
        std::memcpy(work.data() + (count - 1 - row) * step,
                    rows.bytes + static_cast<size_t>(first + row) * rows.size, rows.size);
    return seekTo(file, position) && writeAll(file, work.data(), size);
}

}  // namespace

HFILE createFile(const char* path) {
    return _lcreat(path, 0);
}

void deleteFile(const char* path) {
    DeleteFileA(path);
}

bool writeAll(HFILE file, const void* bytes, uint32_t size) {
    return _lwrite(file, static_cast<const char*>(bytes), size) == size;
}

bool seekTo(HFILE file, int64_t position) {
    return position >= 0 && position <= INT32_MAX &&
           _llseek(file, static_cast<LONG>(position), FILE_BEGIN) != HFILE_ERROR;
}

bool reserve(HFILE file, const char* path, uint32_t size, const GlobalBuffer& zeros) {
    switch (roomFor(path, size)) {
        case Room::TooLittle:
            return false;
        case Room::Unknown:
            return writeZeros(file, size, zeros);
        default:
            // Writing nothing ends the file at its present position.
            return seekTo32(file, size) && writeAll(file, "", 0);
    }
}

bool writeRows(HFILE file, const DescendingRows& rows, const GlobalBuffer& work) {
    if (rows.count != 0 && !seekTo(file, rows.position)) return false;
    if (rows.count > 1 && rows.step > 0 && rows.size == static_cast<uint32_t>(rows.step))
        return writeReversed(file, rows);
    for (uint32_t done = 0; done < rows.count;) {
        const uint32_t count = rowsAtOnce(rows, done, work);
        if (count > 1) {
            if (!writeJoined(file, rows, done, count, work)) return false;
        } else if (!seekTo(file, rows.position - static_cast<int64_t>(done) * rows.step) ||
                   !writeAll(file, rows.bytes + static_cast<size_t>(done) * rows.size, rows.size)) {
            return false;
        }
        done += count;
    }
    return true;
}
