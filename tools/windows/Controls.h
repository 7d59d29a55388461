#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace gui {

struct Column {
    const wchar_t* title;
    int characters;  // its width, in average ones
    bool right = false;
};

void setUpColumns(HWND list, const std::vector<Column>& columns);
std::wstring textOf(HWND control);
// On the clipboard, as text.
bool copyText(HWND owner, const std::wstring& text);

}  // namespace gui
