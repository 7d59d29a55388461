#pragma once

#include <scanmodule/scanmodule.h>

#include <string>

// The exports that hosts use: each becomes a member of ModuleLibrary with the header's own type.
#define HOST_MODULE_FUNCTIONS(USE)  \
    USE(smIsTWAINAvailable)         \
    USE(smIsDSEvent)                \
    USE(smSelectDS)                 \
    USE(smOpenDS)                   \
    USE(smEnableDS)                 \
    USE(smDisableDS)                \
    USE(smCloseDS)                  \
    USE(smGetAllDS)                 \
    USE(smSetDefaultDriver)         \
    USE(smCapNegotiate)             \
    USE(smGetDSProductName)         \
    USE(smGetDSProductFamily)       \
    USE(smIsADFAvailable)           \
    USE(smIsPaperLoaded)            \
    USE(smGetADFEnable)             \
    USE(smSetADFEnable)             \
    USE(smSetAutoFeedEnable)        \
    USE(smGetUnit)                  \
    USE(smGetMaxArea)               \
    USE(smGetPixelFlavor)           \
    USE(smGetPixelType)             \
    USE(smSetPixelType)             \
    USE(smGetSupportedPixelType)    \
    USE(smSetBitDepth)              \
    USE(smGetPaperSize)             \
    USE(smSetPaperSize)             \
    USE(smGetSupportedPaperSize)    \
    USE(smGetXResolution)           \
    USE(smSetXResolution)           \
    USE(smGetYResolution)           \
    USE(smSetYResolution)           \
    USE(smGetXScale)                \
    USE(smSetXScale)                \
    USE(smGetYScale)                \
    USE(smSetYScale)                \
    USE(smSetImageLayout)           \
    USE(smGetImageDim)              \
    USE(smGetDSPalette)             \
    USE(smGetBrightness)            \
    USE(smSetBrightness)            \
    USE(smGetContrast)              \
    USE(smSetContrast)              \
    USE(smGetHighlight)             \
    USE(smSetHighlight)             \
    USE(smGetShadow)                \
    USE(smSetShadow)                \
    USE(smSetThreshold)             \
    USE(smGetGamma)                 \
    USE(smSetGamma)                 \
    USE(smSetLightpath)             \
    USE(smGetXferMech)              \
    USE(smSetXferMech)              \
    USE(smGetXferCount)             \
    USE(smSetXferCount)             \
    USE(smSetIndicatorEnable)       \
    USE(smGetMemXferSize)           \
    USE(smCancelAllXfer)            \
    USE(smReadBlock)                \
    USE(smPrestoScan)               \
    USE(smGetKvVersion)             \
    USE(smSetKvExposureMode)        \
    USE(smSetKvDescreeing)          \
    USE(smGetMaxResForKvDescreeing) \
    USE(smSetKvDraftScan)           \
    USE(smGetKvLUT1)                \
    USE(smGetKvLUT2)                \
    USE(smGetKvCC)                  \
    USE(smSetKvUnSharpMask)         \
    USE(smGetKvUnSharpMask)         \
    USE(smSetKvUIMode)              \
    USE(smGetKvUIMode)              \
    USE(smSetClearPage)             \
    USE(smGetClearPage)             \
    USE(smSetPIMFlag)               \
    USE(smGetPIMFlag)

namespace host {

// ScanModule.dll, loaded from the program's own folder.
class ModuleLibrary {
public:
    // Throws Failure with FailureCode::NoManager when the library or one of the exports is missing.
    ModuleLibrary();
    ModuleLibrary(const ModuleLibrary&) = delete;
    ModuleLibrary& operator=(const ModuleLibrary&) = delete;
    ~ModuleLibrary();

#define HOST_MEMBER(name) decltype(&::name) name = nullptr;
    HOST_MODULE_FUNCTIONS(HOST_MEMBER)
#undef HOST_MEMBER

private:
    HMODULE library_;
};

}  // namespace host
