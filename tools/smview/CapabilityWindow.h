#pragma once

#include <windows.h>

#include <memory>
#include <vector>

#include "common/ModuleLibrary.h"
#include "smview/CapabilityFacts.h"
#include "windows/Anchors.h"

namespace smview {

// A dialog with the capabilities of the open source, in which a value can be set and what the source makes of
// it is seen.
class CapabilityWindow {
public:
    explicit CapabilityWindow(const host::ModuleLibrary& module) : module_(module) {}
    CapabilityWindow(const CapabilityWindow&) = delete;
    CapabilityWindow& operator=(const CapabilityWindow&) = delete;

    // Until it is closed.
    void run(HWND owner);

private:
    static INT_PTR CALLBACK onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    bool handle(UINT message, WPARAM wParam, LPARAM lParam);
    void setUp();
    void ask();
    void showRow(int row);
    void choose(int row);
    void change(int control);
    void copy() const;

    const host::ModuleLibrary& module_;
    HWND window_ = nullptr;
    HWND table_ = nullptr;
    std::unique_ptr<gui::AnchoredControls> anchors_;
    std::vector<CapabilityFacts> capabilities_;
    int chosen_ = -1;
};

}  // namespace smview
