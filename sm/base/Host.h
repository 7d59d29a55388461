// The host: its window, the name it is presented under, and the registered messages that the window is sent.
#pragma once

#include <windows.h>

#include "base/Trace.h"

struct Host {
    // The desktop until a source is opened for a window of the host's.
    HWND window = GetDesktopWindow();
    char presentedName[34] = {};

    UINT closeDSReq = 0;
    UINT xferStart = 0;
    UINT xferData = 0;
    UINT xferEnd = 0;
    UINT scanToFileGetName = 0;
    UINT scanToFileXferEnd = 0;
    UINT scanToFileDSClosed = 0;

    // One line at level Fatal when the first four, and one when the others can't all be had.
    void registerMessages();
    // False once the window was destroyed: nobody is left who could cancel.
    bool isThere() const { return IsWindow(window) != FALSE; }
    // Returns when the host's handler has run.
    LRESULT tell(UINT message, WPARAM wParam, const void* lParam = nullptr) const;
};
