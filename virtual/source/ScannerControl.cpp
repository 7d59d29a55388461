// The operations of DG_CONTROL: opening, enabling, capabilities, the end of transfers.
#include <cstring>
#include <utility>

#include "capabilities/CapabilityOperations.h"
#include "source/HostRecord.h"
#include "source/ScannerCore.h"
#include "source/SourceIdentity.h"
#include "transfer/SevereFaults.h"

namespace vscan {

Outcome ScannerCore::identity(TW_UINT16 message, TW_MEMREF data) {
    switch (message) {
        case MSG_GET: {
            auto* identity = hostRecord<TW_IDENTITY>(data, message);
            if (!identity) return failure(TWCC_BADVALUE);
            describeSource(settings_, *identity);
            return success();
        }
        case MSG_OPENDS:
            return open();
        case MSG_CLOSEDS:
            if (state_ != Open) return failure(TWCC_SEQERROR);
            state_ = Closed;
            return success();
        default:
            return failure(TWCC_BADPROTOCOL);
    }
}

Outcome ScannerCore::open() {
    if (settings_.openFault == OpenFault::Hang) hang();
    if (settings_.openFault == OpenFault::Crash) crash();
    if (state_ != Closed || settings_.openFault == OpenFault::Busy) return failure(TWCC_MAXCONNECTIONS);
    if (settings_.openFault == OpenFault::Offline) return failure(TWCC_CHECKDEVICEONLINE);
    if (!pageComplaint_.empty()) return failure(TWCC_OPERATIONERROR);
    // A new connection finds the scanner as after switching it on.
    parameters_.restart();
    batch_.load();
    fileName_ = defaultFileName;
    state_ = Open;
    return success();
}

Outcome ScannerCore::status(TW_UINT16 message, TW_MEMREF data) {
    if (message != MSG_GET) return failure(TWCC_BADPROTOCOL);
    auto* status = hostRecord<TW_STATUS>(data, message);
    if (!status) return failure(TWCC_BADVALUE);
    status->ConditionCode = std::exchange(conditionCode_, TW_UINT16{TWCC_SUCCESS});
    status->Reserved = 0;
    return success();
}

Outcome ScannerCore::capability(TW_UINT16 message, TW_MEMREF data) {
    const bool known = isChange(message) || isGet(message) || message == MSG_QUERYSUPPORT;
    if (!known) return failure(TWCC_BADPROTOCOL);
    if (!inSequence(message, Transferring)) return failure(TWCC_SEQERROR);
    auto* request = hostRecord<TW_CAPABILITY>(data, message);
    if (!request) return failure(TWCC_BADVALUE);
    Outcome outcome = operateCapability(message, *request);
    const bool refined =
        outcome.conditionCode >= TWCC_CAPUNSUPPORTED && outcome.conditionCode <= TWCC_CAPSEQERROR;
    if (refined && settings_.protocolMinor < 7) outcome.conditionCode = TWCC_BADCAP;
    return outcome;
}

Outcome ScannerCore::operateCapability(TW_UINT16 message, TW_CAPABILITY& request) {
    if (message == MSG_QUERYSUPPORT) return queryCapability(parameters_, request);
    pause();
    if (request.Cap == ICAP_BRIGHTNESS && settings_.openFault == OpenFault::Brightness)
        return failure(TWCC_OPERATIONERROR);
    parameters_.assign(CAP_FEEDERLOADED, batch_.loaded());
    if (message == MSG_RESET) return resetCapability(parameters_, request, settings_.oddContainers);
    if (message != MSG_SET) return getCapability(parameters_, message, request, settings_.oddContainers);
    const Outcome outcome = setCapability(parameters_, request);
    const bool done = outcome.returnCode != TWRC_FAILURE;
    if (done && request.Cap == CAP_CLEARPAGE && parameters_.capabilities().flag(CAP_CLEARPAGE))
        batch_.ejectPage();
    return outcome;
}

Outcome ScannerCore::event(TW_UINT16 message, TW_MEMREF data) {
    if (message != MSG_PROCESSEVENT) return failure(TWCC_BADPROTOCOL);
    if (!stateIs(Enabled, Transferring)) return failure(TWCC_SEQERROR);
    auto* event = hostRecord<TW_EVENT>(data, message);
    if (!event) return failure(TWCC_BADVALUE);
    event->TWMessage = MSG_NULL;
    auto* windowMessage = hostRecord<MSG>(event->pEvent, MSG_GET);
    const bool taken = windowMessage && window_ && window_->takes(*windowMessage);
    return returning(taken ? TWRC_DSEVENT : TWRC_NOTDSEVENT);
}

Outcome ScannerCore::userInterface(TW_UINT16 message, TW_MEMREF data) {
    if (message == MSG_ENABLEDS) {
        if (state_ != Open) return failure(TWCC_SEQERROR);
        const auto* request = hostRecord<TW_USERINTERFACE>(data, MSG_SET);
        return request ? enable(*request) : failure(TWCC_BADVALUE);
    }
    if (message != MSG_DISABLEDS) return failure(TWCC_BADPROTOCOL);
    if (state_ != Enabled && !(state_ == Ready && readyUnseen_)) return failure(TWCC_SEQERROR);
    disable();
    return success();
}

Outcome ScannerCore::enable(const TW_USERINTERFACE& request) {
    const bool wanted = request.ShowUI != 0;
    const bool shown = (wanted || !settings_.uiControllable) && settings_.window != WindowBehavior::None;
    const bool empty = parameters_.capabilities().flag(CAP_FEEDERENABLED) && !batch_.loaded();
    if (!shown && empty && settings_.emptyFeeder == EmptyFeeder::Refuse) return failure(TWCC_OPERATIONERROR);
    if (shown) {
        openWindow(static_cast<HWND>(request.hParent));
        if (!window_) return failure(TWCC_LOWMEMORY);
    }
    state_ = Enabled;
    if (!shown) startBatch();
    return shown == wanted ? success() : adjusted();
}

void ScannerCore::openWindow(HWND owner) {
    WindowHandlers handlers;
    handlers.scan = [this] {
        if (state_ != Enabled) return;
        // Who presses the button once more has put pages in.
        batch_.refillIfEmpty();
        startBatch();
    };
    handlers.cancel = [this] {
        if (state_ == Enabled) notify_(MSG_CLOSEDSREQ);
    };
    handlers.preview = [this](int width, int height) {
        return renderPage(fitted(parameters_.request(1), width, height), *content_);
    };
    window_ = std::make_unique<SourceWindow>(owner, settings_, ScanChoices(parameters_), std::move(handlers));
    if (!window_->handle()) window_.reset();
}

void ScannerCore::disable() {
    window_.reset();
    transfer_.reset();
    batch_.stop();
    batch_.refillIfEmpty();
    readyUnseen_ = false;
    state_ = Open;
}

// Announces the first image, or what there is instead of one.
void ScannerCore::startBatch() {
    const CapabilityTable& table = parameters_.capabilities();
    const bool fromFeeder = table.flag(CAP_FEEDERENABLED);
    if (fromFeeder && !batch_.loaded()) {
        if (settings_.emptyFeeder != EmptyFeeder::Cancel) {
            if (window_) window_->setBusy(false, "The feeder is empty.");
            if (settings_.emptyFeeder == EmptyFeeder::CloseRequest) notify_(MSG_CLOSEDSREQ);
            return;
        }
        batch_.startPhantom();
    } else {
        batch_.start(fromFeeder, table.flag(CAP_AUTOFEED), table.number(CAP_XFERCOUNT));
    }
    if (window_) window_->setBusy(true, "Scanning...");
    state_ = Ready;
    readyUnseen_ = true;
    notify_(MSG_XFERREADY);
}

void ScannerCore::endBatch() {
    batch_.stop();
    state_ = Enabled;
    if (!window_) return;
    window_->setBusy(false, "Ready.");
    if (settings_.window == WindowBehavior::Close) window_->pressCancel();
}

Outcome ScannerCore::pendingTransfers(TW_UINT16 message, TW_MEMREF data) {
    if (message != MSG_GET && message != MSG_ENDXFER && message != MSG_RESET)
        return failure(TWCC_BADPROTOCOL);
    const bool asks = message == MSG_GET;
    if (!stateIs(asks ? Open : Ready, Transferring)) return failure(TWCC_SEQERROR);
    auto* pending = hostRecord<TW_PENDINGXFERS>(data, message);
    if (!pending) return failure(TWCC_BADVALUE);
    if (message == MSG_ENDXFER) {
        readyUnseen_ = false;
        transfer_.reset();
        if (batch_.finishPage() == 0)
            endBatch();
        else
            state_ = Ready;
    } else if (message == MSG_RESET) {
        // Also in the middle of an image, where the standard wants MSG_ENDXFER first: hosts that give a page
        // up send nothing else, and would never get the source disabled.
        readyUnseen_ = false;
        if (state_ == Transferring) batch_.finishPage();
        transfer_.reset();
        endBatch();
    }
    pending->Count = stateIs(Ready, Transferring) ? batch_.announcedCount() : TW_UINT16{0};
    pending->EOJ = 0;
    return success();
}

Outcome ScannerCore::setupMemory(TW_UINT16 message, TW_MEMREF data) {
    if (message != MSG_GET) return failure(TWCC_BADPROTOCOL);
    if (!stateIs(Open, Ready)) return failure(TWCC_SEQERROR);
    auto* setup = hostRecord<TW_SETUPMEMXFER>(data, message);
    if (!setup) return failure(TWCC_BADVALUE);
    parameters_.describeBuffers(*setup);
    return success();
}

Outcome ScannerCore::setupFile(TW_UINT16 message, TW_MEMREF data) {
    const bool known =
        message == MSG_GET || message == MSG_GETDEFAULT || message == MSG_SET || message == MSG_RESET;
    if (!known || mechanismRefused(TWSX_FILE)) return failure(TWCC_BADPROTOCOL);
    if (message == MSG_RESET ? state_ != Open : !stateIs(Open, Ready)) return failure(TWCC_SEQERROR);
    auto* setup = hostRecord<TW_SETUPFILEXFER>(data, message);
    if (!setup) return failure(TWCC_BADVALUE);
    if (message == MSG_SET) {
        const std::size_t length = strnlen(setup->FileName, sizeof setup->FileName);
        if (setup->Format != TWFF_BMP || length == 0 || length == sizeof setup->FileName)
            return failure(TWCC_BADVALUE);
        fileName_.assign(setup->FileName, length);
        return success();
    }
    if (message == MSG_RESET) fileName_ = defaultFileName;
    const std::string name = message == MSG_GETDEFAULT ? defaultFileName : fileName_;
    *setup = {};
    std::memcpy(setup->FileName, name.c_str(), name.size() + 1);
    setup->Format = TWFF_BMP;
    return success();
}

Outcome ScannerCore::transferGroup(TW_UINT16 message, TW_MEMREF data) {
    if (message != MSG_GET) return failure(TWCC_BADPROTOCOL);
    if (!stateIs(Open, Ready)) return failure(TWCC_SEQERROR);
    auto* group = hostRecord<TW_UINT32>(data, message);
    if (!group) return failure(TWCC_BADVALUE);
    *group = DG_IMAGE;
    return success();
}

}  // namespace vscan
