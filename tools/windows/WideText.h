#pragma once

#include <string>
#include <string_view>

namespace gui {

// From and to the code page of programs that have no other, as sources and the module are.
std::wstring fromAnsi(std::string_view ansi);
std::string toAnsi(std::wstring_view text);

std::string utf8(std::wstring_view text);
std::wstring fromUtf8(std::string_view text);

// What Windows says about its last error.
std::wstring lastErrorText();

}  // namespace gui
