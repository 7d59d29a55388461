#include "Operation.h"

#include "settings/CapabilityText.h"

#include <cstdio>
#include <map>
#include <set>

#include "ContainerImage.h"

namespace operation {
namespace {

const std::set<Operation> named = {openDsm,    closeDsm,    getDefault,     getFirst,     getNext,
                                   userSelect, openDs,      closeDs,        status,       processEvent,
                                   imageInfo,  setupMemory, nativeTransfer, fileTransfer, memoryTransfer,
                                   palette,    endTransfer, resetTransfers};

const std::map<TW_UINT16, std::string> messageNames = {
    {MSG_GET, "GET"}, {MSG_GETCURRENT, "GETCURRENT"}, {MSG_GETDEFAULT, "GETDEFAULT"},
    {MSG_SET, "SET"}, {MSG_RESET, "RESET"},
};

std::string messageName(TW_UINT16 message) {
    const auto found = messageNames.find(message);
    return found != messageNames.end() ? found->second : "MSG " + std::to_string(message);
}

std::string capabilityText(TW_UINT16 message, const TW_CAPABILITY& capability) {
    std::string text = messageName(message) + " " + capabilityName(capability.Cap);
    if (message == MSG_SET) return text + " " + containerText(capability);
    // What a get asks for, unless it's the usual "any container".
    if (capability.ConType != TWON_DONTCARE16) text += " contype " + std::to_string(capability.ConType);
    if (capability.hContainer != nullptr) text += " with a handle";
    return text;
}

std::string userInterfaceText(TW_UINT16 message, const TW_USERINTERFACE& ui) {
    return std::string(message == MSG_ENABLEDS ? "ENABLEDS" : "DISABLEDS") + " show " +
           std::to_string(ui.ShowUI) + " modal " + std::to_string(ui.ModalUI);
}

std::string frameText(const TW_FRAME& frame) {
    std::string text = "SET IMAGELAYOUT";
    for (const TW_FIX32& side : {frame.Left, frame.Top, frame.Right, frame.Bottom}) {
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
    return vscan::capabilityName(id);
}

std::string text(const Operation& operation, TW_MEMREF data) {
    const auto plain = named.find(operation);
    if (plain != named.end()) return plain->name;
    const std::string message = messageName(operation.message);
    const TW_UINT16 type = data != nullptr ? operation.argumentType : 0;
    if (operation.group == DG_CONTROL && type == DAT_CAPABILITY)
        return capabilityText(operation.message, *static_cast<const TW_CAPABILITY*>(data));
    if (operation.group == DG_CONTROL && type == DAT_USERINTERFACE)
        return userInterfaceText(operation.message, *static_cast<const TW_USERINTERFACE*>(data));
    if (operation.group == DG_CONTROL && type == DAT_SETUPFILEXFER) {
        const auto& setup = *static_cast<const TW_SETUPFILEXFER*>(data);
        return message + " SETUPFILEXFER " + setup.FileName + " format " + std::to_string(setup.Format);
    }
    if (operation.group == DG_IMAGE && type == DAT_IMAGELAYOUT)
        return frameText(static_cast<const TW_IMAGELAYOUT*>(data)->Frame);
    char number[40];
    std::snprintf(number, sizeof number, "DG %lu DAT 0x%04X ", operation.group + 0ul, operation.argumentType);
    return number + message;
}

}  // namespace operation
