#include "ForeignDialog.h"

namespace {

struct Search {
    DWORD process;
    HWND dialog;
};

BOOL CALLBACK onWindow(HWND window, LPARAM data) {
    auto& search = *reinterpret_cast<Search*>(data);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    char className[16] = "";
    GetClassNameA(window, className, sizeof className);
    if (process != search.process || lstrcmpA(className, "#32770") != 0 || !IsWindowVisible(window))
        return TRUE;
    search.dialog = window;
    return FALSE;
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
    Search search{program.dwProcessId, nullptr};
    EnumWindows(onWindow, reinterpret_cast<LPARAM>(&search));
    // A dialog that is being made has no buttons yet.
    if (!search.dialog || search.dialog == pressed_ || !GetDlgItem(search.dialog, button_)) return;
    pressed_ = search.dialog;
    seen_.push_back("[" + textOf(search.dialog) + "] " + firstText(search.dialog));
    PostMessageA(search.dialog, WM_COMMAND, static_cast<WPARAM>(button_), 0);
}
