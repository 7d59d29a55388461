#include "common/Text.h"

#include <windows.h>

#include <cstdarg>
#include <cstdio>

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

std::string asUtf8(const std::string& text) {
    const int length = static_cast<int>(text.size());
    const auto widened = [&](UINT codePage, DWORD flags) {
        std::wstring wide(text.size(), L'\0');
        wide.resize(MultiByteToWideChar(codePage, flags, text.c_str(), length, wide.data(), length));
        return wide;
    };
    if (text.empty() || !widened(CP_UTF8, MB_ERR_INVALID_CHARS).empty()) return text;
    const std::wstring wide = widened(CP_ACP, 0);
    const int count = static_cast<int>(wide.size());
    std::string result(WideCharToMultiByte(CP_UTF8, 0, wide.c_str(), count, nullptr, 0, nullptr, nullptr),
                       '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide.c_str(), count, result.data(), static_cast<int>(result.size()),
                        nullptr, nullptr);
    return result;
}

std::string lowered(std::string text) {
    for (char& character : text)
        if (character >= 'A' && character <= 'Z') character += 'a' - 'A';
    return text;
}

bool sameWord(const std::string& one, const std::string& other) {
    return lowered(one) == lowered(other);
}

std::string lastErrorText() {
    char buffer[256] = {};
    const DWORD error = GetLastError();
    DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
                                  0, buffer, sizeof buffer, nullptr);
    while (length > 0 && static_cast<unsigned char>(buffer[length - 1]) <= ' ')
        --length;
    return length > 0 ? std::string(buffer, length) : format("Windows error %lu.", error);
}

}  // namespace host
