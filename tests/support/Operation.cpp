#include "Operation.h"

#include <cstdio>
#include <map>

#include "ContainerImage.h"

namespace operation {
namespace {

const std::map<TW_UINT16, const char*> capabilityNames = {
    {CAP_XFERCOUNT, "CAP_XFERCOUNT"},
    {CAP_FEEDERENABLED, "CAP_FEEDERENABLED"},
    {CAP_FEEDERLOADED, "CAP_FEEDERLOADED"},
    {CAP_AUTOFEED, "CAP_AUTOFEED"},
    {CAP_CLEARPAGE, "CAP_CLEARPAGE"},
    {CAP_INDICATORS, "CAP_INDICATORS"},
    {ICAP_PIXELTYPE, "ICAP_PIXELTYPE"},
    {ICAP_UNITS, "ICAP_UNITS"},
    {ICAP_XFERMECH, "ICAP_XFERMECH"},
    {ICAP_BRIGHTNESS, "ICAP_BRIGHTNESS"},
    {ICAP_CONTRAST, "ICAP_CONTRAST"},
    {ICAP_GAMMA, "ICAP_GAMMA"},
    {ICAP_HIGHLIGHT, "ICAP_HIGHLIGHT"},
    {ICAP_LIGHTPATH, "ICAP_LIGHTPATH"},
    {ICAP_PHYSICALWIDTH, "ICAP_PHYSICALWIDTH"},
    {ICAP_PHYSICALHEIGHT, "ICAP_PHYSICALHEIGHT"},
    {ICAP_SHADOW, "ICAP_SHADOW"},
    {ICAP_XRESOLUTION, "ICAP_XRESOLUTION"},
    {ICAP_YRESOLUTION, "ICAP_YRESOLUTION"},
    {ICAP_SUPPORTEDSIZES, "ICAP_SUPPORTEDSIZES"},
    {ICAP_THRESHOLD, "ICAP_THRESHOLD"},
    {ICAP_XSCALING, "ICAP_XSCALING"},
    {ICAP_YSCALING, "ICAP_YSCALING"},
    {ICAP_PIXELFLAVOR, "ICAP_PIXELFLAVOR"},
    {ICAP_BITDEPTH, "ICAP_BITDEPTH"},
};

const std::map<Operation, const char*> plainNames = {
    {openDsm, "OPENDSM"},
    {closeDsm, "CLOSEDSM"},
    {getDefault, "GETDEFAULT"},
    {getFirst, "GETFIRST"},
    {getNext, "GETNEXT"},
    {userSelect, "USERSELECT"},
    {openDs, "OPENDS"},
    {closeDs, "CLOSEDS"},
    {status, "STATUS"},
    {processEvent, "PROCESSEVENT"},
    {imageInfo, "IMAGEINFO"},
    {setupMemory, "SETUPMEMXFER"},
    {nativeTransfer, "IMAGENATIVEXFER"},
    {fileTransfer, "IMAGEFILEXFER"},
    {memoryTransfer, "IMAGEMEMXFER"},
    {palette, "PALETTE8"},
    {endTransfer, "ENDXFER"},
    {resetTransfers, "RESET"},
};

std::string messageName(TW_UINT16 message) {
    switch (message) {
        case MSG_GET:
            return "GET";
        case MSG_GETCURRENT:
            return "GETCURRENT";
        case MSG_GETDEFAULT:
            return "GETDEFAULT";
        case MSG_SET:
            return "SET";
        case MSG_RESET:
            return "RESET";
        default:
            return "MSG " + std::to_string(message);
    }
}

std::string hexText(unsigned value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%04X", value);
    return text;
}

std::string capabilityText(TW_UINT16 message, const TW_CAPABILITY& capability) {
    const std::string name = messageName(message) + " " + capabilityName(capability.Cap);
    if (message == MSG_SET) return name + " " + containerText(capability);
    // What a get asks for, unless it's the usual "any container".
    std::string oddities;
    if (capability.ConType != TWON_DONTCARE16) oddities += " contype " + std::to_string(capability.ConType);
    if (capability.hContainer != nullptr) oddities += " with a handle";
    return name + oddities;
}

std::string userInterfaceText(TW_UINT16 message, const TW_USERINTERFACE& ui) {
    return std::string(message == MSG_ENABLEDS ? "ENABLEDS" : "DISABLEDS") + " show " +
           std::to_string(ui.ShowUI) + " modal " + std::to_string(ui.ModalUI);
}

std::string frameText(const TW_IMAGELAYOUT& layout) {
    const TW_FIX32 sides[] = {layout.Frame.Left, layout.Frame.Top, layout.Frame.Right, layout.Frame.Bottom};
    std::string text = "SET IMAGELAYOUT";
    for (const TW_FIX32& side : sides) {
        char number[32];
        std::snprintf(number, sizeof number, " %.4f", side.Whole + side.Frac / 65536.0);
        text += number;
    }
    return text;
}

}  // namespace

Operation of(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) {
    Operation operation{group, argumentType, message};
    if (group == DG_CONTROL && argumentType == DAT_CAPABILITY && data != nullptr)
        operation.capability = static_cast<const TW_CAPABILITY*>(data)->Cap;
    return operation;
}

std::string capabilityName(TW_UINT16 id) {
    const auto found = capabilityNames.find(id);
    return found != capabilityNames.end() ? found->second : "CAP " + hexText(id);
}

std::string text(const Operation& operation, TW_MEMREF data) {
    const auto plain = plainNames.find(operation);
    if (plain != plainNames.end()) return plain->second;
    if (operation.group == DG_CONTROL && operation.argumentType == DAT_CAPABILITY && data != nullptr)
        return capabilityText(operation.message, *static_cast<const TW_CAPABILITY*>(data));
    if (operation.group == DG_CONTROL && operation.argumentType == DAT_USERINTERFACE && data != nullptr)
        return userInterfaceText(operation.message, *static_cast<const TW_USERINTERFACE*>(data));
    if (operation.group == DG_CONTROL && operation.argumentType == DAT_SETUPFILEXFER && data != nullptr) {
        const auto& setup = *static_cast<const TW_SETUPFILEXFER*>(data);
        return messageName(operation.message) + " SETUPFILEXFER " + setup.FileName + " format " +
               std::to_string(setup.Format);
    }
    if (operation.group == DG_IMAGE && operation.argumentType == DAT_IMAGELAYOUT && data != nullptr)
        return frameText(*static_cast<const TW_IMAGELAYOUT*>(data));
    return "DG " + std::to_string(operation.group) + " DAT " + hexText(operation.argumentType) + " " +
           messageName(operation.message);
}

}  // namespace operation
