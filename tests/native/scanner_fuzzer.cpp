// The virtual scanner: its settings file and every operation that a host may ask it for, in any order and
// with any record.
#include <algorithm>
#include <memory>
#include <vector>

#include "ScriptedSource.h"
#include "World.h"
#include "settings/SettingsReader.h"
#include "source/SourceWindow.h"
#include "source/VirtualScanner.h"

namespace {

vscan::SourceWindow* shown = nullptr;

}  // namespace

// The scanner's window without one: only what its controls do.
namespace vscan {

SourceWindow::SourceWindow(HWND, const VirtualScannerSettings&, const ScanChoices& choices,
                           WindowHandlers handlers)
    : window_(GetDesktopWindow()), choices_(choices), handlers_(std::move(handlers)) {
    shown = this;
}
SourceWindow::~SourceWindow() { shown = nullptr; }
void SourceWindow::setBusy(bool, const std::string&) {}
bool SourceWindow::takes(MSG& message) const {
    ScanChoices choices = choices_;
    const unsigned number = message.message >> 3;
    if (message.message & 4) {
        const auto which = static_cast<ListChoice>(number % 3);
        const auto places = choices.offer(which).texts.size();
        if (places > 0) choices.choose(which, static_cast<int>(number % places));
        choices.choose(static_cast<ScaleChoice>(number % 2), static_cast<int>(number % 2001) - 1000);
        choices.summary();
        handlers_.preview(static_cast<int>(number % 40) + 1, 30);
    }
    const std::function<void()> handler = message.message & 1 ? handlers_.scan : handlers_.cancel;
    if (message.message & 2) handler();
    return (message.message & 2) != 0;
}

}  // namespace vscan

