#include "common/Text.h"

#include <windows.h>

#include <cstdarg>
#include <cstdio>

#include "common/TextEncoding.h"

namespace host {

std::string format(const char* pattern, ...) {
    va_list arguments;
    va_start(arguments, pattern);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, pattern, arguments);
    va_end(arguments);
    std::string text(length > 0 ? length : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, pattern, again);
    va_end(again);
    return text;
}

std::string counted(int count, const char* singular) {
    return format("%d %s%s", count, singular, count == 1 ? "" : "s");
}

std::string lowered(std::string text) {
    for (char& character : text)
        if (character >= 'A' && character <= 'Z') character += 'a' - 'A';
    return text;
}

bool sameWord(const std::string& one, const std::string& other) {
    return lowered(one) == lowered(other);
}

std::string errorText(unsigned long error) {
    wchar_t buffer[256] = {};
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
                                  0, buffer, 256, nullptr);
    while (length > 0 && buffer[length - 1] <= L' ')
        --length;
    return length > 0 ? utf8({buffer, length}) : format("Windows error %lu.", error);
}

std::string lastErrorText() {
    return errorText(GetLastError());
}

}  // namespace host
