// The source's own small window: a button to scan, a button to close. Its messages come through the host's
// loop.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

namespace vscan {

class SourceWindow {
public:
    // Identifiers of its controls, for tests that press the buttons.
    static constexpr int scanButton = IDOK;
    static constexpr int cancelButton = IDCANCEL;
    static constexpr int statusText = 100;

    // The handlers may destroy the window.
    SourceWindow(HWND owner, const std::string& title, std::function<void()> scan,
                 std::function<void()> cancel);
    ~SourceWindow();
    SourceWindow(const SourceWindow&) = delete;
    SourceWindow& operator=(const SourceWindow&) = delete;

    HWND handle() const { return window_; }
    // While images are transferred the buttons rest.
    void setBusy(bool busy, const std::string& status);
    // Handles a message of the host's loop that belongs to the window.
    bool takes(MSG& message) const;

private:
    static INT_PTR CALLBACK procedure(HWND window, UINT message, WPARAM word, LPARAM data);

    HWND window_ = nullptr;
    bool hadFocus_ = false;
    std::function<void()> scan_;
    std::function<void()> cancel_;
};

}  // namespace vscan
