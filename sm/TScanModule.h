// The one object behind all exports: it finds the TWAIN manager, walks the session through its states,
// negotiates capabilities, transfers images and traces what it does.
//
// Every method runs on the host's user-interface thread. Unless said otherwise a method returns 0; -1 when
// the manager is not available; 11 (TWCC_SEQERROR) when the session's state doesn't allow the call; else the
// condition code of what failed. What each method means to a host stands in <scanmodule/scanmodule.h>.
#pragma once

#include <scanmodule/scanmodule.h>
#include <scanmodule/twain_types.h>
#include <windows.h>

#include <cstdint>

#include "Negotiation.h"
#include "StripBuffer.h"
#include "ToneMapping.h"
#include "Trace.h"

struct PrestoScanRoute;

// TWAIN states as the module tracks them; states 6 and 7 exist only inside a transfer batch.
enum SessionState : uint32_t {
    stateNotLoaded = 1,
    stateManagerLoaded = 2,
    stateManagerOpen = 3,
    stateSourceOpen = 4,
    stateSourceEnabled = 5
};

class TScanModule {
public:
    explicit TScanModule(HINSTANCE instance);
    virtual ~TScanModule();
    TScanModule(const TScanModule&) = delete;
    TScanModule& operator=(const TScanModule&) = delete;

    // TwainLoader
    void LoadTWAIN();
    BOOL IsTWAINLoaded();
    void UnloadTWAIN();
    BOOL IsTWAINAvailable();

    // Session
    int32_t OpenDSM(HWND parent);
    int32_t CloseDSM(HWND parent);
    int32_t OpenDS(HWND parent, const char* productName);
    int32_t EnableDS(BOOL showUI, BOOL modalUI);
    int32_t DisableDS();
    int32_t CloseDS();
    int32_t GetTWAINStatusCode();

    // SourceSelection
    int32_t SelectDS(HWND parent);
    int32_t GetAllDS(const char* profilePath);
    int32_t SetDefaultDriver(HWND parent, const char* productName);
    int32_t SetDefaultDS(const char* directory, const char* productName);

    // EventFilter
    BOOL IsDSEvent(MSG* msg);

    // Negotiation
    TW_UINT16 CapNegotiate(TW_UINT16 message, TW_CAPABILITY* cap);

    // ToneRanges
    int32_t GetDSBrightnessRange();
    int32_t GetDSContrastRange();
    int32_t GetDSHighlightRange();
    int32_t GetDSShadowRange();
    int32_t GetDSThresholdRange();

    // ToneControls
    int32_t GetBrightness(int16_t* value, int16_t hostMin, int16_t hostMax);
    int32_t SetBrightness(int16_t value, int16_t hostMin, int16_t hostMax);
    int32_t GetContrast(int16_t* value, int16_t hostMin, int16_t hostMax);
    int32_t SetContrast(int16_t value, int16_t hostMin, int16_t hostMax);
    int32_t GetHighlight(int16_t* value, int16_t hostMin, int16_t hostMax);
    int32_t SetHighlight(int16_t value, int16_t hostMin, int16_t hostMax);
    int32_t GetShadow(int16_t* value, int16_t hostMin, int16_t hostMax);
    int32_t SetShadow(int16_t value, int16_t hostMin, int16_t hostMax);
    int32_t SetThreshold(int16_t value, int16_t hostMin, int16_t hostMax);
    int32_t GetGamma(double* gamma);
    int32_t SetGamma(double gamma);
    int32_t SetLightpath(uint16_t lightPath);

    // FeederCaps
    int32_t IsADFAvailable(uint16_t* available);
    int32_t IsADFPaperLoaded(uint16_t* loaded);
    int32_t GetADFEnable(uint16_t* enabled);
    int32_t SetADFEnable(BOOL enable);
    int32_t SetAutoFeedEnable(BOOL enable);
    int32_t SetIndicatorEnable(BOOL enable);

