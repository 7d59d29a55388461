// Presses the buttons of a dialog that another process shows, as its user would.
#pragma once

#include <windows.h>

#include <set>
#include <string>

class ForeignDialog {
public:
    explicit ForeignDialog(int button) : button_(button) {}

    // For ScanFolder::run: presses the button of the program's dialog, once for each dialog.
    void operator()(const PROCESS_INFORMATION& program) {
        for (HWND window = nullptr;
             (window = FindWindowExA(nullptr, window, "#32770", nullptr)) != nullptr;) {
            DWORD owner = 0;
            GetWindowThreadProcessId(window, &owner);
            // A dialog that is being made has no buttons yet.
            const bool ready =
                owner == program.dwProcessId && IsWindowVisible(window) && GetDlgItem(window, button_);
            if (!ready || !pressed_.insert(window).second) continue;
            seen += "[" + textOf(window) + "] ";
            for (HWND text = nullptr; (text = FindWindowExA(window, text, "Static", nullptr)) != nullptr;)
                seen += textOf(text);
            seen += "\n";
            PostMessageA(window, WM_COMMAND, static_cast<WPARAM>(button_), 0);
        }
    }
    size_t count() const { return pressed_.size(); }

    std::string seen;  // of each dialog "[title] text" and a line's end

private:
    static std::string textOf(HWND window) {
        char text[256] = "";
        SendMessageA(window, WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text));
        return text;
    }

    int button_;
    std::set<HWND> pressed_;
};
