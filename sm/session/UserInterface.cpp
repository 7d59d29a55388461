#include "session/UserInterface.h"

void UserInterface::disableParent(HWND parent) {
    EnableWindow(parent, FALSE);
    disabledWindow = parent;
    parentDisabled = true;
}

void UserInterface::releaseParent() {
    if (!parentDisabled) return;
    parentDisabled = false;
    EnableWindow(disabledWindow, TRUE);
    disabledWindow = nullptr;
}

void countOrDisable(HWND window, SmDisableWndsContext& windows) {
    if ((GetWindowLongA(window, GWL_STYLE) & WS_CHILD) != 0 || !IsWindowEnabled(window)) return;
    if (windows.NextSlot == nullptr) {
        ++windows.Count;
    } else {
        *windows.NextSlot++ = window;
        EnableWindow(window, FALSE);
    }
}

HWND validParent(const Caller& caller, HWND parent) {
    if (parent != nullptr) return parent;
    caller.warn("Invalid parent window handle");
    return GetDesktopWindow();
}
