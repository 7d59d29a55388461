#pragma once

#include <windows.h>

#include <memory>

#include "smtrace/LineStore.h"
#include "windows/Anchors.h"

namespace smtrace {

// How often each method was called and how long it took, kept up to date while it is open.
class StatisticsWindow {
public:
    explicit StatisticsWindow(const LineStore& store) : store_(store) {}
    ~StatisticsWindow();
    StatisticsWindow(const StatisticsWindow&) = delete;
    StatisticsWindow& operator=(const StatisticsWindow&) = delete;

    // Opens it, or brings it to the front.
    void show(HWND owner);
    HWND handle() const { return window_; }

private:
    static INT_PTR CALLBACK onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    bool handle(UINT message, WPARAM wParam, LPARAM lParam);
    void fill();

    const LineStore& store_;
    HWND window_ = nullptr;
    std::unique_ptr<gui::AnchoredControls> anchors_;
};

}  // namespace smtrace
