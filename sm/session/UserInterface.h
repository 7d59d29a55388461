// How the source was last enabled, and which window is disabled on its account.
#pragma once

#include <scanmodule/scanmodule.h>
#include <windows.h>

#include "base/Trace.h"

struct UserInterface {
    bool showUI = true;
    bool parentDisabled = false;
    HWND disabledWindow = nullptr;

    void disableParent(HWND parent);
    // Enables the window that was disabled, if one was; not the present parent.
    void releaseParent();
};

// One window of the host's enumeration: an enabled top-level window is counted or, once there is a list,
// entered there and disabled.
void countOrDisable(HWND window, SmDisableWndsContext& windows);

// What a host gives as its window; the desktop for null, reported.
HWND validParent(const Caller& caller, HWND parent);
