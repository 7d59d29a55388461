#include "smscan/Interrupt.h"

#include <atomic>

#include "common/ForcedEnd.h"
#include "windows/CriticalSection.h"

namespace smscan {

namespace {

// Never destroyed: the handler may run until the process ends. It keeps the window while that is told.
gui::CriticalSection& section = *new gui::CriticalSection;
host::HostWindow* cancelled = nullptr;
std::atomic<bool> came{false};
std::atomic<DWORD> cameAt{0};

// One press can arrive twice: from the terminal, and from a script in between that hands it on.
constexpr DWORD samePress = 500;

const host::Failure cancelledAtOnce{host::FailureCode::Cancelled,
                                    "Cancelled at once. Pages that are complete are kept."};

// The first time; false if there is none.
bool cancelWindow() {
    const gui::CriticalSection::Hold hold(section);
    if (!cancelled) return false;
    if (came) return true;
    cameAt = GetTickCount();
    came = true;
    cancelled->cancel();
    return true;
}

// Runs on a thread of the system's.
BOOL WINAPI onConsoleEvent(DWORD event) {
    if (!cancelWindow()) host::endAtOnce({host::FailureCode::Cancelled, "Cancelled."});
    if (came && GetTickCount() - cameAt > samePress) host::endAtOnce(cancelledAtOnce);
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
    const gui::CriticalSection::Hold hold(section);
    cancelled = &window;
}

CancelledWindow::~CancelledWindow() {
    const gui::CriticalSection::Hold hold(section);
    cancelled = nullptr;
}

}  // namespace smscan