    // PixelCaps
    int32_t GetPixelFlavor(uint16_t* flavor);
    int32_t GetPixelType(uint16_t* code);
    int32_t SetPixelType(uint16_t code);
    int32_t GetSupportedPixelType(uint16_t* codes);
    int32_t SetSupportedPixelType(uint16_t codes);
    int32_t Getbitdepth(uint16_t* depths);
    int32_t SetBitDepth(uint16_t depth);

    // PaperCaps
    int32_t GetUnit(uint16_t* code);
    int32_t GetMaxArea(double* width, double* height);
    int32_t GetPaperSize(uint16_t* code);
    int32_t SetPaperSize(uint16_t code);
    int32_t GetSupportedPaperSize(uint16_t* codes);
    int32_t SetSupportedPaperSize(uint16_t codes);

    // TransferCaps
    int32_t GetXferMech(uint16_t* code);
    int32_t SetXferMech(uint16_t code);
    int32_t GetXferCount(int16_t* count);
    int32_t SetXferCount(int32_t count);
    int32_t GetPendingCount(uint16_t* count);

    // ResolutionCaps
    int32_t GetXResolution(uint16_t* current, uint16_t* min, uint16_t* max);
    int32_t SetXResolution(uint16_t dpi);
    int32_t GetYResolution(uint16_t* current, uint16_t* min, uint16_t* max);
    int32_t SetYResolution(uint16_t dpi);
    int32_t IsThisDPIAvailable(uint16_t xDpi, uint16_t yDpi);
    int32_t GetXScale(double* current, double* min, double* max);
    int32_t SetXScale(double scale);
    int32_t GetYScale(double* current, double* min, double* max);
    int32_t SetYScale(double scale);

    // VendorCaps
    int32_t SetKvUnSharpMask(BOOL on);
    int32_t GetKvUnSharpMask(uint16_t* on);
    int32_t SetClearPage(BOOL on);
    int32_t GetClearPage(uint16_t* on);
    int32_t SetKvUIMode(uint16_t mode);
    int32_t GetKvUIMode(uint16_t* mode);
    int32_t SetPIMFlag(BOOL on);
    int32_t GetPIMFlag(uint16_t* on);
    int32_t GetKvVersion(uint16_t* version);
    int32_t GetKvLUT1(uint16_t* table);
    int32_t GetKvLUT2(uint16_t* table);
    int32_t GetKvCC(uint16_t* correction);
    int32_t SetKvDraftScan(BOOL on);
    int32_t SetKvDescreeing(BOOL on);
    int32_t SetKvExposureMode(uint16_t mode);
    int32_t GetMaxResForKvDescreeing(double* resolution);
    int32_t SetKvAutoExposureMode(void* block);
    int32_t GetKvDefaultRgbMatrix(void* block);
    int32_t SetKvRgbResponse(void* response);
    int32_t GetKvRgbResponse(void* response);

    // SourceQueries
    int32_t SetImageLayout(const SmImageLayout& layout, uint16_t unit);
    int32_t GetDSPalette(SmPalette* palette);
    void GetImageDim(int32_t* width, int32_t* length);
    int32_t GetScanCap(SmScanAbility* ability);
    int32_t GetDSProductName(char* name);
    int32_t GetDSProductFamily(char* family);

    // TransferDriver
    void ProcessScanImage();
    void DoNativeXfer();
    void DoFileXfer();
    int32_t EndThisXfer(uint16_t* pendingCount);
    int32_t EndAllXfer();
    void CancelThisXfer();
    int32_t CancelAllXfer();
    BOOL HasEnoughMemFreeSpace();
    BOOL CanUseFileXfer();
    int32_t GetStatus();

    // MemoryTransfer, BlockReader
    int32_t GetMemXferSize(uint32_t* min, uint32_t* max, uint32_t* preferred);
    void DoMemXfer();
    void ReadBlock(uint8_t* destination, uint32_t size, uint32_t* count);

