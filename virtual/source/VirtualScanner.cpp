#include "source/VirtualScanner.h"

#include <new>
#include <utility>

#include "recording/Replayer.h"
#include "source/ScannerCore.h"

namespace vscan {

VirtualScanner::VirtualScanner(VirtualScannerSettings settings, Notify notify)
    : core_(std::make_unique<ScannerCore>(std::move(settings), notify)) {
    if (!core_->settings_.replay.empty())
        replayer_ = std::make_unique<Replayer>(core_->settings_, std::move(notify));
}
VirtualScanner::~VirtualScanner() = default;

TW_UINT16 VirtualScanner::call(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message,
                               TW_MEMREF data) noexcept {
    Outcome outcome;
    try {
        if (replayer_) return replayer_->call({group, argumentType, message}, data);
        outcome = core_->dispatch(group, argumentType, message, data);
    } catch (const std::bad_alloc&) {
        outcome = failure(TWCC_LOWMEMORY);
    } catch (...) {
        outcome = failure(TWCC_BUMMER);
    }
    const bool statusAsked = group == DG_CONTROL && argumentType == DAT_STATUS;
    if (!statusAsked || outcome.returnCode != TWRC_SUCCESS) core_->conditionCode_ = outcome.conditionCode;
    return outcome.returnCode;
}

int VirtualScanner::state() const {
    return replayer_ ? replayer_->state() : core_->state_;
}
HWND VirtualScanner::window() const {
    return core_->window_ ? core_->window_->handle() : nullptr;
}
PageRequest VirtualScanner::request() const {
    return core_->parameters_.request(core_->batch_.pageNumber());
}
const PageContent& VirtualScanner::content() const {
    return *core_->content_;
}
Picture VirtualScanner::expectedPage() const {
    return renderPage(request(), content());
}
const VirtualScannerSettings& VirtualScanner::settings() const {
    return core_->settings_;
}
const std::string& VirtualScanner::pageComplaint() const {
    return replayer_ ? replayer_->complaint() : core_->pageComplaint_;
}
std::vector<std::string> VirtualScanner::takeRemarks() {
    return replayer_ ? replayer_->takeRemarks() : std::vector<std::string>{};
}

}  // namespace vscan
