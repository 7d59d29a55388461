// The one-shot scan: one call opens and enables a source; when the image is ready it goes straight into a
// file.
#include "Resources.h"
#include "TScanModule.h"
#include "capabilities/Units.h"
#include "oneshot/ImageFile.h"
#include "oneshot/OneShotSettings.h"

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

// More than any source gives of an image, however it pads its rows and fills up its last strip.
uint64_t mostBytes(const TW_IMAGEINFO& info) {
    const auto side = [](int32_t pixels) { return static_cast<uint64_t>(pixels > 0 ? pixels : 0); };
    constexpr uint64_t slack = 1 << 20;
    return slack + 4 * (side(info.ImageWidth) * side(info.ImageLength) * info.BitsPerPixel / 8);
}

// A setting that the source rejects makes it show its own window, where the user can correct it.
void applySettings(TScanModule& module, const MethodTrace& trace, PrestoScanSettings& s) {
    if (module.SetPixelType(s.PixelType) != 0) {
        trace.warn("SetPixelType returns failure");
        s.ShowUI = TRUE;
    }
    if (module.SetXResolution(s.Resolution) != 0 || module.SetYResolution(s.Resolution) != 0) {
        trace.warn("Resolution setting return failure");
        s.ShowUI = TRUE;
    }
    module.SetBrightness(s.Brightness, s.BrightnessMin, s.BrightnessMax);
    module.SetContrast(s.Contrast, s.ContrastMin, s.ContrastMax);
    module.SetHighlight(s.Highlight, s.HighlightMin, s.HighlightMax);
    module.SetShadow(s.Shadow, s.ShadowMin, s.ShadowMax);
    module.SetXferCount(s.MorePages == 0 ? 1 : anyNumber);
    module.SetADFEnable(s.FeederEnable);
}

bool chooseMechanism(TScanModule& module, const MethodTrace& trace) {
    trace.note("Set Xfer Mech");
    for (const uint16_t mechanism : {SM_MECH_MEMORY, SM_MECH_FILE, SM_MECH_NATIVE}) {
        if (module.SetXferMech(mechanism) == 0) return true;
    }
    return false;
}

// One image's way into a file: the name, the transfer by one of three routes, the report, the end of the
// session.
class OneShotRun {
public:
    // What is particular to one transfer mechanism.
    struct Route {
        const char* askName;
        const char* infoFailed;
        const char* unknownSize;
        const char* transferEnd;
        const char* closed;
        int32_t (OneShotRun::*transfer)(const TW_IMAGEINFO& info, const char* path);
    };

    OneShotRun(const MethodTrace& trace, TScanModule& module, Link& link, const Host& host, OneShot& state,
               TracePoint at = TracePoint::here())
        : trace_(trace), caller_(trace, at), module_(module), link_(link), host_(host), state_(state) {}

    // The whole of one one-shot transfer: name, image, report, end of the session.
    void run(const Route& route) {
        char path[SM_FILE_NAME_SIZE] = "";
        traceText(route.askName, caller_.at());
        host_.tell(host_.scanToFileGetName, 0, path);
        path[sizeof path - 1] = '\0';
        deleteFile(path);
        const int32_t result = image(route, path);
        state_.rows.Free();
        if (result != 0) deleteFile(path);
        traceText(route.transferEnd, caller_.at());
        host_.tell(host_.scanToFileXferEnd, static_cast<WPARAM>(result));
        uint16_t pending;
        module_.EndThisXfer(&pending);
        askForMorePages(pending);
        traceText(route.closed, caller_.at());
        module_.EndAllXfer();
        module_.DisableDS();
        module_.CloseDS();
        host_.tell(host_.scanToFileDSClosed, 0);
    }

    // The routes' own steps, from a checked image to a written file.
    int32_t byMemory(const TW_IMAGEINFO& info, const char* path) {
        StripBufferSizes sizes = {};
        module_.GetMemXferSize(&sizes.min, &sizes.max, &sizes.preferred);
        GlobalBuffer buffer{sizes.max};
        if (buffer.size() == 0) {
            trace_.warn("Low Memory");
            return SM_SCANTOFILE_LOW_MEMORY;
        }
        const HFILE file = createFile(path);
        if (file == HFILE_ERROR) {
            trace_.warn("Create file error");
            return fileError;
        }
        if (const int32_t failure = module_.WriteDIBHeader(file, path, &info)) {
            trace_.warn("WriteDIBHeader returns failure");
            _lclose(file);
            return failure;
        }
        return strips(info, file, buffer);
    }

