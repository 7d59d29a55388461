// Presses the buttons of a dialog that another process shows, as its user would.
#pragma once

#include <windows.h>

#include <set>
#include <string>

class ForeignDialog {
public:
    explicit ForeignDialog(int button) : button_(button) {}

    // For ScanFolder::run: presses the button of the program's dialog, once for each dialog.
    void operator()(const PROCESS_INFORMATION& program);

    // Of each dialog "[title] first text" and a line's end.
    const std::string& seen() const { return seen_; }
    size_t count() const { return pressed_.size(); }

private:
    int button_;
    std::set<HWND> pressed_;
    std::string seen_;
};