    // DibFile
    static int32_t ImageBytesPerRow(const TW_IMAGEINFO* info);
    static int32_t ImageDataSize(const TW_IMAGEINFO* info);
    static int32_t PaletteSize(int32_t bitsPerPixel);
    int32_t WriteDIBHeader(HFILE file, const TW_IMAGEINFO* info);
    int32_t AppendBufferToFile(HFILE file, const TW_IMAGEINFO* info, TW_IMAGEMEMXFER* strip, uint8_t* bytes);
    int32_t BufferToFile(HFILE file, const TW_IMAGEINFO* info, TW_IMAGEMEMXFER* strip, uint8_t* bytes);
    int32_t BufferToFileForPlanar(HFILE file, const TW_IMAGEINFO* info, TW_IMAGEMEMXFER* strip,
                                  uint8_t* bytes);
    int32_t WriteDIBHandleToFile(HGLOBAL dib, const char* path);
    int32_t CheckDiskSpace(const char* path, const TW_IMAGEINFO* info);

    // OneShotScan
    int32_t PrestoScan(HWND window, const char* title, const PrestoScanSettings* settings);
    void ProcessPrestoScanImage();
    void PrestoScanDoMemXfer();
    void PrestoScanDoFileXfer();
    void PrestoScanDoNativeXfer();

private:
    // DSM_Entry with no destination (the manager itself), and with the source as the destination. Failure
    // when the manager is not loaded.
    TW_UINT16 callManager(TW_UINT16 argumentType, TW_UINT16 message, void* data);
    TW_UINT16 callSource(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, void* data);
    // MSG_GET of a triplet, for the many that only ask.
    TW_UINT16 getImageInfo(TW_IMAGEINFO* info) { return callSource(DG_IMAGE, DAT_IMAGEINFO, MSG_GET, info); }
    // An operation whose data is a TW_IDENTITY of a source; its texts come back terminated.
    TW_UINT16 askIdentity(TW_UINT16 message, TW_IDENTITY* identity);
    LRESULT tellHost(UINT message, WPARAM wParam, const void* lParam = nullptr);

    // What most methods begin with: 0, or the refusal, already reported.
    int32_t checkAvailable(const MethodTrace& trace, TracePoint at = TracePoint::here());
    int32_t checkReady(const MethodTrace& trace, SessionState lowest = stateSourceOpen,
                       TracePoint at = TracePoint::here());
    int32_t sequenceError(const MethodTrace& trace, TracePoint at = TracePoint::here());
    // Reports the failed DSM_Entry call and gives its condition code.
    int32_t callFailed(const MethodTrace& trace, TracePoint at = TracePoint::here());

    // Session and source selection
    int32_t findInManagerList(const char* productName);
    int32_t findInDriverFolders(const char* productName);
    int32_t findInSubfolders(const char* folder, const char* productName);
    HWND validParent(const MethodTrace& trace, HWND parent, TracePoint at = TracePoint::here());
    void releaseParent();

