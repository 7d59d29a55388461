#pragma once

#include <deque>
#include <optional>

#include "common/HostWindow.h"
#include "smworker/Protocol.h"
#include "windows/CriticalSection.h"
#include "windows/Handle.h"

namespace smworker {

// The requests on their way from the thread that reads them to the main thread, which answers one after the
// other. A scan is known from the moment it is here, so that it can be cancelled before it begins.
class Inbox {
public:
    Inbox();
    Inbox(const Inbox&) = delete;
    Inbox& operator=(const Inbox&) = delete;

    // From any thread: throws ProtocolError when there is no room, or for a second scan.
    void add(const Request& request);
    // Cancels the scan of that id, or whichever there is; false when it isn't here.
    bool cancel(const Json* id);
    // No more comes; the scan is cancelled.
    void end();
    // The method that runs; empty when none does.
    std::string running() const;

    // Set when something has come.
    HANDLE changed() const { return changed_.get(); }
    // For the main thread: the next request, if there is one, which then runs until done().
    std::optional<Request> next();
    void done();
    bool ended() const;

    // While it lives cancelling reaches the window of the scan that runs.
    class ScanWindow {
    public:
        ScanWindow(Inbox& inbox, host::HostWindow& window);
        ScanWindow(const ScanWindow&) = delete;
        ScanWindow& operator=(const ScanWindow&) = delete;
        ~ScanWindow();

    private:
        Inbox& inbox_;
    };

private:
    void cancelScan();

    mutable gui::CriticalSection lock_;
    std::deque<Request> requests_;
    std::string running_;
    bool ended_ = false;
    struct Scan {
        Json id;
        bool cancelled = false;
    };
    std::optional<Scan> scan_;
    host::HostWindow* window_ = nullptr;
    gui::Handle changed_;
};

}  // namespace smworker
