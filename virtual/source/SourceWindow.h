// The source's own window, in which the person at the scanner chooses what is scanned. Its messages come
// through the host's loop.
#pragma once

#include <windows.h>

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "page/Picture.h"
#include "settings/Settings.h"
#include "source/ScanChoices.h"

namespace vscan {

struct WindowHandlers {
    // These two may destroy the window.
    std::function<void()> scan;
    std::function<void()> cancel;
    // The page as it would be scanned now, but in at most so many pixels.
    std::function<Picture(int width, int height)> preview;
};

class SourceWindow {
public:
    static constexpr int scanButton = IDOK;
    static constexpr int cancelButton = IDCANCEL;

    SourceWindow(HWND owner, const VirtualScannerSettings& settings, const ScanChoices& choices,
                 WindowHandlers handlers);
    ~SourceWindow();
    SourceWindow(const SourceWindow&) = delete;
    SourceWindow& operator=(const SourceWindow&) = delete;

    HWND handle() const { return window_; }
    // While images are transferred the controls rest.
    void setBusy(bool busy, const std::string& status);
    // Has Cancel pressed once the host's loop comes to it.
    void pressCancel() const { PostMessageA(window_, WM_COMMAND, cancelButton, 0); }
    // Handles a message of the host's loop that belongs to the window.
    bool takes(MSG& message) const;

private:
    static INT_PTR CALLBACK procedure(HWND window, UINT message, WPARAM word, LPARAM data);
    bool handle(UINT message, WPARAM word, LPARAM data);
    bool command(int control, int notification);
    HWND control(int id) const { return GetDlgItem(window_, id); }
    void show(bool behind) const;
    // The controls after what is chosen.
    void fill();
    void showChoices();
    void showLists();
    void enableChoices(bool enable) const;
    void paint(const DRAWITEMSTRUCT& item);

    HWND window_ = nullptr;
    HWND focus_ = nullptr;  // the control that had the keyboard before the scan
    ScanChoices choices_;
    WindowHandlers handlers_;
    std::array<std::vector<std::string>, 3> shown_;  // what the lists hold
    std::optional<Picture> preview_;
};

}  // namespace vscan
