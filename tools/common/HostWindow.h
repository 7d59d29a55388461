#pragma once

#include <windows.h>

#include <atomic>
#include <functional>
#include <map>
#include <optional>

#include "common/Failure.h"
#include "common/ModuleLibrary.h"

namespace host {

// A window of the source's is shown; the host's own is hidden.
bool sourceWindowIsOpen();

// The hidden window that the module sends its messages to, with the message loop around it. One serves one
// scan: what ended it stays true.
class HostWindow {
public:
    using Handler = std::function<void(WPARAM, LPARAM)>;

    HostWindow();
    HostWindow(const HostWindow&) = delete;
    HostWindow& operator=(const HostWindow&) = delete;
    ~HostWindow();

    HWND handle() const { return window_; }

    // Has `handler` called for a registered message. A Failure that it throws is kept for failure().
    void on(const char* message, Handler handler);

    // The first Failure of a handler; handlers go on being called after it.
    const std::optional<Failure>& failure() const { return failure_; }
    void keepFailure(const Failure& failure);

    // Ends run().
    void finish() { finished_ = true; }

    // Ends it and the scan, from any thread. True when that was asked for before.
    bool cancel();
    bool cancelRequested() const { return cancelled_; }

    // Something has happened: the time for run()'s limit counts anew.
    void touch() { lastActivity_ = GetTickCount(); }

    enum class End { Finished, Cancelled, TimedOut };

    // Gets messages until finish(), cancel(), or nothing has happened for `timeoutSeconds` (0: no limit; with
    // `userAtWork` a window that is open counts as something). Every message is offered to the module first.
    // A timer keeps the loop going when there are none.
    End run(const ModuleLibrary& module, int timeoutSeconds, bool userAtWork);

private:
    static LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
    void dispatch(const Handler& handler, WPARAM wParam, LPARAM lParam);

    HWND window_ = nullptr;
    std::map<UINT, Handler> handlers_;
    std::optional<Failure> failure_;
    bool finished_ = false;
    std::atomic<bool> cancelled_{false};
    const DWORD thread_ = GetCurrentThreadId();
    DWORD lastActivity_ = 0;
};

}  // namespace host
