#include "ForeignDialog.h"

namespace {

std::string textOf(HWND window) {
    char text[256] = "";
    SendMessageA(window, WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text));
    return text;
}

// Message boxes may begin with an icon.
std::string firstText(HWND dialog) {
    std::string text;
    for (HWND control = nullptr; text.empty();) {
        control = FindWindowExA(dialog, control, "Static", nullptr);
        if (!control) break;
        text = textOf(control);
    }
    return text;
}

}  // namespace

void ForeignDialog::operator()(const PROCESS_INFORMATION& program) {
    constexpr const char* dialogClass = "#32770";
    for (HWND window = nullptr; (window = FindWindowExA(nullptr, window, dialogClass, nullptr)) != nullptr;) {
        DWORD owner = 0;
        GetWindowThreadProcessId(window, &owner);
        // A dialog that is being made has no buttons yet.
        const bool ready =
            owner == program.dwProcessId && IsWindowVisible(window) && GetDlgItem(window, button_);
        if (!ready || !pressed_.insert(window).second) continue;
        seen_ += "[" + textOf(window) + "] " + firstText(window) + "\n";
        PostMessageA(window, WM_COMMAND, static_cast<WPARAM>(button_), 0);
    }
}