namespace {

struct Operation {
    TW_UINT32 group;
    TW_UINT16 argumentType;
    size_t size;  // of the record
};
constexpr Operation operations[] = {
    {DG_CONTROL, DAT_CAPABILITY, sizeof(TW_CAPABILITY)},
    {DG_IMAGE, DAT_IMAGEMEMXFER, sizeof(TW_IMAGEMEMXFER)},
    {DG_CONTROL, DAT_USERINTERFACE, sizeof(TW_USERINTERFACE)},
    {DG_IMAGE, DAT_IMAGEINFO, sizeof(TW_IMAGEINFO)},
    {DG_CONTROL, DAT_PENDINGXFERS, sizeof(TW_PENDINGXFERS)},
    {DG_IMAGE, DAT_IMAGENATIVEXFER, sizeof(HGLOBAL)},
    {DG_CONTROL, DAT_EVENT, sizeof(TW_EVENT)},
    {DG_IMAGE, DAT_IMAGEFILEXFER, 0},
    {DG_CONTROL, DAT_SETUPMEMXFER, sizeof(TW_SETUPMEMXFER)},
    {DG_IMAGE, DAT_IMAGELAYOUT, sizeof(TW_IMAGELAYOUT)},
    {DG_CONTROL, DAT_STATUS, sizeof(TW_STATUS)},
    {DG_IMAGE, DAT_PALETTE8, sizeof(TW_PALETTE8)},
    {DG_CONTROL, DAT_IDENTITY, sizeof(TW_IDENTITY)},
    {DG_IMAGE, DAT_RGBRESPONSE, 256 * sizeof(TW_ELEMENT8)},
    {DG_CONTROL, DAT_XFERGROUP, sizeof(TW_UINT32)},
    {DG_IMAGE, KV_DAT_DEFAULTRGBMATRIX, 36},
};
constexpr TW_UINT16 messages[] = {MSG_GET,    MSG_GETCURRENT, MSG_GETDEFAULT, MSG_SET,
                                  MSG_RESET,  MSG_ENABLEDS,   MSG_DISABLEDS,  MSG_QUERYSUPPORT,
                                  MSG_OPENDS, MSG_CLOSEDS,    MSG_ENDXFER,    MSG_PROCESSEVENT};
constexpr TW_UINT16 capabilities[] = {
    CAP_XFERCOUNT,     ICAP_XFERMECH,       ICAP_PIXELTYPE,    ICAP_UNITS,       ICAP_XRESOLUTION,
    ICAP_YRESOLUTION,  ICAP_XSCALING,       ICAP_BRIGHTNESS,   ICAP_HIGHLIGHT,   ICAP_GAMMA,
    CAP_FEEDERENABLED, ICAP_SUPPORTEDSIZES, ICAP_PLANARCHUNKY, CAP_SUPPORTEDCAPS};

vscan::VirtualScannerSettings readSettings() {
    Script& script = world.script;
    std::string text = "[Scanner]\n";
    for (uint8_t lines = script.byte() % 8; lines > 0; --lines) {
        const auto& keys = vscan::settingKeys();
        text += keys[script.byte() % keys.size()].name + "=" + script.text(script.byte() & 0x1F) + "\n";
    }
    text += script.text(script.byte() & 0x3F);
    vscan::VirtualScannerSettings settings;
    std::vector<std::string> complaints;
    applySettings(settings, vscan::parseIni(text, "vscan.ini", complaints));
    for (const vscan::SettingKey& key : vscan::settingKeys())
        if (!key.apply(settings, key.show(settings)) && key.name != "Manufacturer")
            complaints.push_back(key.name);
    // These end or hold up whoever runs the scanner, on purpose.
    if (settings.openFault >= vscan::OpenFault::Hang) settings.openFault = vscan::OpenFault::None;
    settings.failBy = vscan::FailBy::Code;
    // Small pages only, so that many can be had.
    settings.bedWidth = settings.bedHeight = 1.5;
    settings.maxResolution = std::min(settings.maxResolution, 100);
    return settings;
}

void operate(vscan::VirtualScanner& scanner) {
    Script& script = world.script;
    const Operation& operation = operations[script.byte() % std::size(operations)];
    const uint8_t how = script.byte();
    const TW_UINT16 message = messages[how % std::size(messages)];
    const std::unique_ptr<uint8_t[]> record(new uint8_t[operation.size]);
    std::unique_ptr<uint8_t[]> strip;
    MSG event = {};
    TW_CAPABILITY cap = {capabilities[script.byte() % std::size(capabilities)], TWON_DONTCARE16, nullptr};
    script.fill(record.get(), std::min<size_t>(operation.size, message == MSG_SET ? 40 : 0));
    if (operation.argumentType == DAT_CAPABILITY) {
        if (message == MSG_SET) putContainer(cap, script.byte() % 16);
        std::memcpy(record.get(), &cap, sizeof cap);
    } else if (operation.argumentType == DAT_IMAGEMEMXFER) {
        const uint32_t size = script.number() & 0x3FFF;
        strip.reset(new uint8_t[size]);
        TW_IMAGEMEMXFER request = {};
        request.Memory = {TWMF_APPOWNS | TWMF_POINTER, size, strip.get()};
        if (how & 0x80) request.Memory = {TWMF_HANDLE, script.number(), foreignBlock(strip.get(), size)};
        std::memcpy(record.get(), &request, sizeof request);
        scanner.call(operation.group, operation.argumentType, MSG_GET, record.get());
        if (how & 0x80) GlobalFree(request.Memory.TheMem);
        return;
    } else if (operation.argumentType == DAT_EVENT) {
        event.message = script.byte();
        TW_EVENT request = {&event, 0};
        std::memcpy(record.get(), &request, sizeof request);
    }
    const bool gone = how >= 0xF8;
    const TW_UINT16 result = scanner.call(operation.group, operation.argumentType, message,
                                          gone || operation.size == 0 ? nullptr : record.get());
    HGLOBAL given = nullptr;
    if (operation.argumentType == DAT_CAPABILITY) std::memcpy(&given, record.get() + 4, sizeof given);
    if (operation.argumentType == DAT_IMAGENATIVEXFER && result == TWRC_XFERDONE)
        std::memcpy(&given, record.get(), sizeof given);
    if (cap.hContainer != given) GlobalFree(cap.hContainer);
    GlobalFree(given);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    world.script = Script{bytes, size};
    {
        vscan::VirtualScanner scanner(readSettings(), [](TW_UINT16) {});
        TW_USERINTERFACE request = {};
        TW_SETUPFILEXFER file = {};
        std::strcpy(file.FileName, "/dev/null");
        scanner.call(DG_CONTROL, DAT_IDENTITY, MSG_OPENDS, nullptr);
        scanner.call(DG_CONTROL, DAT_SETUPFILEXFER, MSG_SET, &file);
        if (world.script.byte() & 1) scanner.call(DG_CONTROL, DAT_USERINTERFACE, MSG_ENABLEDS, &request);
        while (!world.script.isOver())
            operate(scanner);
    }
    endWorld();
    return 0;
}
