#pragma once

#include <windows.h>
// Needs the one above.
#include <commctrl.h>

#include <memory>
#include <optional>
#include <string>

#include "smtrace/LineFilter.h"
#include "smtrace/Senders.h"
#include "smtrace/StatisticsWindow.h"
#include "windows/Anchors.h"

namespace smtrace {

// The window that shows the lines. It asks the store for what is new twenty times a second; nobody waits for
// it.
class MainWindow {
public:
    MainWindow(LineStore& store, const Senders& senders);
    MainWindow(const MainWindow&) = delete;
    MainWindow& operator=(const MainWindow&) = delete;

    // Until it is closed.
    void run();

private:
    static INT_PTR CALLBACK onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    bool handle(UINT message, WPARAM wParam, LPARAM lParam);
    void setUp();
    void command(int control, int notification);
    LRESULT notify(const NMHDR& header, LPARAM lParam);

    void refresh();
    void filter();
    void findNext();
    void copy();
    void save();
    void clear();
    void setSwitch(int control, const wchar_t* key);
    void showSwitches();
    void showStatus();

    bool isChecked(int control) const { return IsDlgButtonChecked(window_, control) == BST_CHECKED; }
    void describeCell(NMLVDISPINFOW& info);
    LRESULT colour(NMLVCUSTOMDRAW& draw) const;
    bool showsLast() const;
    std::string selectedText() const;
    void report(const std::wstring& text) { message_ = text; }

    LineStore& store_;
    const Senders& senders_;
    FilteredLines lines_;
    StatisticsWindow statistics_;
    std::unique_ptr<gui::AnchoredControls> anchors_;
    HWND window_ = nullptr;
    HWND list_ = nullptr;
    unsigned ticks_ = 0;
    std::wstring message_;  // what the last command came to
    std::wstring cell_;     // the list keeps a pointer to it until it asks for the next
};

}  // namespace smtrace
