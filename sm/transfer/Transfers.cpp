// A batch of native or file transfers: image by image it tells the host, fetches, and ends the image.
#include "transfer/Transfers.h"

#include "TScanModule.h"

namespace {

// The batch of a native or file transfer. Memory transfer has a frame of its own, which differs in the order
// and in what ends a batch.
class Batch {
public:
    Batch(TScanModule& module, Link& link, const Host& host, const UserInterface& ui, Transfers& transfers)
        : module_(module), link_(link), host_(host), ui_(ui), transfers_(transfers) {}

    // `resetTarget` readies the record's end for an image, `transferImage` fetches it and gives what XferEnd
    // reports.
    template <class Preparer, class Transfer>
    void run(const Caller& caller, TXferImageInfo& record, Preparer resetTarget, Transfer transferImage) {
        uint16_t pending;
        int undescribed = 0;
        do {
            transfers_.clearCancel();
            TW_IMAGEINFO info = {};
            if (link_.imageInfo(info) != TWRC_SUCCESS) {
                caller.warn("Error in get DAT_IMAGEINFO");
                ++undescribed;
            } else {
                undescribed = 0;
                uint16_t unit = SM_UNIT_INCHES;
                module_.GetUnit(&unit);
                describeImage(record, info, unit);
                resetTarget();
                runImage(caller, record, transferImage);
            }
            module_.EndThisXfer(&pending);
            if (undescribed == mostUndescribedImages) caller.warn(endlessImages);
            if (transfers_.allCancelled(host_) || undescribed == mostUndescribedImages) {
                module_.EndAllXfer();
                break;
            }
        } while (pending != 0);
        if (!ui_.showUI) {
            // Kept: file transfers write this line too, with this name.
            traceText("Send WM_CLOSEDSREQ in TScanModule::DoNativeXfer", caller.at());
            host_.tell(host_.closeDSReq, 0);
        }
    }

private:
    template <class Transfer>
    void runImage(const Caller& caller, const TXferImageInfo& record, Transfer transferImage) {
        caller.note("Send WM_XFERSTART");
        host_.tell(host_.xferStart, 0, &record);
        int32_t result = SM_XFEREND_CANCELLED_BY_HOST;
        if (transfers_.cancelRequested(host_)) {
            caller.warn("AP cancel image xfer");
        } else {
            result = transferImage();
        }
        host_.tell(host_.xferEnd, static_cast<WPARAM>(result), &record);
    }

    TScanModule& module_;
    Link& link_;
    const Host& host_;
    const UserInterface& ui_;
    Transfers& transfers_;
};

}  // namespace

int32_t transferFailed(Link& link, const Caller& caller, TW_UINT16 code) {
    if (code == TWRC_CANCEL) {
        caller.warn("Image xfer canceled");
        return SM_XFEREND_CANCELLED_BY_SOURCE;
    }
    caller.warn("Image xfer error");
    return link.conditionCode();
}

void TScanModule::DoNativeXfer() {
    const MethodTrace trace{"TScanModule::DoNativeXfer"};
    TXferImageInfo& record = transfers_.records.native;
    const auto resetTarget = [&] {
        record.XferMech = SM_MECH_NATIVE;
        record.Target.Dib = nullptr;
    };
    const auto fetchDib = [&] {
        trace.note("MSG_GET DAT_IMAGENATIVEXFER");
        HGLOBAL dib = nullptr;
        const TW_UINT16 code = link_.source(DG_IMAGE, DAT_IMAGENATIVEXFER, MSG_GET, &dib);
        transfers_.area.dib = dib;
        if (code != TWRC_XFERDONE) return transferFailed(link_, trace, code);
        // Kept: the word "error" on success; log readers know it.
        trace.warn("MSG_GET DAT_IMAGENATIVEXFER error");
        if (record.Target.Dib != nullptr) {
            *record.Target.Dib = dib;  // the host owns it from here on
        } else {
            GlobalFree(dib);
        }
        return static_cast<int32_t>(SM_XFEREND_DONE);
    };
    Batch{*this, link_, host_, ui_, transfers_}.run(trace, record, resetTarget, fetchDib);
}

void TScanModule::DoFileXfer() {
    const MethodTrace trace{"TScanModule::DoFileXfer"};
    TXferImageInfo& record = transfers_.records.file;
    const auto resetTarget = [&] {
        record.XferMech = SM_MECH_FILE;
        record.Target.FileName = transfers_.area.fileName;
    };
    const auto writeFile = [&] {
        trace.note("MSG_SET DAT_SETUPFILEXFER");
        TW_SETUPFILEXFER setup = makeFileSetup(transfers_.area.fileName);
        if (link_.source(DG_CONTROL, DAT_SETUPFILEXFER, MSG_SET, &setup) != TWRC_SUCCESS) {
            trace.warn("MSG_SET DAT_SETUPFILEXFER error");
            return link_.conditionCode();
        }
        // Kept: no method's name in this one.
        traceText("Get image by DAT_IMAGEFILEXFER");
        const TW_UINT16 code = link_.source(DG_IMAGE, DAT_IMAGEFILEXFER, MSG_GET, nullptr);
        return code == TWRC_XFERDONE ? static_cast<int32_t>(SM_XFEREND_DONE)
                                     : transferFailed(link_, trace, code);
    };
    Batch{*this, link_, host_, ui_, transfers_}.run(trace, record, resetTarget, writeFile);
}

int32_t TScanModule::EndThisXfer(uint16_t* pendingCount) {
    const MethodTrace trace{"TScanModule::EndThisXfer"};
    *pendingCount = 0;
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    TW_PENDINGXFERS pending = {};
    if (link_.source(DG_CONTROL, DAT_PENDINGXFERS, MSG_ENDXFER, &pending) != TWRC_SUCCESS)
        return link_.operationFailed(trace);
    *pendingCount = pending.Count;
    return 0;
}

int32_t TScanModule::EndAllXfer() {
    const MethodTrace trace{"TScanModule::EndAllXfer"};
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    TW_PENDINGXFERS pending = {};
    return link_.request(trace, DG_CONTROL, DAT_PENDINGXFERS, MSG_RESET, &pending);
}

void TScanModule::CancelThisXfer() {
    const MethodTrace trace{"TScanModule::CancelThisXfer"};
    transfers_.cancelThis = true;
    transfers_.cancelAll = false;
}

int32_t TScanModule::CancelAllXfer() {
    const MethodTrace trace{"TScanModule::CancelAllXfer"};
    transfers_.cancelThis = true;
    transfers_.cancelAll = true;
    return 1;
}

int32_t TScanModule::GetPendingCount(uint16_t* count) {
    const MethodTrace trace{"TScanModule::GetPendingCount"};
    if (const int32_t refused = link_.checkReady(trace, stateSourceEnabled)) return refused;
    *count = transfers_.pendingCount;
    return 0;
}