    // Negotiation: the two common shapes and their parts.
    int32_t setValue(const MethodTrace& trace, const Setter& setter, double value,
                     TracePoint at = TracePoint::here());
    // setValue without its checks; `method` is named in the warnings.
    int32_t sendValue(const char* method, const Setter& setter, double value,
                      TracePoint at = TracePoint::here());
    // MSG_SET of a container built by the caller, which is then freed. True when the source took it; the
    // result of a refusal may be 0, too.
    bool sendContainer(const char* method, TW_CAPABILITY& cap, int32_t& result, TracePoint at);
    // The value, converted to what the method gives; untouched when no message yields one.
    int32_t getValue(const MethodTrace& trace, const Getter& getter, uint16_t* value,
                     Conversion convert = asGiven, TracePoint at = TracePoint::here());
    // The raw value, without any checks.
    Answer askValue(const MethodTrace& trace, const Getter& getter, TracePoint at = TracePoint::here());
    // Asks message by message until `read` (Reading(const TW_CAPABILITY&)) gets a value; `missed` runs after
    // each attempt that yields none. The result is that of the last attempt.
    template <class Reader, class Missed>
    int32_t ask(const MethodTrace& trace, TW_UINT16 capability, CodeList messages, Reader read, Missed missed,
                TracePoint at = TracePoint::here()) {
        int32_t result = 0;
        for (const TW_UINT16 message : messages) {
            TW_CAPABILITY cap = {capability, TWON_DONTCARE16, nullptr};
            if (CapNegotiate(message, &cap) != TWRC_SUCCESS) {
                trace.warn("CapNegotiate returns failure", at);
                result = GetTWAINStatusCode();
            } else {
                const ContainerOwner owner{cap};
                const Reading reading = read(cap);
                if (reading == Reading{TWCC_SUCCESS}) return 0;
                if (!reading) trace.warn("Invalid container type", at);
                result = reading.value_or(TWCC_BADVALUE);
            }
            missed();
        }
        return result;
    }
    int32_t getSupported(const MethodTrace& trace, TW_UINT16 capability, uint16_t* codes,
                         TracePoint at = TracePoint::here());
    int32_t setSupported(const MethodTrace& trace, TW_UINT16 capability, uint16_t codes, uint16_t presentCode,
                         TracePoint at = TracePoint::here());
    void recordXferMech(const TW_CAPABILITY& cap);
    int32_t setSwitch(const MethodTrace& trace, TW_UINT16 capability, BOOL on,
                      TracePoint at = TracePoint::here());
    int32_t sendSwitch(const MethodTrace& trace, TW_UINT16 capability, BOOL on,
                       TracePoint at = TracePoint::here());
    int32_t callImage(const MethodTrace& trace, TW_UINT16 argumentType, TW_UINT16 message, void* data,
                      TracePoint at = TracePoint::here());

    // Single groups of capabilities
    struct PerInch {
        double x;
        double y;
    };
    PerInch perInch(uint16_t unit);
    int32_t getRange(const MethodTrace& trace, TW_UINT16 capability, ToneRange& range, const char* emptyWords,
                     const char* stepWords, TracePoint at = TracePoint::here());
    int32_t getTone(const MethodTrace& trace, TW_UINT16 capability, const ToneRange& range, int16_t* value,
                    HostScale scale, TracePoint at = TracePoint::here());
    int32_t setTone(const MethodTrace& trace, const Setter& setter, const ToneRange& range, int16_t value,
                    HostScale scale, const char* emptyScaleWords, TracePoint at = TracePoint::here());
    int32_t getResolution(const MethodTrace& trace, TW_UINT16 capability, uint16_t* current, uint16_t* min,
                          uint16_t* max, TracePoint at = TracePoint::here());
    int32_t setResolution(const MethodTrace& trace, TW_UINT16 capability, uint16_t dpi,
                          TracePoint at = TracePoint::here());
    int32_t getScale(const MethodTrace& trace, TW_UINT16 capability, double* current, double* min,
                     double* max, TracePoint at = TracePoint::here());
    std::optional<double> getLength(const MethodTrace& trace, TW_UINT16 capability, int32_t& result,
                                    TracePoint at = TracePoint::here());

