#include "common/TextEncoding.h"

#include "windows/WideText.h"

namespace host {

std::wstring wide(const std::string& text) {
    return gui::fromUtf8(text);
}

std::string utf8(const std::wstring& text) {
    return gui::utf8(text);
}

std::string fromAnsi(const std::string& text) {
    return utf8(gui::fromAnsi(text));
}

std::optional<std::string> toAnsi(const std::string& text) {
    // Windows puts a similar letter in place of one that the code page lacks: seen by the way back.
    const std::wstring letters = wide(text);
    std::string result = gui::toAnsi(letters);
    if (gui::fromAnsi(result) != letters) return std::nullopt;
    return result;
}

}  // namespace host
