// The one-shot scan: one call opens and enables a source; when the image is ready it goes straight into a
// file.
#include <cstring>

#include "DibFile.h"
#include "PrestoSettings.h"
#include "Resources.h"
#include "StripBuffer.h"
#include "TScanModule.h"
#include "TransferRecords.h"
#include "Units.h"

// What is particular to one transfer mechanism.
struct PrestoScanRoute {
    const char* askName;
    const char* infoFailed;
    const char* unknownSize;
    const char* transferEnd;
    const char* closed;
    int32_t (TScanModule::*transfer)(const MethodTrace& trace, const TW_IMAGEINFO& info, const char* path);
};

namespace {

constexpr int32_t fileError = SM_SCANTOFILE_FILE_ERROR;
constexpr int16_t anyNumber = -1;

// A text from the module's resources.
struct ResourceText {
    char text[256] = "";
    ResourceText(HINSTANCE instance, UINT id) { LoadStringA(instance, id, text, sizeof text); }
};

bool isStorable(const TW_IMAGEINFO& info) {
    switch (info.PixelType) {
        case TWPT_BW:
            return info.BitsPerPixel == 1;
        case TWPT_GRAY:
            return info.BitsPerPixel == 8;
        case TWPT_PALETTE:
            return info.BitsPerPixel == 4 || info.BitsPerPixel == 8;
        case TWPT_RGB:
            return info.BitsPerPixel == 24;
        default:
            return false;
    }
}

}  // namespace

int32_t TScanModule::PrestoScan(HWND window, const char* title, const PrestoScanSettings* settings) {
    const MethodTrace trace{"TScanModule::PrestoScan"};
    if (settings != nullptr) {
        presto_ = *settings;
    } else {
        // No source is open yet, so these usually stand.
        double width = standInWidth, height = standInHeight;
        GetMaxArea(&width, &height);
        presto_ = defaultPrestoSettings(width, height);
    }
    trace.note("Processing some settings");
    validatePrestoSettings(presto_);
    if (OpenDS(window, title) != 0) {
        trace.warn("OpenDS returns failure");
        return FALSE;
    }
    applyPrestoSettings(trace);
    // Kept: the source stays open, and the module out of scan-to-file mode; the host closes the source.
    if (!choosePrestoMechanism(trace)) return FALSE;
    BOOL enabled = TRUE;
    if (EnableDS(presto_.ShowUI, presto_.ModalUI) != 0) {
        trace.warn("EnableDS returns failure");
        DisableDS();
        CloseDS();
        enabled = FALSE;
    }
    // Kept: set after a failure too, and never cleared.
    scanToFile_ = 1;
    return enabled;
}

// A setting that the source rejects makes it show its own window, where the user can correct it.
void TScanModule::applyPrestoSettings(const MethodTrace& trace) {
    const PrestoScanSettings& s = presto_;
    if (SetPixelType(s.PixelType) != 0) {
        trace.warn("SetPixelType returns failure");
        presto_.ShowUI = TRUE;
    }
    if (SetXResolution(s.Resolution) != 0 || SetYResolution(s.Resolution) != 0) {
        trace.warn("Resolution setting return failure");
        presto_.ShowUI = TRUE;
    }
    SetBrightness(s.Brightness, s.BrightnessMin, s.BrightnessMax);
    SetContrast(s.Contrast, s.ContrastMin, s.ContrastMax);
    SetHighlight(s.Highlight, s.HighlightMin, s.HighlightMax);
    SetShadow(s.Shadow, s.ShadowMin, s.ShadowMax);
    SetXferCount(s.MorePages == 0 ? 1 : anyNumber);
    SetADFEnable(s.FeederEnable);
}

bool TScanModule::choosePrestoMechanism(const MethodTrace& trace) {
    trace.note("Set Xfer Mech");
    for (const uint16_t mechanism : {SM_MECH_MEMORY, SM_MECH_FILE, SM_MECH_NATIVE}) {
        if (SetXferMech(mechanism) == 0) return true;
    }
    return false;
}

void TScanModule::ProcessPrestoScanImage() {
    const MethodTrace trace{"TScanModule::ProcessPrestoScanImage"};
    switch (xferMech_) {
        case SM_MECH_NATIVE:
            return PrestoScanDoNativeXfer();
        case SM_MECH_FILE:
            return PrestoScanDoFileXfer();
        default:
            return PrestoScanDoMemXfer();
    }
}

