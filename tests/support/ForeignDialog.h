// Presses the buttons of a dialog that another process shows, as its user would.
#pragma once

#include <windows.h>

#include <vector>

#include "Lines.h"

class ForeignDialog {
public:
    explicit ForeignDialog(int button) : button_(button) {}

    // For ScanFolder::run: presses the button of the program's dialog, once for each dialog.
    void operator()(const PROCESS_INFORMATION& program);

    // Of each dialog "[title] first text".
    const Lines& seen() const { return seen_; }

private:
    static BOOL CALLBACK onWindow(HWND window, LPARAM self);

    int button_;
    DWORD process_ = 0;
    std::vector<HWND> pressed_;
    Lines seen_;
};
