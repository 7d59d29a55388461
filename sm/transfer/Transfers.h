// The state of the running transfers, and what the three mechanisms share.
#pragma once

#include <cstdint>

#include "base/GlobalBuffer.h"
#include "base/Host.h"
#include "base/Trace.h"
#include "link/Link.h"
#include "transfer/PulledImage.h"
#include "transfer/StripConversion.h"
#include "transfer/TransferRecords.h"

// A source that describes none of so many images in a row, or gives so many strips without a byte, has lost
// its way: the batch or the image ends, so that the host doesn't hang.
constexpr int mostUndescribedImages = 256;
constexpr int mostEmptyStrips = 4096;
constexpr char endlessImages[] = "The images have no end";
constexpr char endlessStrips[] = "The strips have no end";

struct Transfers {
    TransferRecords records = {};
    TransferArea area = {};
    bool running = false;
    bool cancelThis = false;
    bool cancelAll = false;
    uint16_t pendingCount = 0;
    PulledImage pulled = {};
    // Kept from strip to strip of that image.
    GlobalBuffer pulledStrip;
    // Asked once.
    const ConversionPath conversion = fastestConversionPath();

    // A host whose window is gone counts as one that cancelled everything.
    bool allCancelled(const Host& host) const { return cancelAll || !host.isThere(); }
    bool cancelRequested(const Host& host) const { return cancelThis || allCancelled(host); }
    void clearCancel() { cancelThis = cancelAll = false; }
    void forgetPulled() {
        pulled = PulledImage{};
        pulledStrip.Free();
    }
};

// Marks a batch as running, for one scope.
class RunningBatch {
public:
    explicit RunningBatch(Transfers& transfers) : transfers_(transfers) { transfers_.running = true; }
    ~RunningBatch() { transfers_.running = false; }
    RunningBatch(const RunningBatch&) = delete;
    RunningBatch& operator=(const RunningBatch&) = delete;

private:
    Transfers& transfers_;
};

// Reports a cancelled or failed native or file transfer; gives what XferEnd reports.
int32_t transferFailed(Link& link, const Caller& caller, TW_UINT16 code);
