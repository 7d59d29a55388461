// Questions around a scan: the scan area, the palette, the coming image's size, the source's names and a
// summary.
#include <cstring>

#include "TScanModule.h"
#include "capabilities/Units.h"

namespace {

constexpr SmPaletteEntry whiteEntry = {0xFF, 0xFF, 0xFF, 0};
constexpr TW_UINT16 paletteSize = 256;

constexpr uint32_t abilityUnitsPerInch = 1200;
constexpr uint32_t abilityWord18 = 8;
constexpr int16_t raisedResolution = 300;

struct PerInch {
    double x;
    double y;
};

// What an inch is in a unit, across and down; in pixels the source's resolution says it.
PerInch perInch(TScanModule& module, uint16_t unit) {
    if (unit != SM_UNIT_PIXELS) return {factorsOf(unit).perInch, factorsOf(unit).perInch};
    uint16_t x = 0, y = 0, lowest, highest;
    module.GetXResolution(&x, &lowest, &highest);
    module.GetYResolution(&y, &lowest, &highest);
    return {static_cast<double>(x), static_cast<double>(y)};
}

}  // namespace

int32_t TScanModule::SetImageLayout(const SmImageLayout& layout, uint16_t unit) {
    const MethodTrace trace{"TScanModule::SetImageLayout"};
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    if (link_.state >= stateSourceEnabled) return link_.sequenceError(trace);
    const PerInch given = perInch(*this, unit);
    uint16_t sourceUnit = 0;
    GetUnit(&sourceUnit);
    PerInch scale = {1.0, 1.0};
    // Kept: to a source that works in inches the numbers go as they are, whatever their unit.
    if (factorsOf(sourceUnit).code == sourceUnit && sourceUnit != SM_UNIT_INCHES) {
        const PerInch wanted = perInch(*this, sourceUnit);
        scale = {wanted.x / given.x, wanted.y / given.y};
    }
    const auto toFix32 = [](double value) { return numberToFix32(static_cast<float>(value)); };
    TW_IMAGELAYOUT request = {};
    request.Frame.Left = toFix32(layout.Left * scale.x);
    request.Frame.Top = toFix32(layout.Top * scale.y);
    request.Frame.Right = toFix32(layout.Right * scale.x);
    request.Frame.Bottom = toFix32(layout.Bottom * scale.y);
    return link_.request(trace, DG_IMAGE, DAT_IMAGELAYOUT, MSG_SET, &request);
}

int32_t TScanModule::GetDSPalette(SmPalette* palette) {
    const MethodTrace trace{"TScanModule::GetDSPalette"};
    if (const int32_t refused = link_.checkReady(trace)) return refused;
    TW_PALETTE8 given = {};
    const TW_UINT16 code = link_.source(DG_IMAGE, DAT_PALETTE8, MSG_GET, &given);
    for (SmPaletteEntry& entry : palette->Entries)
        entry = whiteEntry;
    if (code != TWRC_SUCCESS) return link_.operationFailed(trace);
    if (given.NumColors > paletteSize) {
        trace.warn("Bad Value, palette.NumColors > 256,");
        return TWCC_BADVALUE;
    }
    for (TW_UINT16 i = 0; i < given.NumColors; ++i) {
        const TW_ELEMENT8& color = given.Colors[i];
        palette->Entries[i] = {color.Channel1, color.Channel2, color.Channel3, 0};
    }
    return 0;
}

void TScanModule::GetImageDim(int32_t* width, int32_t* length) {
    TW_IMAGEINFO info = {};
    const bool known = link_.imageInfo(info) == TWRC_SUCCESS;
    *width = known ? info.ImageWidth : 0;
    *length = known ? info.ImageLength : 0;
}

int32_t TScanModule::GetScanCap(SmScanAbility* ability) {
    const MethodTrace trace{"TScanModule::GetScanCap"};
    uint16_t current = 0, lowest = 0, highest = 0;
    double width = 0.0, height = 0.0;
    uint16_t unit = 0, pixelType = 0, depths = 0;
    uint32_t minBuffer = 0, maxBuffer = 0, preferredBuffer = 0;
    ability->Size = sizeof *ability;
    ability->Zero = 0;
    GetXResolution(&current, &lowest, &highest);
    // Widened with the sign: hosts know 32768 and more as negative numbers.
    const int16_t signedMax = static_cast<int16_t>(highest);
    const int16_t signedCurrent = static_cast<int16_t>(current);
    ability->MaxXResolution = signedMax;
    ability->MinXResolution = static_cast<int16_t>(lowest);
    ability->CurrentXResolution =
        signedCurrent < raisedResolution && signedMax >= raisedResolution ? raisedResolution : signedCurrent;
    GetMaxArea(&width, &height);
    ability->MaxWidth = static_cast<uint32_t>(truncated(width * abilityUnitsPerInch));
    ability->MaxHeight = static_cast<uint32_t>(truncated(height * abilityUnitsPerInch));
    GetUnit(&unit);
    ability->Unit = unit;
    GetPixelType(&pixelType);
    ability->PixelType = pixelType;
    GetMemXferSize(&minBuffer, &maxBuffer, &preferredBuffer);
    ability->MaxBufferSize = maxBuffer;
    // Kept: asked, though the record has no room for it; sources have come to expect the question.
    Getbitdepth(&depths);
    ability->Eight = abilityWord18;
    return 0;
}

int32_t TScanModule::GetDSProductName(char* name) {
    const MethodTrace trace{"TScanModule::GetDSProductName"};
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    lstrcpynA(name, link_.dataSource.ProductName, sizeof link_.dataSource.ProductName);
    return 0;
}

int32_t TScanModule::GetDSProductFamily(char* family) {
    // Kept: its lines name the other getter.
    const MethodTrace trace{"TScanModule::GetDSProductName"};
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    lstrcpynA(family, link_.dataSource.ProductFamily, sizeof link_.dataSource.ProductFamily);
    return 0;
}
