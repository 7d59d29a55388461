#pragma once

#include <windows.h>

#include "smscan/Interrupt.h"

namespace smscan {

// A thread that ends the process when a call into the module doesn't come back: some seconds after the time
// limit of the message loop, which is the orderly way, or after a cancel.
class Watchdog {
public:
    // With `userAtWork` a window that is open counts as something that goes on. A limit of 0 seconds is none.
    Watchdog(const Interrupt& interrupt, int timeoutSeconds, bool userAtWork);
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
    ~Watchdog();

private:
    static DWORD WINAPI run(void* self);
    void look() const;

    const Interrupt& interrupt_;
    int timeoutSeconds_;
    bool userAtWork_;
    HANDLE over_;
    HANDLE thread_;
};

}  // namespace smscan
