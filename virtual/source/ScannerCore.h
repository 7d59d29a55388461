// The scanner behind VirtualScanner: its state and one method for each kind of operation. The methods stand
// in ScannerControl.cpp (DG_CONTROL) and ScannerImages.cpp (DG_IMAGE).
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "capabilities/ScanParameters.h"
#include "source/SourceWindow.h"
#include "source/VirtualScanner.h"
#include "transfer/Batch.h"
#include "transfer/DibTransfers.h"
#include "transfer/MemoryTransfer.h"

namespace vscan {

// The TWAIN states that a source knows.
enum State { Closed = 3, Open = 4, Enabled = 5, Ready = 6, Transferring = 7 };

inline bool isGet(TW_UINT16 message) {
    return message == MSG_GET || message == MSG_GETCURRENT || message == MSG_GETDEFAULT;
}
inline bool isChange(TW_UINT16 message) {
    return message == MSG_SET || message == MSG_RESET;
}

class ScannerCore {
public:
    ScannerCore(VirtualScannerSettings settings, VirtualScanner::Notify notify);

    Outcome dispatch(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data);

    VirtualScannerSettings settings_;
    VirtualScanner::Notify notify_;
    std::string pageComplaint_;
    std::unique_ptr<PageContent> content_;
    int state_ = Closed;
    TW_UINT16 conditionCode_ = TWCC_SUCCESS;
    ScanParameters parameters_;
    Batch batch_;
    std::unique_ptr<SourceWindow> window_;

private:
    using Operation = Outcome (ScannerCore::*)(TW_UINT16 message, TW_MEMREF data);
    struct Triplet {
        TW_UINT32 group;
        TW_UINT16 argumentType;
        Operation operation;
    };
    static const Triplet triplets[];

    bool stateIs(int lowest, int highest) const { return state_ >= lowest && state_ <= highest; }
    // Changes are for state 4; questions may be asked up to `highest`.
    bool inSequence(TW_UINT16 message, int highest) const {
        return isChange(message) ? state_ == Open : stateIs(Open, highest);
    }
    bool mechanismRefused(int mechanism) const;
    void pause() const {
        if (settings_.delay > 0) Sleep(static_cast<DWORD>(settings_.delay));
    }

    // DG_CONTROL
    Outcome identity(TW_UINT16 message, TW_MEMREF data);
    Outcome status(TW_UINT16 message, TW_MEMREF data);
    Outcome capability(TW_UINT16 message, TW_MEMREF data);
    Outcome event(TW_UINT16 message, TW_MEMREF data);
    Outcome userInterface(TW_UINT16 message, TW_MEMREF data);
    Outcome pendingTransfers(TW_UINT16 message, TW_MEMREF data);
    Outcome setupMemory(TW_UINT16 message, TW_MEMREF data);
    Outcome setupFile(TW_UINT16 message, TW_MEMREF data);
    Outcome transferGroup(TW_UINT16 message, TW_MEMREF data);
    // DG_IMAGE
    Outcome imageInfo(TW_UINT16 message, TW_MEMREF data);
    Outcome imageLayout(TW_UINT16 message, TW_MEMREF data);
    Outcome memoryTransfer(TW_UINT16 message, TW_MEMREF data);
    Outcome nativeTransfer(TW_UINT16 message, TW_MEMREF data);
    Outcome fileTransfer(TW_UINT16 message, TW_MEMREF data);
    Outcome rgbResponse(TW_UINT16 message, TW_MEMREF data);
    Outcome palette(TW_UINT16 message, TW_MEMREF data);
    Outcome autoExposure(TW_UINT16 message, TW_MEMREF data);
    Outcome rgbMatrix(TW_UINT16 message, TW_MEMREF data);

    Outcome operateCapability(TW_UINT16 message, TW_CAPABILITY& request);
    Outcome open();
    Outcome enable(const TW_USERINTERFACE& request);
    void openWindow(HWND owner);
    void disable();
    void startBatch();
    void endBatch();
    Outcome beginTransfer(int mechanism, int strips);
    Outcome wholeTransfer(int mechanism, const std::function<Outcome()>& transfer);
    Density density() const;

    // After MSG_XFERREADY, until the host asks for the first thing of state 6, it may still take itself to be
    // in state 5 and disable the source.
    bool readyUnseen_ = false;
    std::optional<MemoryTransfer> transfer_;
    std::string fileName_ = defaultFileName;

    static constexpr const char* defaultFileName = "TWAIN.BMP";
};

}  // namespace vscan