// The routes' words differ without a rule; each is kept as log readers know it.
void TScanModule::PrestoScanDoMemXfer() {
    const MethodTrace trace{"TScanModule::PrestoScanDoMemXfer"};
    runPrestoScan(trace, {"Send WM_SCANTOFILEGETNAME to get file name in TScanModule::PrestoScanDoMemXfer",
                          "Error in MSG_GET DAT_IMAGEINFO in TScanModule::PrestoScanDoMemXfer",
                          "Cannot support unknown length or height in TScanModule::PrestoScanDoMemXfer",
                          "Send WM_SCANTOFILEXFEREND in TScanModule::PrestoScanDoMemXfer",
                          "Send WM_SCANTOFILEDSCLOSED in TScanModule::PrestoScanDoMemXfer",
                          &TScanModule::prestoMemory});
}

void TScanModule::PrestoScanDoFileXfer() {
    const MethodTrace trace{"TScanModule::PrestoScanDoFileXfer"};
    runPrestoScan(trace, {"Send SM_SCANTOFILEGETNAME to get file name in TScanModule::PrestoScanDoFileXfer",
                          "MSG_GET DAT_IMAGEINFO error in TScanModule::PrestoScanDoFileXfer",
                          "Cannot support unknown length or height in TScanModule::PrestoScanDoFileXfer",
                          "Send WM_SCANTOFILEXFEREND to AP in TScanModule::PrestoScanDoFileXfer",
                          "Send WM_SCANTOFILEDSCLOSED to AP in TScanModule::PrestoScanDoFileXfer",
                          &TScanModule::prestoFile});
}

void TScanModule::PrestoScanDoNativeXfer() {
    const MethodTrace trace{"TScanModule::PrestoScanDoNativeXfer"};
    runPrestoScan(trace, {"Send SM_SCANTOFILEGETNAME to get file name in TScanModule::PrestoScanDoNativeXfer",
                          "MSG_GET DAT_IMAGEINFO error in TScanModule::PrestoScanDoNativeXfer",
                          // Kept: the words of the line above.
                          "MSG_GET DAT_IMAGEINFO error in TScanModule::PrestoScanDoNativeXfer",
                          "Send WM_SCANTOFILEXFEREND to AP in TScanModule::PrestoScanDoNativeXfer",
                          "Send WM_SCANTOFILEDSCLOSED in TScanModule::PrestoScanDoNativeXfer",
                          &TScanModule::prestoNative});
}

// The whole of one one-shot transfer: name, image, report, end of the session.
void TScanModule::runPrestoScan(const MethodTrace& trace, const PrestoScanRoute& route, TracePoint at) {
    char path[SM_FILE_NAME_SIZE] = "";
    traceText(route.askName, at);
    tellHost(scanToFileGetName_, 0, path);
    path[sizeof path - 1] = '\0';
    deleteFile(path);
    const int32_t result = prestoImage(trace, route, path, at);
    if (result != 0) deleteFile(path);
    traceText(route.transferEnd, at);
    tellHost(scanToFileXferEnd_, static_cast<WPARAM>(result));
    uint16_t pending;
    EndThisXfer(&pending);
    askForMorePages(pending);
    traceText(route.closed, at);
    EndAllXfer();
    DisableDS();
    CloseDS();
    tellHost(scanToFileDSClosed_, 0);
}

// From the image's description to the written file; gives what XferEnd reports.
int32_t TScanModule::prestoImage(const MethodTrace& trace, const PrestoScanRoute& route, const char* path,
                                 TracePoint at) {
    TW_IMAGEINFO info = {};
    if (getImageInfo(&info) != TWRC_SUCCESS) {
        warnText(route.infoFailed, at);
        return SM_SCANTOFILE_BAD_IMAGE;
    }
    if (info.ImageWidth == -1 || info.ImageLength == -1) {
        warnText(route.unknownSize, at);
        return SM_SCANTOFILE_BAD_IMAGE;
    }
    if (!isStorable(info)) {
        trace.warn("Invalid pixel type", at);
        MessageBoxA(GetFocus(), ResourceText{instance_, IDS_INVALID_PIXEL_TYPE}.text,
                    ResourceText{instance_, IDS_ERROR}.text, MB_OK | MB_TASKMODAL);
        return SM_SCANTOFILE_BAD_IMAGE;
    }
    if (const int32_t failure = CheckDiskSpace(path, &info)) {
        trace.warn("CheckDiskSpace returns failure", at);
        return failure;
    }
    return (this->*route.transfer)(trace, info, path);
}