    // Transfers
    void fillImageRecord(TXferImageInfo& record, const TW_IMAGEINFO& info);
    bool cancelRequested() const { return cancelThis_ != 0 || cancelAll_ != 0; }
    void clearCancel() { cancelThis_ = cancelAll_ = 0; }
    template <class Preparer, class Transfer>
    void runBatch(const MethodTrace& trace, TXferImageInfo& record, Preparer resetTarget,
                  Transfer transferImage, TracePoint at = TracePoint::here());
    // Reports a cancelled or failed native or file transfer; gives what XferEnd reports.
    int32_t transferFailed(const MethodTrace& trace, TW_UINT16 code, TracePoint at = TracePoint::here());
    // Asks for a strip; what it claims beyond the buffer is cut off.
    TW_UINT16 fetchStrip(TW_IMAGEMEMXFER& strip, uint32_t bufferSize);
    bool chooseStripBuffer(const MethodTrace& trace, const StripBufferSizes& sizes, GlobalBuffer& own);
    int32_t pushStrips(const MethodTrace& trace, const TW_IMAGEINFO& info, const StripBufferSizes& sizes,
                       GlobalBuffer& own);
    int32_t pushImage(const MethodTrace& trace, const TW_IMAGEINFO& info, const StripBufferSizes& sizes,
                      GlobalBuffer& own);
    int32_t pullStrip(const MethodTrace& trace, uint8_t* destination, uint32_t size, uint32_t* count);

    // DIB files
    void fillDibResolution(BITMAPINFOHEADER& header, const TW_IMAGEINFO& info);
    bool writeDibPalette(HFILE file, const TW_IMAGEINFO& info);

    // One-shot scan
    void runPrestoScan(const MethodTrace& trace, const PrestoScanRoute& route,
                       TracePoint at = TracePoint::here());
    int32_t prestoImage(const MethodTrace& trace, const PrestoScanRoute& route, const char* path,
                        TracePoint at);
    void askForMorePages(uint16_t pending);
    void applyPrestoSettings(const MethodTrace& trace);
    bool choosePrestoMechanism(const MethodTrace& trace);
    // The routes' own steps, from a checked image to a written file.
    int32_t prestoMemory(const MethodTrace& trace, const TW_IMAGEINFO& info, const char* path);
    int32_t prestoStrips(const MethodTrace& trace, const TW_IMAGEINFO& info, HFILE file,
                         GlobalBuffer& buffer);
    int32_t prestoFile(const MethodTrace& trace, const TW_IMAGEINFO& info, const char* path);
    int32_t prestoNative(const MethodTrace& trace, const TW_IMAGEINFO& info, const char* path);

    TW_IDENTITY appIdentity_ = {};
    TW_IDENTITY dsIdentity_ = {};
    HINSTANCE instance_;

    struct Loader {
        uint32_t state = stateNotLoaded;
        HMODULE library = nullptr;
        DSMENTRYPROC entry = nullptr;
    } loader_;

    // How the source was last enabled, and which window is disabled on its account.
    struct UserInterface {
        uint32_t showUI = 1;
        uint32_t parentDisabled = 0;
        HWND disabledWindow = nullptr;
    } ui_;

    HWND parent_;
    char presentedName_[34] = {};
    uint32_t cancelThis_ = 0;
    uint32_t cancelAll_ = 0;
    uint16_t pendingCount_ = 0;
    PulledImage pulled_ = {};

    ToneRange brightness_ = {-1000.0, 1000.0, 1.0};
    ToneRange contrast_ = {-1000.0, 1000.0, 1.0};
    ToneRange highlight_ = {0.0, 255.0, 1.0};
    ToneRange shadow_ = {0.0, 255.0, 1.0};
    // Kept: its step starts at 0; the first range query sets it.
    ToneRange threshold_ = {0.0, 255.0, 0.0};

    uint16_t xferMech_ = SM_MECH_MEMORY;
    // Set by the first one-shot scan and, on purpose, never cleared.
    uint32_t scanToFile_ = 0;
    PrestoScanSettings presto_ = {};

    // Registered window messages
    UINT closeDSReq_ = 0;
    UINT xferStart_ = 0;
    UINT xferData_ = 0;
    UINT xferEnd_ = 0;
    UINT scanToFileGetName_ = 0;
    UINT scanToFileXferEnd_ = 0;
    UINT scanToFileDSClosed_ = 0;
};