    int32_t byFile(const TW_IMAGEINFO&, const char* path) {
        TW_SETUPFILEXFER setup = makeFileSetup(path);
        trace_.note("MSG_SET DAT_SETUPFILEXFER");
        if (link_.source(DG_CONTROL, DAT_SETUPFILEXFER, MSG_SET, &setup) != TWRC_SUCCESS) {
            trace_.warn("MSG_SET DAT_SETUPFILEXFER error");
            return link_.conditionCode();
        }
        trace_.note("MSG_GET DAT_IMAGEFILEXFER");
        const TW_UINT16 code = link_.source(DG_IMAGE, DAT_IMAGEFILEXFER, MSG_GET, nullptr);
        return code == TWRC_XFERDONE ? static_cast<int32_t>(SM_SCANTOFILE_DONE)
                                     : transferFailed(link_, trace_, code);
    }

    int32_t byNative(const TW_IMAGEINFO&, const char* path) {
        trace_.note("MSG_GET DAT_IMAGENATIVEXFER");
        HGLOBAL dib = nullptr;
        const TW_UINT16 code = link_.source(DG_IMAGE, DAT_IMAGENATIVEXFER, MSG_GET, &dib);
        if (code != TWRC_XFERDONE) return transferFailed(link_, trace_, code);
        const int32_t result = module_.WriteDIBHandleToFile(dib, path);
        GlobalFree(dib);
        return result;
    }

private:
    // From the image's description to the written file; gives what XferEnd reports.
    int32_t image(const Route& route, const char* path) {
        TW_IMAGEINFO info = {};
        if (link_.imageInfo(info) != TWRC_SUCCESS) {
            warnText(route.infoFailed, caller_.at());
            return SM_SCANTOFILE_BAD_IMAGE;
        }
        if (info.ImageWidth == -1 || info.ImageLength == -1) {
            warnText(route.unknownSize, caller_.at());
            return SM_SCANTOFILE_BAD_IMAGE;
        }
        if (!isStorable(info)) {
            caller_.warn("Invalid pixel type");
            MessageBoxA(GetFocus(), ResourceText{link_.instance, IDS_INVALID_PIXEL_TYPE}.text,
                        ResourceText{link_.instance, IDS_ERROR}.text, MB_OK | MB_TASKMODAL);
            return SM_SCANTOFILE_BAD_IMAGE;
        }
        if (const int32_t failure = module_.CheckDiskSpace(path, &info)) {
            caller_.warn("CheckDiskSpace returns failure");
            return failure;
        }
        return (this->*route.transfer)(info, path);
    }

    void askForMorePages(uint16_t pending) {
        if (state_.settings.MorePages == 0 || pending == 0) return;
        if (state_.settings.FeederEnable != 0) {
            uint16_t loaded = 0;
            module_.IsADFPaperLoaded(&loaded);
            if (loaded != 0) return;
        }
        // Kept: whatever the answer, the session ends; the host starts a new scan for further pages.
        MessageBoxA(GetFocus(), ResourceText{link_.instance, IDS_MORE_PAGES}.text, host_.presentedName,
                    MB_YESNO | MB_TASKMODAL);
    }

    int32_t strips(const TW_IMAGEINFO& info, HFILE file, GlobalBuffer& buffer) {
        trace_.note("Do while-loop to get image data");
        TW_UINT16 code;
        int emptyStrips = 0;
        uint64_t bytes = 0;
        const uint64_t most = mostBytes(info);
        do {
            TW_IMAGEMEMXFER strip = makeStripRequest(buffer.data(), buffer.size());
            code = fetchStrip(link_, strip, buffer.size());
            if (code != TWRC_SUCCESS && code != TWRC_XFERDONE) break;
            // Kept: the file stays open here, so its deletion fails and it remains for a look at what went
            // wrong.
            if (const int32_t failure = module_.AppendBufferToFile(file, &info, &strip, buffer.data()))
                return failure;
            emptyStrips = strip.BytesWritten == 0 ? emptyStrips + 1 : 0;
            bytes += strip.BytesWritten;
        } while (code != TWRC_XFERDONE && emptyStrips < mostEmptyStrips && bytes < most);
        _lclose(file);
        if (code == TWRC_XFERDONE) return SM_SCANTOFILE_DONE;
        if (code == TWRC_SUCCESS) {
            trace_.warn(endlessStrips);
            return SM_SCANTOFILE_BAD_IMAGE;
        }
        if (code == TWRC_CANCEL) {
            trace_.warn("Image xfer canceled");
            return SM_SCANTOFILE_CANCELLED;
        }
        // Kept: at level Trace, where the other routes warn.
        trace_.note("Image xfer error");
        return link_.conditionCode();
    }

