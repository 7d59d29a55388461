#pragma once

#include <windows.h>

#include <optional>

#include "common/HostWindow.h"

namespace smscan {

// While it lives Ctrl+C, and what else asks a program to end, cancels the scan of the CancelledWindow; where
// there is none it ends the process at once. So does a second Ctrl+C, for a source that hangs.
class Interrupt {
public:
    Interrupt();
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;
    ~Interrupt();

    // Milliseconds since the first one; nothing when there was none.
    std::optional<DWORD> age() const;
};

class CancelledWindow {
public:
    explicit CancelledWindow(host::HostWindow& window);
    CancelledWindow(const CancelledWindow&) = delete;
    CancelledWindow& operator=(const CancelledWindow&) = delete;
    ~CancelledWindow();
};

}  // namespace smscan
