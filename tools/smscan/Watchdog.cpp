#include "smscan/Watchdog.h"

#include <algorithm>

#include "common/Failure.h"
#include "common/ForcedEnd.h"
#include "common/ModuleActivity.h"
#include "common/Text.h"

namespace smscan {

namespace {

constexpr DWORD lookInterval = 200;  // all in milliseconds
constexpr DWORD graceAfterLimit = 2000;
// Windows gives a program whose console is closed five seconds.
constexpr DWORD graceAfterCancel = 4000;

}  // namespace

Watchdog::Watchdog(const Interrupt& interrupt, int timeoutSeconds, bool userAtWork)
    : interrupt_(interrupt),
      timeoutSeconds_(timeoutSeconds),
      userAtWork_(userAtWork),
      over_(CreateEventA(nullptr, TRUE, FALSE, nullptr)),
      thread_(CreateThread(nullptr, 0, run, this, 0, nullptr)) {}

Watchdog::~Watchdog() {
    SetEvent(over_);
    WaitForSingleObject(thread_, INFINITE);
    CloseHandle(thread_);
    CloseHandle(over_);
}

DWORD WINAPI Watchdog::run(void* self) {
    const auto& watchdog = *static_cast<const Watchdog*>(self);
    while (WaitForSingleObject(watchdog.over_, lookInterval) == WAIT_TIMEOUT)
        watchdog.look();
    return 0;
}

void Watchdog::look() const {
    const host::ModuleActivity activity = host::moduleActivity();
    if (!activity.function) return;
    if (const auto age = interrupt_.age(); age && std::min(*age, activity.idle) > graceAfterCancel)
        host::endAtOnce(
            {host::FailureCode::Cancelled,
             host::format("Cancelled, and the source didn't come back from %s. Pages that are complete "
                          "are kept.",
                          activity.function)});
    const DWORD limit = static_cast<DWORD>(timeoutSeconds_) * 1000;
    if (limit == 0 || activity.idle <= limit + graceAfterLimit) return;
    if (!userAtWork_ || !host::sourceWindowIsOpen())
        host::endAtOnce(
            {host::FailureCode::SourceError,
             host::format("The source hangs: it didn't come back from %s for %d seconds. Pages that are "
                          "complete are kept. --timeout changes how long is waited.",
                          activity.function, static_cast<int>((limit + graceAfterLimit) / 1000))});
}

}  // namespace smscan
