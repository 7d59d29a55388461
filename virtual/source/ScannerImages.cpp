// The operations of DG_IMAGE: descriptions of the image, and the transfers.
#include <climits>

#include "source/HostRecord.h"
#include "source/ScannerCore.h"
#include "transfer/TransferBuffer.h"

namespace vscan {

Outcome ScannerCore::imageInfo(TW_UINT16 message, TW_MEMREF data) {
    if (message != MSG_GET) return failure(TWCC_BADPROTOCOL);
    if (!stateIs(Ready, Transferring)) return failure(TWCC_SEQERROR);
    readyUnseen_ = false;
    auto* info = hostRecord<TW_IMAGEINFO>(data, message);
    if (!info) return failure(TWCC_BADVALUE);
    if (!batch_.hasPage()) return failure(TWCC_OPERATIONERROR);
    *info = parameters_.imageInfo();
    return success();
}

Outcome ScannerCore::imageLayout(TW_UINT16 message, TW_MEMREF data) {
    const bool asks = message == MSG_GET || message == MSG_GETDEFAULT;
    if (!isChange(message) && !asks) return failure(TWCC_BADPROTOCOL);
    if (!inSequence(message, Ready)) return failure(TWCC_SEQERROR);
    auto* layout = hostRecord<TW_IMAGELAYOUT>(data, message);
    if (!layout) return failure(TWCC_BADVALUE);
    SetResult result = SetResult::Done;
    if (message == MSG_SET) result = parameters_.setFrame(layout->Frame);
    if (result == SetResult::Refused) return failure(TWCC_BADVALUE);
    if (message == MSG_RESET) parameters_.resetFrame();
    if (message != MSG_SET) parameters_.describeFrame(*layout, message == MSG_GETDEFAULT);
    return result == SetResult::Adjusted ? adjusted() : success();
}

// What every transfer starts with; TWRC_SUCCESS when there is something to deliver.
Outcome ScannerCore::beginTransfer(int mechanism, int strips) {
    if (mechanismRefused(mechanism)) return failure(TWCC_BADPROTOCOL);
    readyUnseen_ = false;
    pause();
    const Outcome fault = batch_.fault(strips);
    // The host has to end a cancelled image as it has to end a transferred one.
    if (fault.returnCode == TWRC_CANCEL) state_ = Transferring;
    return fault;
}

Outcome ScannerCore::memoryTransfer(TW_UINT16 message, TW_MEMREF data) {
    if (message != MSG_GET) return failure(TWCC_BADPROTOCOL);
    const bool underWay = state_ == Transferring && transfer_ && !transfer_->finished();
    if (state_ != Ready && !underWay) return failure(TWCC_SEQERROR);
    auto* strip = hostRecord<TW_IMAGEMEMXFER>(data, message);
    if (!strip) return failure(TWCC_BADVALUE);
    const Outcome start = beginTransfer(TWSX_MEMORY, transfer_ ? transfer_->stripsDelivered() : 0);
    if (start.returnCode != TWRC_SUCCESS) return start;
    const TransferBuffer buffer(strip->Memory);
    if (!buffer.data()) return failure(TWCC_BADVALUE);
    if (!transfer_) transfer_.emplace(parameters_, settings_, *content_, batch_.pageNumber());
    const Outcome outcome = transfer_->nextStrip(buffer.data(), buffer.size(), *strip);
    if (outcome.returnCode != TWRC_FAILURE) state_ = Transferring;
    return outcome;
}

Outcome ScannerCore::wholeTransfer(int mechanism, const std::function<Outcome()>& transfer) {
    if (state_ != Ready) return failure(TWCC_SEQERROR);
    const Outcome start = beginTransfer(mechanism, INT_MAX);
    if (start.returnCode != TWRC_SUCCESS) return start;
    const Outcome outcome = transfer();
    if (outcome.returnCode == TWRC_XFERDONE) state_ = Transferring;
    return outcome;
}

Density ScannerCore::density() const {
    const CapabilityTable& table = parameters_.capabilities();
    return {table.value(ICAP_XRESOLUTION), table.value(ICAP_YRESOLUTION)};
}

Outcome ScannerCore::nativeTransfer(TW_UINT16 message, TW_MEMREF data) {
    if (message != MSG_GET) return failure(TWCC_BADPROTOCOL);
    return wholeTransfer(TWSX_NATIVE, [&] {
        auto* handle = hostRecord<TW_UINT32>(data, message);
        if (!handle) return failure(TWCC_BADVALUE);
        return transferNative(parameters_.request(batch_.pageNumber()), *content_, density(), *handle);
    });
}

Outcome ScannerCore::fileTransfer(TW_UINT16 message, TW_MEMREF) {
    if (message != MSG_GET) return failure(TWCC_BADPROTOCOL);
    return wholeTransfer(TWSX_FILE, [&] {
        return transferFile(parameters_.request(batch_.pageNumber()), *content_, density(), fileName_);
    });
}

Outcome ScannerCore::rgbResponse(TW_UINT16 message, TW_MEMREF data) {
    if (!isChange(message) && message != MSG_GET) return failure(TWCC_BADPROTOCOL);
    if (!inSequence(message, Transferring)) return failure(TWCC_SEQERROR);
    if (message == MSG_RESET) {
        parameters_.setResponse(ToneControls::identityResponse());
        return success();
    }
    // One element for each of 256 levels stands behind the standard's array of one.
    auto* elements = hostRecord<TW_ELEMENT8>(data, message, 256);
    if (!elements) return failure(TWCC_BADVALUE);
    std::array<ToneCurve, 3> response = parameters_.response();
    for (std::size_t i = 0; i < 256; ++i) {
        if (message == MSG_GET)
            elements[i] = {static_cast<TW_UINT8>(i), response[0][i], response[1][i], response[2][i]};
        else
            for (std::size_t channel = 0; channel < 3; ++channel)
                response[channel][i] = (&elements[i].Channel1)[channel];
    }
    if (message == MSG_SET) parameters_.setResponse(response);
    return success();
}

Outcome ScannerCore::palette(TW_UINT16 message, TW_MEMREF data) {
    if (message != MSG_GET && message != MSG_GETDEFAULT) return failure(TWCC_BADPROTOCOL);
    if (!stateIs(Open, Ready)) return failure(TWCC_SEQERROR);
    auto* palette = hostRecord<TW_PALETTE8>(data, message);
    if (!palette) return failure(TWCC_BADVALUE);
    const PageRequest page = parameters_.request(1);
    const std::vector<Color> colors = paletteOf(page.kind, page.vanilla);
    if (colors.empty()) return failure(TWCC_BADVALUE);
    *palette = {};
    palette->NumColors = static_cast<TW_UINT16>(colors.size());
    palette->PaletteType = isPalette(page.kind) ? TWPA_RGB : TWPA_GRAY;
    for (std::size_t i = 0; i < colors.size(); ++i)
        palette->Colors[i] = {static_cast<TW_UINT8>(i), colors[i].red, colors[i].green, colors[i].blue};
    return success();
}

// The block's first 32 bits say whether and how the scanner chooses the exposure. The pages of this one are
// always exposed well.
Outcome ScannerCore::autoExposure(TW_UINT16 message, TW_MEMREF data) {
    if (message != MSG_SET) return failure(TWCC_BADPROTOCOL);
    if (state_ != Open) return failure(TWCC_SEQERROR);
    return hostRecord<TW_UINT32>(data, MSG_SET) ? success() : failure(TWCC_BADVALUE);
}

// Nine numbers, row by row: how red, green and blue are mixed. This scanner mixes nothing.
Outcome ScannerCore::rgbMatrix(TW_UINT16 message, TW_MEMREF data) {
    if (message != MSG_GETDEFAULT) return failure(TWCC_BADPROTOCOL);
    if (!stateIs(Open, Transferring)) return failure(TWCC_SEQERROR);
    auto* matrix = hostRecord<TW_FIX32>(data, message, 9);
    if (!matrix) return failure(TWCC_BADVALUE);
    for (int i = 0; i < 9; ++i)
        matrix[i] = {static_cast<TW_INT16>(i % 4 == 0 ? 1 : 0), 0};
    return success();
}

}  // namespace vscan
