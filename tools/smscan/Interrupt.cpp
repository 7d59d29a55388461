#include "smscan/Interrupt.h"

#include <atomic>

#include "common/ForcedEnd.h"

namespace smscan {

namespace {

std::atomic<host::HostWindow*> cancelled{nullptr};
std::atomic<bool> came{false};
std::atomic<DWORD> cameAt{0};

// One press can arrive twice: from the terminal, and from a script in between that hands it on.
constexpr DWORD samePress = 500;

const host::Failure cancelledAtOnce{host::FailureCode::Cancelled,
                                    "Cancelled at once. Pages that are complete are kept."};

// Runs on a thread of the system's.
BOOL WINAPI onConsoleEvent(DWORD event) {
    host::HostWindow* const window = cancelled;
    if (!window) host::endAtOnce({host::FailureCode::Cancelled, "Cancelled."});
    if (!came) {
        cameAt = GetTickCount();
        came = true;
        window->cancel();
    } else if (GetTickCount() - cameAt > samePress) {
        host::endAtOnce(cancelledAtOnce);
    }
    // After these Windows ends the process as soon as this function returns.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) Sleep(INFINITE);
    return TRUE;
}

}  // namespace

Interrupt::Interrupt() {
    SetConsoleCtrlHandler(onConsoleEvent, TRUE);
}

Interrupt::~Interrupt() {
    SetConsoleCtrlHandler(onConsoleEvent, FALSE);
}

std::optional<DWORD> Interrupt::age() const {
    if (!came) return std::nullopt;
    return GetTickCount() - cameAt;
}

CancelledWindow::CancelledWindow(host::HostWindow& window) {
    cancelled = &window;
}

CancelledWindow::~CancelledWindow() {
    cancelled = nullptr;
}

}  // namespace smscan
