#include "TransferRecords.h"

#include <cstdarg>

TransferRecords transferRecords = {};
TransferArea transferArea = {};

TW_SETUPFILEXFER makeFileSetup(const char* path) {
    TW_SETUPFILEXFER setup = {};
    setup.Format = TWFF_BMP;
    // A path of 255 characters holds at most 127 directives, each of two words at most. On this platform
    // va_list points at the arguments.
    DWORD zeros[256] = {};
    char format[SM_FILE_NAME_SIZE];
    lstrcpynA(format, path, sizeof format);
    constexpr int longestResult = 1024;
    char text[longestResult + 1] = "";
    wvsprintfA(text, format, reinterpret_cast<va_list>(zeros));
    lstrcpynA(setup.FileName, text, sizeof setup.FileName);
    return setup;
}
