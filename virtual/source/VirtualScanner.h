// A scanner behind the TWAIN standard's data source interface, without a device: states 3 to 7, capabilities,
// feeder, transfers. The data source (DsEntry.cpp) is a thin shell around it; tests use it in their own
// process.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "page/PageRenderer.h"
#include "scanmodule/twain_types.h"
#include "settings/Settings.h"

namespace vscan {

class Replayer;
class ScannerCore;

class VirtualScanner {
public:
    // MSG_XFERREADY or MSG_CLOSEDSREQ for the host. Called within call() or from the window's procedure; the
    // scanner has already changed its state and may be called again from inside.
    using Notify = std::function<void(TW_UINT16 message)>;

    VirtualScanner(VirtualScannerSettings settings, Notify notify);
    ~VirtualScanner();
    VirtualScanner(const VirtualScanner&) = delete;
    VirtualScanner& operator=(const VirtualScanner&) = delete;

    // What DS_Entry receives: one TWAIN operation. Throws nothing.
    TW_UINT16 call(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) noexcept;

    // For tests and diagnosis
    int state() const;            // the TWAIN state, 3 to 7
    HWND window() const;          // the source's own window, or null
    PageRequest request() const;  // the page as the settings of this moment would scan it
    const PageContent& content() const;
    Picture expectedPage() const;  // request() rendered: what a memory transfer delivers
    const VirtualScannerSettings& settings() const;
    // Why the user's page or recording can't be used (the source then doesn't open), or an empty text.
    const std::string& pageComplaint() const;
    // What a replay has to tell since the last time.
    std::vector<std::string> takeRemarks();

private:
    std::unique_ptr<ScannerCore> core_;
    std::unique_ptr<Replayer> replayer_;  // answers in the core's place
};

}  // namespace vscan
