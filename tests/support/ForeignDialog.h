// Presses the buttons of a dialog that another process shows, as its user would.
#pragma once

#include <windows.h>

#include "Lines.h"

class ForeignDialog {
public:
    explicit ForeignDialog(int button) : button_(button) {}

    // For ScanFolder::run: presses the button of the program's dialog, once for each dialog.
    void operator()(const PROCESS_INFORMATION& program);

    // Of each dialog "[title] first text".
    const Lines& seen() const { return seen_; }

private:
    int button_;
    HWND pressed_ = nullptr;
    Lines seen_;
};