void TScanModule::askForMorePages(uint16_t pending) {
    if (presto_.MorePages == 0 || pending == 0) return;
    if (presto_.FeederEnable != 0) {
        uint16_t loaded = 0;
        IsADFPaperLoaded(&loaded);
        if (loaded != 0) return;
    }
    // Kept: whatever the answer, the session ends; the host starts a new scan for further pages.
    MessageBoxA(GetFocus(), ResourceText{instance_, IDS_MORE_PAGES}.text, presentedName_,
                MB_YESNO | MB_TASKMODAL);
}

int32_t TScanModule::prestoMemory(const MethodTrace& trace, const TW_IMAGEINFO& info, const char* path) {
    StripBufferSizes sizes = {};
    GetMemXferSize(&sizes.min, &sizes.max, &sizes.preferred);
    GlobalBuffer buffer{sizes.max};
    if (buffer.size() == 0) {
        trace.warn("Low Memory");
        return SM_SCANTOFILE_LOW_MEMORY;
    }
    const HFILE file = createFile(path);
    if (file == HFILE_ERROR) {
        trace.warn("Create file error");
        return fileError;
    }
    if (const int32_t failure = WriteDIBHeader(file, &info)) {
        trace.warn("WriteDIBHeader returns failure");
        _lclose(file);
        return failure;
    }
    return prestoStrips(trace, info, file, buffer);
}

int32_t TScanModule::prestoStrips(const MethodTrace& trace, const TW_IMAGEINFO& info, HFILE file,
                                  GlobalBuffer& buffer) {
    trace.note("Do while-loop to get image data");
    TW_UINT16 code;
    int emptyStrips = 0;
    do {
        TW_IMAGEMEMXFER strip = makeStripRequest(buffer.data(), buffer.size());
        code = fetchStrip(strip, buffer.size());
        if (code != TWRC_SUCCESS && code != TWRC_XFERDONE) break;
        // Kept: the file stays open here, so its deletion fails and it remains for a look at what went wrong.
        if (const int32_t failure = AppendBufferToFile(file, &info, &strip, buffer.data())) return failure;
        emptyStrips = strip.BytesWritten == 0 ? emptyStrips + 1 : 0;
    } while (code != TWRC_XFERDONE && emptyStrips < mostEmptyStrips);
    _lclose(file);
    if (code == TWRC_XFERDONE) return SM_SCANTOFILE_DONE;
    if (code == TWRC_SUCCESS) return SM_SCANTOFILE_BAD_IMAGE;
    if (code == TWRC_CANCEL) {
        trace.warn("Image xfer canceled");
        return SM_SCANTOFILE_CANCELLED;
    }
    // Kept: at level Trace, where the other routes warn.
    trace.note("Image xfer error");
    return GetTWAINStatusCode();
}

int32_t TScanModule::prestoFile(const MethodTrace& trace, const TW_IMAGEINFO&, const char* path) {
    TW_SETUPFILEXFER setup = makeFileSetup(path);
    trace.note("MSG_SET DAT_SETUPFILEXFER");
    if (callSource(DG_CONTROL, DAT_SETUPFILEXFER, MSG_SET, &setup) != TWRC_SUCCESS) {
        trace.warn("MSG_SET DAT_SETUPFILEXFER error");
        return GetTWAINStatusCode();
    }
    trace.note("MSG_GET DAT_IMAGEFILEXFER");
    const TW_UINT16 code = callSource(DG_IMAGE, DAT_IMAGEFILEXFER, MSG_GET, nullptr);
    return code == TWRC_XFERDONE ? static_cast<int32_t>(SM_SCANTOFILE_DONE) : transferFailed(trace, code);
}

int32_t TScanModule::prestoNative(const MethodTrace& trace, const TW_IMAGEINFO&, const char* path) {
    trace.note("MSG_GET DAT_IMAGENATIVEXFER");
    HGLOBAL dib = nullptr;
    const TW_UINT16 code = callSource(DG_IMAGE, DAT_IMAGENATIVEXFER, MSG_GET, &dib);
    if (code != TWRC_XFERDONE) return transferFailed(trace, code);
    const int32_t result = WriteDIBHandleToFile(dib, path);
    GlobalFree(dib);
    return result;
}
