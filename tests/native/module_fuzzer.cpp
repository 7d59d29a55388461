// The whole module between a source and a host that do what the fuzzer's bytes say: what the source answers,
// which exports the host calls, and what its handlers do with what they are shown.
#include <scanmodule/scanmodule.h>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include "ScriptedSource.h"
#include "World.h"

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved);

namespace {

using Number = unsigned short;

int depth = 0;
HGLOBAL hostsDib = nullptr;
std::vector<std::unique_ptr<uint8_t[]>> hostsBuffers;

int (*const plainCalls[])() = {smIsTWAINAvailable, smDisableDS, smCloseDS, smCancelAllXfer};
int (*const intSetters[])(int) = {smSetADFEnable,       smSetAutoFeedEnable, smSetXferCount,
                                  smSetIndicatorEnable, smSetKvDescreeing,   smSetKvDraftScan,
                                  smSetKvUnSharpMask,   smSetClearPage,      smSetPIMFlag};
int (*const numberSetters[])(Number) = {
    smSetPixelType,          smSetSupportedPixelType, smSetBitDepth,    smSetPaperSize,
    smSetSupportedPaperSize, smSetXResolution,        smSetYResolution, smSetLightpath,
    smSetXferMech,           smSetKvExposureMode,     smSetKvUIMode};
int (*const numberGetters[])(Number*) = {smIsADFAvailable,
                                         smIsADFPaperLoaded,
                                         smGetADFEnable,
                                         smGetUnit,
                                         smGetPixelFlavor,
                                         smGetPixelType,
                                         smGetSupportedPixelType,
                                         smGetPaperSize,
                                         smGetSupportedPaperSize,
                                         smGetXferMech,
                                         smGetPendingCount,
                                         smGetKvVersion,
                                         smGetKvLUT1,
                                         smGetKvLUT2,
                                         smGetKvCC,
                                         smGetKvUnSharpMask,
                                         smGetKvUIMode,
                                         smGetClearPage,
                                         smGetPIMFlag};
int (*const toneGetters[])(short*, short, short) = {smGetBrightness, smGetContrast, smGetHighlight,
                                                    smGetShadow};
int (*const toneSetters[])(short, short, short) = {smSetBrightness, smSetContrast, smSetHighlight,
                                                   smSetShadow, smSetThreshold};
int (*const realSetters[])(double) = {smSetXScale, smSetYScale, smSetGamma};
int (*const realGetters[])(double*) = {smGetGamma, smGetMaxResForKvDescreeing};
int (*const rangeGetters[])(Number*, Number*, Number*) = {smGetXResolution, smGetYResolution};
int (*const scaleGetters[])(double*, double*, double*) = {smGetXScale, smGetYScale};
int (*const blockCalls[])(void*) = {smSetKvAutoExposureMode, smGetKvDefaultRgbMatrix, smGetKvRgbResponse,
                                    smSetKvRgbResponse};
int (*const nameGetters[])(char*) = {smGetDSProductName, smGetDSProductFamily};

template <class Function, size_t count>
Function pick(Function const (&functions)[count]) {
    return functions[world.script.byte() % count];
}
short someShort() { return static_cast<short>(world.script.number()); }
double someReal() {
    double value;
    if (world.script.byte() & 1) return static_cast<int>(world.script.number()) / 7.0;
    world.script.fill(&value, sizeof value);
    return value;
}
uint8_t* hostsBuffer(size_t size) {
    hostsBuffers.emplace_back(new uint8_t[size]);
    return hostsBuffers.back().get();
}

void deliver() {
    MSG message = {};
    smIsDSEvent(&message);
}

void readBlock() {
    const uint32_t size = world.script.number() & 0xFFFF;
    unsigned count = 0;
    int width, length;
    // As a careful host does, who can't know that the source will say something else the next time.
    smGetImageDim(&width, &length);
    const bool keeps = std::exchange(source.keepsImage, true);
    // The room that the header asks for; a width that nobody knows has none to ask for.
    smReadBlock(hostsBuffer(size + (source.widthUnknown ? 1 << 22 : source.widestRow)), size, &count);
    source.keepsImage = keeps;
}

void prestoScan(bool plain) {
    PrestoScanSettings settings;
    world.script.fill(&settings, plain ? 0 : sizeof settings);
    smPrestoScan(GetDesktopWindow(), plain ? nullptr : "title", plain ? nullptr : &settings);
}

void negotiate() {
    TW_CAPABILITY cap = {static_cast<TW_UINT16>(world.script.number()), TWON_DONTCARE16, nullptr};
    if (world.script.byte() & 1) cap.Cap = ICAP_XFERMECH;
    const auto message = static_cast<TW_UINT16>(world.script.byte() & 1 ? +MSG_SET : +MSG_GET);
    if (message == MSG_SET) putContainer(cap, 1);
    smCapNegotiate(message, &cap);
    GlobalFree(cap.hContainer);
}

void disableWindows() {
    SmDisableWndsContext context = {0, 0, nullptr};
    const int count = world.script.byte() % 5;
    for (int i = 0; i < count; ++i)
        DisableWnds(GetDesktopWindow(), reinterpret_cast<LPARAM>(&context));
    const std::unique_ptr<HWND[]> windows(new HWND[context.Count]);
    context.NextSlot = windows.get();
    for (int i = 0; i < count; ++i)
        DisableWnds(GetDesktopWindow(), reinterpret_cast<LPARAM>(&context));
}

void callModule() {
    Number numbers[3];
    unsigned sizes[3];
    double reals[3];
    short tone;
    int sides[2];
    char name[34];
    uint8_t block[1024] = {};
    SmPalette palette;
    SmScanAbility ability = {};
    Script& script = world.script;
    switch (script.byte() % 28) {
        case 0: return deliver();
        case 1: return readBlock();
        case 2: smOpenDS(GetDesktopWindow(), script.text(script.byte() & 0x3F).c_str()); return;
        case 3: smEnableDS(script.byte() & 1, script.byte() & 1); return;
        case 4: smCancelThisXfer(); return;
        case 5: return prestoScan(script.byte() & 1);
        case 6: return negotiate();
        case 7: smSelectDS(nullptr); return;
        case 8: smGetAllDS("list.ini"); return;
        case 9: smSetDefaultDriver(GetDesktopWindow(), script.text(script.byte() & 0x3F).c_str()); return;
        case 10: smSetImageLayout({someReal(), someReal(), someReal(), someReal()}, script.byte()); return;
        case 11: smIsThisDPIAvailable(script.number(), script.number()); return;
        case 12: smGetMaxArea(reals, reals + 1); return;
        case 13: smGetDSPalette(&palette); return;
        case 14: smGetScanCap(&ability); return;
        case 15: smGetImageDim(sides, sides + 1); return;
        case 16: smGetMemXferSize(sizes, sizes + 1, sizes + 2); return;
        case 17: smGetXferCount(&tone); return;
        case 18: return disableWindows();
        case 19: pick(intSetters)(static_cast<int>(script.number())); return;
        case 20: pick(numberSetters)(static_cast<Number>(script.number())); return;
        case 21: pick(numberGetters)(numbers); return;
        case 22: pick(toneGetters)(&tone, someShort(), someShort()); return;
        case 23: pick(toneSetters)(someShort(), someShort(), someShort()); return;
        case 24:
            pick(realSetters)(someReal());
            pick(realGetters)(reals);
            return;
        case 25:
            pick(rangeGetters)(numbers, numbers + 1, numbers + 2);
            pick(scaleGetters)(reals, reals + 1, reals + 2);
            return;
        case 26:
            pick(blockCalls)(block);
            pick(nameGetters)(name);
            return;
        case 27: pick(plainCalls)(); return;
    }
}

void callFromInside() {
    if (world.script.isOver() || depth == 2) return;
    ++depth;
    callModule();
    --depth;
}

// To the brim, without an end, and full of what the module takes for directives.
void putFileName(char* name) {
    const uint8_t how = world.script.byte();
    std::strcpy(name, "page.bmp");
    for (int i = 0; how != 0 && i < SM_FILE_NAME_SIZE; ++i)
        name[i] = static_cast<char>(i % 2 == 0 ? '%' : how);
}

void prepareTransfer(TXferImageInfo& image) {
    Script& script = world.script;
    const uint8_t how = script.byte();
    if (image.XferMech == SM_MECH_NATIVE) {
        GlobalFree(hostsDib);
        hostsDib = nullptr;
        if (how & 1) image.Target.Dib = &hostsDib;
    } else if (image.XferMech == SM_MECH_FILE) {
        putFileName(image.Target.FileName);
    } else if (how & 1) {
        const unsigned size = script.number() & 0xFFFF;
        *image.Target.Buffer = {size, hostsBuffer(size)};
    }
}

void handle(UINT message, WPARAM, LPARAM record) {
    static const UINT start = RegisterWindowMessageA(SM_MESSAGE_XFERSTART);
    static const UINT data = RegisterWindowMessageA(SM_MESSAGE_XFERDATA);
    static const UINT name = RegisterWindowMessageA(SM_MESSAGE_SCANTOFILEGETNAME);
    Script& script = world.script;
    if (message == start) prepareTransfer(*reinterpret_cast<TXferImageInfo*>(record));
    if (message == data) {
        const auto& strip = *reinterpret_cast<TXferStripInfo*>(record);
        checkBytes(strip.Buffer->BufferPointer, std::min(strip.BytesWritten, strip.Buffer->BufferSize));
    }
    if (message == name) putFileName(reinterpret_cast<char*>(record));
    const uint8_t how = script.byte();
    if (how >= 0xC0) callFromInside();
    if (how == 0xBF) world.windowIsGone = true;
    if (how == 0xBE) smCancelThisXfer();
    if (how == 0xBD) smCancelAllXfer();
}

// How far the session is when the script begins; so far all goes well.
void begin(uint8_t stage) {
    source = {stage & 3u, callFromInside, {}, false, 0, false};
    DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
    if (stage & 4) return;
    if (stage & 8) return prestoScan(true);
    smOpenDS(GetDesktopWindow(), "host");
    smSetXferMech(static_cast<Number>(1 << (stage & 3)));
    if ((stage & 0x10) == 0) smEnableDS(stage & 0x20, TRUE);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    if (size < 2) return 0;
    world.oddities = bytes[0];
    world.entry = reinterpret_cast<FARPROC>(scriptedEntry);
    world.tell = handle;
    begin(bytes[1]);
    world.script = Script{bytes + 2, size - 2};
    do {
        callModule();
    } while (!world.script.isOver());
    deliver();
    DllMain(nullptr, DLL_PROCESS_DETACH, nullptr);
    GlobalFree(hostsDib);
    hostsDib = nullptr;
    hostsBuffers.clear();
    endWorld();
    return 0;
}
