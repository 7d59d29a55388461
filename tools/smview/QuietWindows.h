#pragma once

#include <windows.h>

#include <vector>

#include "common/ModuleLibrary.h"

namespace smview {

// This thread's windows take no input as long as this lives: the source's own window is to be answered first.
class QuietWindows {
public:
    explicit QuietWindows(const host::ModuleLibrary& module) {
        SmDisableWndsContext context = {};
        each(module, context);
        windows_.resize(context.Count);
        context.NextSlot = windows_.data();
        if (!windows_.empty()) each(module, context);
    }
    ~QuietWindows() {
        for (const HWND window : windows_)
            EnableWindow(window, TRUE);
    }
    QuietWindows(const QuietWindows&) = delete;
    QuietWindows& operator=(const QuietWindows&) = delete;

private:
    static void each(const host::ModuleLibrary& module, SmDisableWndsContext& context) {
        EnumThreadWindows(GetCurrentThreadId(), module.DisableWnds, reinterpret_cast<LPARAM>(&context));
    }

    std::vector<HWND> windows_;
};

}  // namespace smview