    const MethodTrace& trace_;  // for lines with places here
    const Caller caller_;       // for lines with the method's place
    TScanModule& module_;
    Link& link_;
    const Host& host_;
    OneShot& state_;
};

}  // namespace

int32_t TScanModule::PrestoScan(HWND window, const char* title, const PrestoScanSettings* settings) {
    const MethodTrace trace{"TScanModule::PrestoScan"};
    if (settings != nullptr) {
        oneShot_.settings = *settings;
    } else {
        // No source is open yet, so these usually stand.
        double width = standInWidth, height = standInHeight;
        GetMaxArea(&width, &height);
        oneShot_.settings = defaultOneShotSettings(width, height);
    }
    trace.note("Processing some settings");
    validateOneShotSettings(oneShot_.settings);
    if (OpenDS(window, title) != 0) {
        trace.warn("OpenDS returns failure");
        return FALSE;
    }
    applySettings(*this, trace, oneShot_.settings);
    // Kept: the source stays open, and the module out of scan-to-file mode; the host closes the source.
    if (!chooseMechanism(*this, trace)) return FALSE;
    BOOL enabled = TRUE;
    if (EnableDS(oneShot_.settings.ShowUI, oneShot_.settings.ModalUI) != 0) {
        trace.warn("EnableDS returns failure");
        DisableDS();
        CloseDS();
        enabled = FALSE;
    }
    // Kept: set after a failure too, and never cleared.
    oneShot_.active = true;
    return enabled;
}

void TScanModule::ProcessPrestoScanImage() {
    const MethodTrace trace{"TScanModule::ProcessPrestoScanImage"};
    switch (negotiation_.mechanism()) {
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
    OneShotRun{trace, *this, link_, host_, oneShot_}.run(
        {"Send WM_SCANTOFILEGETNAME to get file name in TScanModule::PrestoScanDoMemXfer",
         "Error in MSG_GET DAT_IMAGEINFO in TScanModule::PrestoScanDoMemXfer",
         "Cannot support unknown length or height in TScanModule::PrestoScanDoMemXfer",
         "Send WM_SCANTOFILEXFEREND in TScanModule::PrestoScanDoMemXfer",
         "Send WM_SCANTOFILEDSCLOSED in TScanModule::PrestoScanDoMemXfer", &OneShotRun::byMemory});
}

void TScanModule::PrestoScanDoFileXfer() {
    const MethodTrace trace{"TScanModule::PrestoScanDoFileXfer"};
    OneShotRun{trace, *this, link_, host_, oneShot_}.run(
        {"Send SM_SCANTOFILEGETNAME to get file name in TScanModule::PrestoScanDoFileXfer",
         "MSG_GET DAT_IMAGEINFO error in TScanModule::PrestoScanDoFileXfer",
         "Cannot support unknown length or height in TScanModule::PrestoScanDoFileXfer",
         "Send WM_SCANTOFILEXFEREND to AP in TScanModule::PrestoScanDoFileXfer",
         "Send WM_SCANTOFILEDSCLOSED to AP in TScanModule::PrestoScanDoFileXfer", &OneShotRun::byFile});
}

void TScanModule::PrestoScanDoNativeXfer() {
    const MethodTrace trace{"TScanModule::PrestoScanDoNativeXfer"};
    OneShotRun{trace, *this, link_, host_, oneShot_}.run(
        {"Send SM_SCANTOFILEGETNAME to get file name in TScanModule::PrestoScanDoNativeXfer",
         "MSG_GET DAT_IMAGEINFO error in TScanModule::PrestoScanDoNativeXfer",
         // Kept: the words of the line above.
         "MSG_GET DAT_IMAGEINFO error in TScanModule::PrestoScanDoNativeXfer",
         "Send WM_SCANTOFILEXFEREND to AP in TScanModule::PrestoScanDoNativeXfer",
         "Send WM_SCANTOFILEDSCLOSED in TScanModule::PrestoScanDoNativeXfer", &OneShotRun::byNative});
}
