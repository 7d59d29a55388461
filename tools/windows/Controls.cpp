#include "windows/Controls.h"

#include <commctrl.h>

#include <cstring>

namespace gui {

void setUpColumns(HWND list, const std::vector<Column>& columns) {
    SendMessageW(list, LVM_SETEXTENDEDLISTVIEWSTYLE, 0, LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER);
    const LRESULT width = SendMessageW(list, LVM_GETSTRINGWIDTHW, 0, reinterpret_cast<LPARAM>(L"0000000000"));
    int index = 0;
    for (const Column& each : columns) {
        LVCOLUMNW column = {};
        column.mask = LVCF_FMT | LVCF_TEXT | LVCF_WIDTH;
        column.fmt = each.right ? LVCFMT_RIGHT : LVCFMT_LEFT;
        column.pszText = const_cast<wchar_t*>(each.title);
        column.cx = static_cast<int>(each.characters * width / 10);
        SendMessageW(list, LVM_INSERTCOLUMNW, index++, reinterpret_cast<LPARAM>(&column));
    }
}

std::wstring textOf(HWND control) {
    std::wstring text(GetWindowTextLengthW(control) + 1, L'\0');
    text.resize(GetWindowTextW(control, text.data(), static_cast<int>(text.size())));
    return text;
}

bool copyText(HWND owner, const std::wstring& text) {
    const size_t bytes = (text.size() + 1) * sizeof(wchar_t);
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes);
    if (memory == nullptr) return false;
    if (void* const target = GlobalLock(memory)) {
        std::memcpy(target, text.c_str(), bytes);
        GlobalUnlock(memory);
        if (OpenClipboard(owner)) {
            EmptyClipboard();
            const bool given = SetClipboardData(CF_UNICODETEXT, memory) != nullptr;
            CloseClipboard();
            if (given) return true;  // the clipboard's from now on
        }
    }
    GlobalFree(memory);
    return false;
}

}  // namespace gui
