#pragma once

#include <windows.h>

#include <atomic>
#include <functional>
#include <map>
#include <optional>

#include "common/Failure.h"
#include "common/ModuleLibrary.h"

namespace host {

// A window of the source's or the module's is shown, and takes input; the host's own is hidden or disabled.
bool sourceWindowIsOpen();

// The hidden window that the module sends its messages to, with the message loop around it. What ended a scan
// stays true until begin().
class HostWindow {
public:
    using Handler = std::function<void(WPARAM, LPARAM)>;

    HostWindow();
    HostWindow(const HostWindow&) = delete;
    HostWindow& operator=(const HostWindow&) = delete;
    ~HostWindow();

    HWND handle() const { return window_; }

    // For another scan: as it was when it was new, but for the filter.
    void begin();

    // Is offered every message that the module doesn't take; true from it means that it has dealt with it.
    using Filter = std::function<bool(MSG&)>;
    void setFilter(Filter filter) { filter_ = std::move(filter); }

    // Has `handler` called for a registered message. A Failure that it throws is kept for failure().
    void on(const char* message, Handler handler);

    // The first Failure of a handler; handlers go on being called after it.
    const std::optional<Failure>& failure() const { return failure_; }
    void keepFailure(const Failure& failure);

    // Ends run().
    void finish() { finished_ = true; }

    // Ends it and the scan, from any thread.
    void cancel();
    bool cancelRequested() const { return cancelled_; }
    // Throws Failure when it was: for a scan that has no page yet.
    void endIfCancelled() const;

    // Something has happened: the time for run()'s limit counts anew.
    void touch();

    // From now on dialogs that hold up the module are declined at once. Otherwise that happens when the scan
    // is cancelled, or run()'s time is up.
    void declineDialogsAtOnce() { declining_ = true; }

    enum class End { Finished, Cancelled, TimedOut };

    // Gets messages until finish(), cancel(), or nothing has happened for `timeoutSeconds` (0: no limit; with
    // `userAtWork` a window that is open counts as something). Every message is offered to the module first.
    // A timer keeps the loop going when there are none.
    End run(const ModuleLibrary& module, int timeoutSeconds, bool userAtWork);

private:
    static LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void dispatch(const Handler& handler, WPARAM wParam, LPARAM lParam);
    bool timeIsUp();
    void declineDialogs();

    HWND window_ = nullptr;
    std::map<UINT, Handler> handlers_;
    Filter filter_;
    std::optional<Failure> failure_;
    bool finished_ = false;
    std::atomic<bool> cancelled_{false};
    const DWORD thread_ = GetCurrentThreadId();
    DWORD lastActivity_ = 0;
    int timeoutSeconds_ = 0;
    bool userAtWork_ = false;
    bool declining_ = false;
};

}  // namespace host
