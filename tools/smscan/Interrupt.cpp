#include "smscan/Interrupt.h"

#include "smscan/Options.h"

namespace smscan {

namespace {

HostWindow* interrupted = nullptr;

// Runs on a thread of the system's.
BOOL WINAPI onConsoleEvent(DWORD) {
    if (interrupted->cancel()) TerminateProcess(GetCurrentProcess(), static_cast<UINT>(ExitCode::Cancelled));
    return TRUE;
}

}  // namespace

Interrupt::Interrupt(HostWindow& window) {
    interrupted = &window;
    SetConsoleCtrlHandler(onConsoleEvent, TRUE);
}

Interrupt::~Interrupt() {
    SetConsoleCtrlHandler(onConsoleEvent, FALSE);
}

}  // namespace smscan
