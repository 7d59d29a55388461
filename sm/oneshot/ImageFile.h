// The files of one-shot scans, by HFILE: what the writer of BMP files asks of a file.
#pragma once

#include <windows.h>

#include <cstdint>

#include "base/GlobalBuffer.h"

// Creates or truncates; HFILE_ERROR on failure. Not OpenFile, which stops at paths of 127 characters.
HFILE createFile(const char* path);
// Fails, silently, when the file is still open.
void deleteFile(const char* path);

bool writeAll(HFILE file, const void* bytes, uint32_t size);
bool seekTo(HFILE file, int64_t position);
// Gives a new file its size, all zeros, which are written only where the disk doesn't say whether they find
// room. Fails where they find none.
bool reserve(HFILE file, const char* path, uint32_t size, const GlobalBuffer& zeros);

// Rows of a bottom-up image as they come: the next one lies in front of the one before.
struct DescendingRows {
    uint8_t* bytes;
    uint32_t size;  // of a row, in memory and in the file
    uint32_t count;
    int64_t position;  // of the first row in the file
    int32_t step;      // back to the next one; rows may leave gaps or overlap
};
// Writes them as if one by one, in their order: all at once where they lie close together, which turns their
// order round in memory, else as many at once as `work` holds.
bool writeRows(HFILE file, const DescendingRows& rows, const GlobalBuffer& work);
