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

HWND validParent(const Caller& caller, HWND parent) {
    if (parent != nullptr) return parent;
    caller.warn("Invalid parent window handle");
    return GetDesktopWindow();
}
