// What hosts were built against, checked when the library is: the places of all fields of the records (their
// sizes are checked where the header is compiled), and the header's version.
#include <Version.h>
#include <scanmodule/scanmodule.h>

#include <cstddef>

static_assert(SM_VERSION_MAJOR == SCANMODULE_VERSION_MAJOR);
static_assert(SM_VERSION_MINOR == SCANMODULE_VERSION_MINOR);
static_assert(SM_VERSION_PATCH == SCANMODULE_VERSION_PATCH);

static_assert(offsetof(SmBufferDescriptor, BufferSize) == 0);
static_assert(offsetof(SmBufferDescriptor, BufferPointer) == 4);

static_assert(offsetof(TXferImageInfo, XResolution) == 0);
static_assert(offsetof(TXferImageInfo, YResolution) == 2);
static_assert(offsetof(TXferImageInfo, ImageWidth) == 4);
static_assert(offsetof(TXferImageInfo, ImageLength) == 8);
static_assert(offsetof(TXferImageInfo, SamplesPerPixel) == 12);
static_assert(offsetof(TXferImageInfo, BitsPerSample) == 14);
static_assert(offsetof(TXferImageInfo, BitsPerPixel) == 30);
static_assert(offsetof(TXferImageInfo, Planar) == 32);
static_assert(offsetof(TXferImageInfo, PixelTypeFlag) == 36);
static_assert(offsetof(TXferImageInfo, Compression) == 38);
static_assert(offsetof(TXferImageInfo, XferMech) == 40);
static_assert(offsetof(TXferImageInfo, Target) == 42);

static_assert(offsetof(TXferStripInfo, XResolution) == 0);
static_assert(offsetof(TXferStripInfo, YResolution) == 2);
static_assert(offsetof(TXferStripInfo, ImageWidth) == 4);
static_assert(offsetof(TXferStripInfo, ImageLength) == 8);
static_assert(offsetof(TXferStripInfo, SamplesPerPixel) == 12);
static_assert(offsetof(TXferStripInfo, BitsPerSample) == 14);
static_assert(offsetof(TXferStripInfo, BitsPerPixel) == 30);
static_assert(offsetof(TXferStripInfo, Planar) == 32);
static_assert(offsetof(TXferStripInfo, PixelTypeFlag) == 36);
static_assert(offsetof(TXferStripInfo, Compression) == 38);
static_assert(offsetof(TXferStripInfo, XferMech) == 40);
static_assert(offsetof(TXferStripInfo, BytesPerRow) == 42);
static_assert(offsetof(TXferStripInfo, Columns) == 46);
static_assert(offsetof(TXferStripInfo, Rows) == 50);
static_assert(offsetof(TXferStripInfo, XOffset) == 54);
static_assert(offsetof(TXferStripInfo, YOffset) == 58);
static_assert(offsetof(TXferStripInfo, BytesWritten) == 62);
static_assert(offsetof(TXferStripInfo, DibAligned) == 66);
static_assert(offsetof(TXferStripInfo, Buffer) == 70);

static_assert(offsetof(PrestoScanSettings, FrameLeft) == 0);
static_assert(offsetof(PrestoScanSettings, FrameTop) == 8);
static_assert(offsetof(PrestoScanSettings, FrameRight) == 16);
static_assert(offsetof(PrestoScanSettings, FrameBottom) == 24);
static_assert(offsetof(PrestoScanSettings, FrameUnit) == 32);
static_assert(offsetof(PrestoScanSettings, PixelType) == 34);
static_assert(offsetof(PrestoScanSettings, Resolution) == 36);
static_assert(offsetof(PrestoScanSettings, Brightness) == 38);
static_assert(offsetof(PrestoScanSettings, BrightnessMin) == 40);
static_assert(offsetof(PrestoScanSettings, BrightnessMax) == 42);
static_assert(offsetof(PrestoScanSettings, Contrast) == 44);
static_assert(offsetof(PrestoScanSettings, ContrastMin) == 46);
static_assert(offsetof(PrestoScanSettings, ContrastMax) == 48);
static_assert(offsetof(PrestoScanSettings, Highlight) == 50);
static_assert(offsetof(PrestoScanSettings, HighlightMin) == 52);
static_assert(offsetof(PrestoScanSettings, HighlightMax) == 54);
static_assert(offsetof(PrestoScanSettings, Shadow) == 56);
static_assert(offsetof(PrestoScanSettings, ShadowMin) == 58);
static_assert(offsetof(PrestoScanSettings, ShadowMax) == 60);
static_assert(offsetof(PrestoScanSettings, ModalUI) == 62);
static_assert(offsetof(PrestoScanSettings, MorePages) == 66);
static_assert(offsetof(PrestoScanSettings, ShowUI) == 70);
static_assert(offsetof(PrestoScanSettings, FeederEnable) == 74);

static_assert(offsetof(SmScanAbility, Size) == 0);
static_assert(offsetof(SmScanAbility, Unused1) == 4);
static_assert(offsetof(SmScanAbility, Zero) == 56);
static_assert(offsetof(SmScanAbility, MaxXResolution) == 60);
static_assert(offsetof(SmScanAbility, MinXResolution) == 64);
static_assert(offsetof(SmScanAbility, CurrentXResolution) == 68);
static_assert(offsetof(SmScanAbility, Eight) == 72);
static_assert(offsetof(SmScanAbility, MaxWidth) == 76);
static_assert(offsetof(SmScanAbility, MaxHeight) == 80);
static_assert(offsetof(SmScanAbility, Unit) == 84);
static_assert(offsetof(SmScanAbility, PixelType) == 88);
static_assert(offsetof(SmScanAbility, MaxBufferSize) == 92);
static_assert(offsetof(SmScanAbility, Unused2) == 96);

static_assert(offsetof(SmImageLayout, Left) == 0);
static_assert(offsetof(SmImageLayout, Top) == 8);
static_assert(offsetof(SmImageLayout, Right) == 16);
static_assert(offsetof(SmImageLayout, Bottom) == 24);

static_assert(offsetof(SmPaletteEntry, Channel1) == 0);
static_assert(offsetof(SmPaletteEntry, Channel2) == 1);
static_assert(offsetof(SmPaletteEntry, Channel3) == 2);
static_assert(offsetof(SmPaletteEntry, Zero) == 3);

static_assert(offsetof(SmPalette, Entries) == 0);

static_assert(offsetof(SmDisableWndsContext, Reserved) == 0);
static_assert(offsetof(SmDisableWndsContext, Count) == 4);
static_assert(offsetof(SmDisableWndsContext, NextSlot) == 8);
