#include "smworker/Inbox.h"

#include <utility>

#include "common/ModuleActivity.h"
#include "common/Text.h"

namespace smworker {

using Hold = gui::CriticalSection::Hold;

Inbox::Inbox() : changed_(CreateEventA(nullptr, FALSE, FALSE, nullptr)) {}

void Inbox::add(const Request& request) {
    constexpr size_t mostRequests = 100;
    const Hold hold(lock_);
    const bool isScan = request.method == "scan";
    if (isScan && scan_)
        throw ProtocolError{ErrorCode::Busy, "A scan is under way, and there is one at a time."};
    if (requests_.size() >= mostRequests)
        throw ProtocolError{ErrorCode::Busy, host::format("%d requests wait; wait for an answer, too.",
                                                          static_cast<int>(mostRequests))};
    if (isScan) scan_ = Scan{request.id.value_or(nullptr), ended_};
    requests_.push_back(request);
    SetEvent(changed_.get());
}

bool Inbox::cancel(const Json* id) {
    const Hold hold(lock_);
    if (!scan_ || (id && *id != scan_->id)) return false;
    cancelScan();
    return true;
}

void Inbox::end() {
    const Hold hold(lock_);
    ended_ = true;
    cancelScan();
    SetEvent(changed_.get());
}

void Inbox::cancelScan() {
    if (scan_) scan_->cancelled = true;
    if (window_) window_->cancel();
}

std::string Inbox::running() const {
    const Hold hold(lock_);
    return running_;
}

std::optional<Request> Inbox::next() {
    const Hold hold(lock_);
    if (requests_.empty()) return std::nullopt;
    Request request = std::move(requests_.front());
    requests_.pop_front();
    host::noteActivity();  // what ping counts from
    running_ = request.method;
    return request;
}

void Inbox::done() {
    const Hold hold(lock_);
    if (running_ == "scan") scan_.reset();
    running_.clear();
}

bool Inbox::ended() const {
    const Hold hold(lock_);
    return ended_ && requests_.empty();
}

Inbox::ScanWindow::ScanWindow(Inbox& inbox, host::HostWindow& window) : inbox_(inbox) {
    const Hold hold(inbox_.lock_);
    inbox_.window_ = &window;
    if (inbox_.scan_ && inbox_.scan_->cancelled) window.cancel();
}

Inbox::ScanWindow::~ScanWindow() {
    const Hold hold(inbox_.lock_);
    inbox_.window_ = nullptr;
}

}  // namespace smworker
