#include "source/SourceWindow.h"

#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

namespace vscan {

namespace {

constexpr WORD buttonClass = 0x0080;
constexpr WORD staticClass = 0x0082;

// A dialog template in memory, so that the source needs no resources wherever it is linked to.
class DialogTemplate {
public:
    DialogTemplate(short width, short height) {
        DLGTEMPLATE header{};
        header.style =
            WS_POPUP | WS_CAPTION | WS_SYSMENU | WS_VISIBLE | DS_MODALFRAME | DS_SETFONT | DS_CENTER;
        header.cx = width;
        header.cy = height;
        append(&header, sizeof header);
        appendWords({0, 0, 0, 8});  // no menu, standard class, no title yet, 8 points
        appendText(L"MS Shell Dlg");
    }

    void addControl(WORD windowClass, DWORD style, int id, const wchar_t* text, const RECT& place) {
        while (bytes_.size() % sizeof(DWORD) != 0)
            bytes_.push_back(0);
        DLGITEMTEMPLATE item{};
        item.style = style | WS_CHILD | WS_VISIBLE;
        item.x = static_cast<short>(place.left);
        item.y = static_cast<short>(place.top);
        item.cx = static_cast<short>(place.right - place.left);
        item.cy = static_cast<short>(place.bottom - place.top);
        item.id = static_cast<WORD>(id);
        append(&item, sizeof item);
        appendWords({0xFFFF, windowClass});
        appendText(text);
        appendWords({0});  // no creation data
        ++reinterpret_cast<DLGTEMPLATE*>(bytes_.data())->cdit;
    }

    const DLGTEMPLATE* get() const { return reinterpret_cast<const DLGTEMPLATE*>(bytes_.data()); }

private:
    void append(const void* data, std::size_t size) {
        const std::size_t end = bytes_.size();
        bytes_.resize(end + size);
        std::memcpy(bytes_.data() + end, data, size);
    }
    void appendWords(std::initializer_list<WORD> words) {
        append(words.begin(), words.size() * sizeof(WORD));
    }
    void appendText(const wchar_t* text) {
        append(text, (static_cast<std::size_t>(lstrlenW(text)) + 1) * sizeof(wchar_t));
    }

    std::vector<std::uint8_t> bytes_;
};

}  // namespace

SourceWindow::SourceWindow(HWND owner, const std::string& title, std::function<void()> scan,
                           std::function<void()> cancel)
    : scan_(std::move(scan)), cancel_(std::move(cancel)) {
    DialogTemplate dialog(160, 62);
    dialog.addControl(staticClass, SS_LEFT, statusText, L"", {8, 8, 152, 30});
    dialog.addControl(buttonClass, BS_DEFPUSHBUTTON | WS_TABSTOP, scanButton, L"&Scan", {8, 40, 72, 54});
    dialog.addControl(buttonClass, BS_PUSHBUTTON | WS_TABSTOP, cancelButton, L"Cancel", {88, 40, 152, 54});
    window_ =
        CreateDialogIndirectParamA(GetModuleHandleA(nullptr), dialog.get(), IsWindow(owner) ? owner : nullptr,
                                   procedure, reinterpret_cast<LPARAM>(this));
    if (window_) SetWindowTextA(window_, title.c_str());
}

SourceWindow::~SourceWindow() {
    if (!window_) return;
    SetWindowLongPtrA(window_, DWLP_USER, 0);
    DestroyWindow(window_);
}

void SourceWindow::setBusy(bool busy, const std::string& status) {
    // A disabled button loses the keyboard focus and doesn't get it back.
    if (busy) hadFocus_ = IsChild(window_, GetFocus()) != FALSE;
    EnableWindow(GetDlgItem(window_, scanButton), !busy);
    EnableWindow(GetDlgItem(window_, cancelButton), !busy);
    if (!busy && std::exchange(hadFocus_, false)) SetFocus(GetDlgItem(window_, scanButton));
    SetDlgItemTextA(window_, statusText, status.c_str());
}

bool SourceWindow::takes(MSG& message) const {
    return IsDialogMessageA(window_, &message) != FALSE;
}

INT_PTR CALLBACK SourceWindow::procedure(HWND window, UINT message, WPARAM word, LPARAM data) {
    if (message == WM_INITDIALOG) {
        SetWindowLongPtrA(window, DWLP_USER, data);
        return TRUE;
    }
    auto* self = reinterpret_cast<SourceWindow*>(GetWindowLongPtrA(window, DWLP_USER));
    if (!self || message != WM_COMMAND) return FALSE;
    // Copied first: the handler may end the window and this object with it.
    std::function<void()> handler;
    if (LOWORD(word) == scanButton) handler = self->scan_;
    if (LOWORD(word) == cancelButton) handler = self->cancel_;
    if (!handler) return FALSE;
    try {
        handler();
    } catch (...) {
        // Nothing may be thrown through Windows; the scan that could not begin stays away.
    }
    return TRUE;
}

}  // namespace vscan
