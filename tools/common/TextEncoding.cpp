#include "common/TextEncoding.h"

#include <windows.h>

namespace host {

namespace {

std::wstring decode(UINT codePage, const std::string& text) {
    const int bytes = static_cast<int>(text.size());
    const int length = MultiByteToWideChar(codePage, 0, text.data(), bytes, nullptr, 0);
    std::wstring result(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(codePage, 0, text.data(), bytes, result.data(), length);
    return result;
}

std::string encode(UINT codePage, DWORD flags, const std::wstring& text, BOOL* isLossy) {
    const int units = static_cast<int>(text.size());
    const int length = WideCharToMultiByte(codePage, flags, text.data(), units, nullptr, 0, nullptr, isLossy);
    std::string result(static_cast<size_t>(length), '\0');
    WideCharToMultiByte(codePage, flags, text.data(), units, result.data(), length, nullptr, nullptr);
    return result;
}

}  // namespace

std::wstring wide(const std::string& text) {
    return decode(CP_UTF8, text);
}

std::string utf8(const std::wstring& text) {
    return encode(CP_UTF8, 0, text, nullptr);
}

std::string fromAnsi(const std::string& text) {
    return utf8(decode(CP_ACP, text));
}

std::optional<std::string> toAnsi(const std::string& text) {
    BOOL isLossy = FALSE;
    std::string result = encode(CP_ACP, WC_NO_BEST_FIT_CHARS, wide(text), &isLossy);
    if (isLossy) return std::nullopt;
    return result;
}

}  // namespace host
