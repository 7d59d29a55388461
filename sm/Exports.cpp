// The library's entry and its exports: one-line forwards to the one module object. The .def file gives them
// their undecorated names and fixed ordinals.
#include "TScanModule.h"

namespace {

// Null when it could not be made. Kept: no export checks it; hosts must not call then.
TScanModule* module = nullptr;

}  // namespace

// Kept: the manager is loaded, and the viewer written to, while Windows holds the loader's lock; hosts rely
// on a module that is ready once it is loaded.
BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
    switch (reason) {
        case DLL_PROCESS_ATTACH:
            module = new TScanModule(instance);
            break;
        case DLL_PROCESS_DETACH:
            delete module;
            break;
    }
    return TRUE;
}

int WINAPI smIsTWAINAvailable() {
    return module->IsTWAINAvailable();
}
int WINAPI smIsDSEvent(MSG* message) {
    return module->IsDSEvent(message);
}
int WINAPI smSelectDS(HWND parent) {
    return module->SelectDS(parent);
}
int WINAPI smOpenDS(HWND parent, const char* productName) {
    return module->OpenDS(parent, productName);
}
int WINAPI smEnableDS(int showUI, int modalUI) {
    return module->EnableDS(showUI, modalUI);
}
int WINAPI smDisableDS() {
    return module->DisableDS();
}
int WINAPI smCloseDS() {
    return module->CloseDS();
}
int WINAPI smGetAllDS(const char* profilePath) {
    return module->GetAllDS(profilePath);
}
int WINAPI smSetDefaultDriver(HWND parent, const char* productName) {
    return module->SetDefaultDriver(parent, productName);
}
int WINAPI smGetDSProductName(char* buffer) {
    return module->GetDSProductName(buffer);
}
int WINAPI smGetDSProductFamily(char* buffer) {
    return module->GetDSProductFamily(buffer);
}
int WINAPI smCapNegotiate(unsigned short message, void* capability) {
    return module->CapNegotiate(message, static_cast<TW_CAPABILITY*>(capability));
}
int WINAPI smIsADFAvailable(unsigned short* available) {
    return module->IsADFAvailable(available);
}
int WINAPI smIsADFPaperLoaded(unsigned short* loaded) {
    return module->IsADFPaperLoaded(loaded);
}
int WINAPI smGetADFEnable(unsigned short* enabled) {
    return module->GetADFEnable(enabled);
}
int WINAPI smSetADFEnable(int enable) {
    return module->SetADFEnable(enable);
}
int WINAPI smSetAutoFeedEnable(int enable) {
    return module->SetAutoFeedEnable(enable);
}
int WINAPI smGetUnit(unsigned short* unit) {
    return module->GetUnit(unit);
}
int WINAPI smGetMaxArea(double* width, double* height) {
    return module->GetMaxArea(width, height);
}
int WINAPI smGetPixelFlavor(unsigned short* flavor) {
    return module->GetPixelFlavor(flavor);
}
int WINAPI smGetPixelType(unsigned short* pixelType) {
    return module->GetPixelType(pixelType);
}
int WINAPI smSetPixelType(unsigned short pixelType) {
    return module->SetPixelType(pixelType);
}
int WINAPI smGetSupportedPixelType(unsigned short* pixelTypes) {
    return module->GetSupportedPixelType(pixelTypes);
}
int WINAPI smSetSupportedPixelType(unsigned short pixelTypes) {
    return module->SetSupportedPixelType(pixelTypes);
}
int WINAPI smSetBitDepth(unsigned short bitsPerPixel) {
    return module->SetBitDepth(bitsPerPixel);
}
int WINAPI smGetPaperSize(unsigned short* paperSize) {
    return module->GetPaperSize(paperSize);
}
int WINAPI smSetPaperSize(unsigned short paperSize) {
    return module->SetPaperSize(paperSize);
}
int WINAPI smGetSupportedPaperSize(unsigned short* paperSizes) {
    return module->GetSupportedPaperSize(paperSizes);
}
int WINAPI smSetSupportedPaperSize(unsigned short paperSizes) {
    return module->SetSupportedPaperSize(paperSizes);
}
int WINAPI smGetXResolution(unsigned short* current, unsigned short* minimum, unsigned short* maximum) {
    return module->GetXResolution(current, minimum, maximum);
}
int WINAPI smSetXResolution(unsigned short dotsPerInch) {
    return module->SetXResolution(dotsPerInch);
}
int WINAPI smGetYResolution(unsigned short* current, unsigned short* minimum, unsigned short* maximum) {
    return module->GetYResolution(current, minimum, maximum);
}
int WINAPI smSetYResolution(unsigned short dotsPerInch) {
    return module->SetYResolution(dotsPerInch);
}
int WINAPI smIsThisDPIAvailable(unsigned short xDotsPerInch, unsigned short yDotsPerInch) {
    return module->IsThisDPIAvailable(xDotsPerInch, yDotsPerInch);
}
int WINAPI smGetXScale(double* current, double* minimum, double* maximum) {
    return module->GetXScale(current, minimum, maximum);
}
int WINAPI smSetXScale(double scale) {
    return module->SetXScale(scale);
}
int WINAPI smGetYScale(double* current, double* minimum, double* maximum) {
    return module->GetYScale(current, minimum, maximum);
}
int WINAPI smSetYScale(double scale) {
    return module->SetYScale(scale);
}
int WINAPI smSetImageLayout(SmImageLayout layout, unsigned short unit) {
    return module->SetImageLayout(layout, unit);
}
void WINAPI smGetImageDim(int* width, int* length) {
    module->GetImageDim(width, length);
}
int WINAPI smGetDSPalette(SmPalette* palette) {
    return module->GetDSPalette(palette);
}
int WINAPI smGetScanCap(SmScanAbility* ability) {
    return module->GetScanCap(ability);
}
int WINAPI smGetBrightness(short* value, short scaleMin, short scaleMax) {
    return module->GetBrightness(value, scaleMin, scaleMax);
}
int WINAPI smSetBrightness(short value, short scaleMin, short scaleMax) {
    return module->SetBrightness(value, scaleMin, scaleMax);
}
int WINAPI smGetContrast(short* value, short scaleMin, short scaleMax) {
    return module->GetContrast(value, scaleMin, scaleMax);
}
int WINAPI smSetContrast(short value, short scaleMin, short scaleMax) {
    return module->SetContrast(value, scaleMin, scaleMax);
}
int WINAPI smGetHighlight(short* value, short scaleMin, short scaleMax) {
    return module->GetHighlight(value, scaleMin, scaleMax);
}
int WINAPI smSetHighlight(short value, short scaleMin, short scaleMax) {
    return module->SetHighlight(value, scaleMin, scaleMax);
}
int WINAPI smGetShadow(short* value, short scaleMin, short scaleMax) {
    return module->GetShadow(value, scaleMin, scaleMax);
}
int WINAPI smSetShadow(short value, short scaleMin, short scaleMax) {
    return module->SetShadow(value, scaleMin, scaleMax);
}
int WINAPI smSetThreshold(short value, short scaleMin, short scaleMax) {
    return module->SetThreshold(value, scaleMin, scaleMax);
}
int WINAPI smGetGamma(double* gamma) {
    return module->GetGamma(gamma);
}
int WINAPI smSetGamma(double gamma) {
    return module->SetGamma(gamma);
}
int WINAPI smSetLightpath(unsigned short lightpath) {
    return module->SetLightpath(lightpath);
}
int WINAPI smGetXferMech(unsigned short* mechanism) {
    return module->GetXferMech(mechanism);
}
int WINAPI smSetXferMech(unsigned short mechanism) {
    return module->SetXferMech(mechanism);
}
int WINAPI smGetXferCount(short* count) {
    return module->GetXferCount(count);
}
int WINAPI smSetXferCount(int count) {
    return module->SetXferCount(count);
}
int WINAPI smSetIndicatorEnable(int enable) {
    return module->SetIndicatorEnable(enable);
}
int WINAPI smGetPendingCount(unsigned short* count) {
    return module->GetPendingCount(count);
}
int WINAPI smGetMemXferSize(unsigned int* minimum, unsigned int* maximum, unsigned int* preferred) {
    return module->GetMemXferSize(minimum, maximum, preferred);
}
void WINAPI smCancelThisXfer() {
    module->CancelThisXfer();
}
int WINAPI smCancelAllXfer() {
    return module->CancelAllXfer();
}
int WINAPI smPrestoScan(HWND window, const char* title, const PrestoScanSettings* settings) {
    return module->PrestoScan(window, title, settings);
}
int WINAPI smGetKvVersion(unsigned short* version) {
    return module->GetKvVersion(version);
}
int WINAPI smSetKvExposureMode(unsigned short mode) {
    return module->SetKvExposureMode(mode);
}
int WINAPI smSetKvDescreeing(int enable) {
    return module->SetKvDescreeing(enable);
}
int WINAPI smGetMaxResForKvDescreeing(double* dotsPerInch) {
    return module->GetMaxResForKvDescreeing(dotsPerInch);
}
int WINAPI smSetKvDraftScan(int enable) {
    return module->SetKvDraftScan(enable);
}
int WINAPI smGetKvLUT1(unsigned short* table) {
    return module->GetKvLUT1(table);
}
int WINAPI smGetKvLUT2(unsigned short* table) {
    return module->GetKvLUT2(table);
}
int WINAPI smGetKvCC(unsigned short* correction) {
    return module->GetKvCC(correction);
}
int WINAPI smSetKvAutoExposureMode(void* block) {
    return module->SetKvAutoExposureMode(block);
}
int WINAPI smGetKvDefaultRgbMatrix(void* block) {
    return module->GetKvDefaultRgbMatrix(block);
}
int WINAPI smGetKvRgbResponse(void* response) {
    return module->GetKvRgbResponse(response);
}
int WINAPI smSetKvRgbResponse(void* response) {
    return module->SetKvRgbResponse(response);
}
int WINAPI smSetKvUnSharpMask(int enable) {
    return module->SetKvUnSharpMask(enable);
}
int WINAPI smGetKvUnSharpMask(unsigned short* enabled) {
    return module->GetKvUnSharpMask(enabled);
}
int WINAPI smSetKvUIMode(unsigned short mode) {
    return module->SetKvUIMode(mode);
}
int WINAPI smGetKvUIMode(unsigned short* mode) {
    return module->GetKvUIMode(mode);
}
int WINAPI smSetClearPage(int clear) {
    return module->SetClearPage(clear);
}
int WINAPI smGetClearPage(unsigned short* clear) {
    return module->GetClearPage(clear);
}
int WINAPI smSetPIMFlag(int flag) {
    return module->SetPIMFlag(flag);
}
int WINAPI smGetPIMFlag(unsigned short* flag) {
    return module->GetPIMFlag(flag);
}

// smIsPaperLoaded is a second name of smIsADFPaperLoaded, given by the .def file.

int WINAPI smReadBlock(void* buffer, unsigned int size, unsigned int* count) {
    module->ReadBlock(static_cast<uint8_t*>(buffer), size, count);
    return *count == imageOver;
}

BOOL WINAPI DisableWnds(HWND window, LPARAM context) {
    countOrDisable(window, *reinterpret_cast<SmDisableWndsContext*>(context));
    return TRUE;
}
