// The files of one-shot scans. HFILE calls, as the whole writer of BMP files uses them.
#pragma once

#include <windows.h>

// Creates or truncates; HFILE_ERROR on failure. Not OpenFile, which stops at paths of 127 characters.
HFILE createFile(const char* path);
// Fails, silently, when the file is still open.
void deleteFile(const char* path);
