#include "ForeignDialog.h"

namespace {

bool isDialogOf(HWND window, DWORD process) {
    DWORD owner = 0;
    GetWindowThreadProcessId(window, &owner);
    char className[16] = "";
    GetClassNameA(window, className, sizeof className);
    return owner == process && lstrcmpA(className, "#32770") == 0 && IsWindowVisible(window);
}

std::string textOf(HWND window) {
    char text[256] = "";
    SendMessageA(window, WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text));
    return text;
}

// Message boxes may begin with an icon.
std::string firstText(HWND dialog) {
    HWND control = nullptr;
    while ((control = FindWindowExA(dialog, control, "Static", nullptr)) != nullptr) {
        const std::string text = textOf(control);
        if (!text.empty()) return text;
    }
    return "";
}

}  // namespace

void ForeignDialog::operator()(const PROCESS_INFORMATION& program) {
    process_ = program.dwProcessId;
    EnumWindows(onWindow, reinterpret_cast<LPARAM>(this));
}

BOOL CALLBACK ForeignDialog::onWindow(HWND window, LPARAM data) {
    auto& self = *reinterpret_cast<ForeignDialog*>(data);
    // A dialog that is being made has no buttons yet.
    const bool ready = isDialogOf(window, self.process_) && GetDlgItem(window, self.button_);
    if (!ready || !self.pressed_.insert(window).second) return TRUE;
    self.seen_ += "[" + textOf(window) + "] " + firstText(window) + "\n";
    PostMessageA(window, WM_COMMAND, static_cast<WPARAM>(self.button_), 0);
    return TRUE;
}
