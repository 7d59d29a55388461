#pragma once

#include "common/HostWindow.h"

namespace smscan {

// While it lives the first Ctrl+C cancels the scan of a window. A second one ends the process, for a source
// that hangs.
class Interrupt {
public:
    explicit Interrupt(host::HostWindow& window);
    Interrupt(const Interrupt&) = delete;
    Interrupt& operator=(const Interrupt&) = delete;
    ~Interrupt();
};

}  // namespace smscan
