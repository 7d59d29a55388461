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
#include <cstdlib>

#include "base/Host.h"
#include "base/Trace.h"
#include "capabilities/Negotiation.h"
#include "capabilities/ToneMapping.h"
#include "link/Link.h"
#include "oneshot/OneShot.h"
#include "session/UserInterface.h"
#include "transfer/Transfers.h"

class TScanModule {
public:
    explicit TScanModule(HINSTANCE instance);
    // Kept: virtual, though nothing is derived from it.
    virtual ~TScanModule();
    TScanModule(const TScanModule&) = delete;
    TScanModule& operator=(const TScanModule&) = delete;

    // Not the C++ library's: they bring along its exceptions, whose reserve of memory is never given back
    // when the library is unloaded. Null when there is no memory.
    static void* operator new(size_t size) noexcept { return std::malloc(size); }
    static void operator delete(void* block) noexcept { std::free(block); }

    BOOL IsTWAINAvailable();
    TW_UINT16 CapNegotiate(TW_UINT16 message, TW_CAPABILITY* cap);

    // session/Session
    int32_t OpenDSM(HWND parent);
    int32_t CloseDSM(HWND parent);
    int32_t OpenDS(HWND parent, const char* productName);
    int32_t EnableDS(BOOL showUI, BOOL modalUI);
    int32_t DisableDS();
    int32_t CloseDS();

    // session/SourceSelection
    int32_t SelectDS(HWND parent);
    int32_t GetAllDS(const char* profilePath);
    int32_t SetDefaultDriver(HWND parent, const char* productName);
    int32_t SetDefaultDS(const char* directory, const char* productName);

    // session/EventFilter
    BOOL IsDSEvent(MSG* msg);

    // capabilities/ToneRanges
    int32_t GetDSBrightnessRange();
    int32_t GetDSContrastRange();
    int32_t GetDSHighlightRange();
    int32_t GetDSShadowRange();
    int32_t GetDSThresholdRange();

    // capabilities/ToneControls
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

    // capabilities/FeederCaps
    int32_t IsADFAvailable(uint16_t* available);
    int32_t IsADFPaperLoaded(uint16_t* loaded);
    int32_t GetADFEnable(uint16_t* enabled);
    int32_t SetADFEnable(BOOL enable);
    int32_t SetAutoFeedEnable(BOOL enable);
    int32_t SetIndicatorEnable(BOOL enable);

    // capabilities/PixelCaps
    int32_t GetPixelFlavor(uint16_t* flavor);
    int32_t GetPixelType(uint16_t* code);
    int32_t SetPixelType(uint16_t code);
    int32_t GetSupportedPixelType(uint16_t* codes);
    int32_t SetSupportedPixelType(uint16_t codes);
    int32_t Getbitdepth(uint16_t* depths);
    int32_t SetBitDepth(uint16_t depth);

    // capabilities/PaperCaps
    int32_t GetUnit(uint16_t* code);
    int32_t GetMaxArea(double* width, double* height);
    int32_t GetPaperSize(uint16_t* code);
    int32_t SetPaperSize(uint16_t code);
    int32_t GetSupportedPaperSize(uint16_t* codes);
    int32_t SetSupportedPaperSize(uint16_t codes);

    // capabilities/TransferCaps
    int32_t GetXferMech(uint16_t* code);
    int32_t SetXferMech(uint16_t code);
    int32_t GetXferCount(int16_t* count);
    int32_t SetXferCount(int32_t count);

    // capabilities/ResolutionCaps
    int32_t GetXResolution(uint16_t* current, uint16_t* min, uint16_t* max);
    int32_t SetXResolution(uint16_t dpi);
    int32_t GetYResolution(uint16_t* current, uint16_t* min, uint16_t* max);
    int32_t SetYResolution(uint16_t dpi);
    int32_t IsThisDPIAvailable(uint16_t xDpi, uint16_t yDpi);
    int32_t GetXScale(double* current, double* min, double* max);
    int32_t SetXScale(double scale);
    int32_t GetYScale(double* current, double* min, double* max);
    int32_t SetYScale(double scale);

    // capabilities/VendorCaps
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

    // capabilities/SourceQueries
    int32_t SetImageLayout(const SmImageLayout& layout, uint16_t unit);
    int32_t GetDSPalette(SmPalette* palette);
    void GetImageDim(int32_t* width, int32_t* length);
    int32_t GetScanCap(SmScanAbility* ability);
    int32_t GetDSProductName(char* name);
    int32_t GetDSProductFamily(char* family);

    // transfer/MechanismChoice, transfer/Transfers
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
    int32_t GetPendingCount(uint16_t* count);

    // transfer/MemoryTransfer, transfer/BlockReader
    int32_t GetMemXferSize(uint32_t* min, uint32_t* max, uint32_t* preferred);
    void DoMemXfer();
    void ReadBlock(uint8_t* destination, uint32_t size, uint32_t* count);

    // transfer/ImageSizes
    static int32_t ImageBytesPerRow(const TW_IMAGEINFO* info);
    static int32_t ImageDataSize(const TW_IMAGEINFO* info);
    static int32_t PaletteSize(int32_t bitsPerPixel);

    // oneshot/BmpWriter
    int32_t WriteDIBHeader(HFILE file, const char* path, const TW_IMAGEINFO* info);
    int32_t AppendBufferToFile(HFILE file, const TW_IMAGEINFO* info, TW_IMAGEMEMXFER* strip, uint8_t* bytes);
    int32_t BufferToFile(HFILE file, const TW_IMAGEINFO* info, TW_IMAGEMEMXFER* strip, uint8_t* bytes);
    int32_t BufferToFileForPlanar(HFILE file, const TW_IMAGEINFO* info, TW_IMAGEMEMXFER* strip,
                                  uint8_t* bytes);
    int32_t WriteDIBHandleToFile(HGLOBAL dib, const char* path);
    int32_t CheckDiskSpace(const char* path, const TW_IMAGEINFO* info);

    // oneshot/OneShotScan
    int32_t PrestoScan(HWND window, const char* title, const PrestoScanSettings* settings);
    void ProcessPrestoScanImage();
    void PrestoScanDoMemXfer();
    void PrestoScanDoFileXfer();
    void PrestoScanDoNativeXfer();

private:
    Link link_;
    UserInterface ui_;
    Host host_;
    Transfers transfers_;

    ToneRange brightness_ = {-1000.0, 1000.0, 1.0};
    ToneRange contrast_ = {-1000.0, 1000.0, 1.0};
    ToneRange highlight_ = {0.0, 255.0, 1.0};
    ToneRange shadow_ = {0.0, 255.0, 1.0};
    // Kept: its step starts at 0; the first range query sets it.
    ToneRange threshold_ = {0.0, 255.0, 0.0};

    Negotiation negotiation_{link_};
    OneShot oneShot_;
};
