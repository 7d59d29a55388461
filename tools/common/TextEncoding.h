#pragma once

#include <optional>
#include <string>

namespace host {

// Texts are UTF-8 within the programs. Windows takes UTF-16; the module, managers and sources take the
// system's ANSI code page.
std::wstring wide(const std::string& text);
std::string utf8(const std::wstring& text);

std::string fromAnsi(const std::string& text);
// Nothing when the code page lacks a character.
std::optional<std::string> toAnsi(const std::string& text);

}  // namespace host
