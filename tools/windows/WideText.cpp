#include "windows/WideText.h"

#include <windows.h>

namespace gui {

namespace {

std::wstring decoded(UINT codePage, std::string_view bytes) {
    const int size = static_cast<int>(bytes.size());
    std::wstring text(MultiByteToWideChar(codePage, 0, bytes.data(), size, nullptr, 0), L'\0');
    MultiByteToWideChar(codePage, 0, bytes.data(), size, text.data(), static_cast<int>(text.size()));
    return text;
}

std::string encoded(UINT codePage, std::wstring_view text) {
    const int size = static_cast<int>(text.size());
    std::string bytes(WideCharToMultiByte(codePage, 0, text.data(), size, nullptr, 0, nullptr, nullptr),
                      '\0');
    WideCharToMultiByte(codePage, 0, text.data(), size, bytes.data(), static_cast<int>(bytes.size()), nullptr,
                        nullptr);
    return bytes;
}

}  // namespace

std::wstring fromAnsi(std::string_view ansi) {
    return decoded(CP_ACP, ansi);
}

std::string toAnsi(std::wstring_view text) {
    return encoded(CP_ACP, text);
}

std::string utf8(std::wstring_view text) {
    return encoded(CP_UTF8, text);
}

std::wstring fromUtf8(std::string_view text) {
    return decoded(CP_UTF8, text);
}

std::wstring lastErrorText() {
    wchar_t text[256] = L"";
    const DWORD error = GetLastError();
    DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
                                  0, text, 256, nullptr);
    while (length > 0 && text[length - 1] <= L' ')
        --length;
    return length > 0 ? std::wstring(text, length) : L"Windows error " + std::to_wstring(error);
}

}  // namespace gui
