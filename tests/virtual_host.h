// A host of the virtual scanner in the test's own process: it calls the scanner as a source manager would.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "VirtualScanner.h"
#include "support/ContainerImage.h"

// Lines of a vscan.ini.
struct Key {
    std::string name;
    std::string value;
};
using Keys = std::vector<Key>;

inline vscan::VirtualScannerSettings settingsFrom(const Keys& keys) {
    vscan::VirtualScannerSettings settings;
    std::vector<vscan::FoundSetting> found;
    for (const Key& key : keys)
        found.push_back({key.name, key.value, "test"});
    for (const std::string& complaint : vscan::applySettings(settings, found))
        throw std::invalid_argument(complaint);
    return settings;
}

class VirtualHost {
public:
    explicit VirtualHost(const Keys& keys = {})
        : scanner(settingsFrom(keys), [this](TW_UINT16 message) { notes.push_back(message); }) {}

    TW_UINT16 control(TW_UINT16 argumentType, TW_UINT16 message, void* data) {
        return scanner.call(DG_CONTROL, argumentType, message, data);
    }
    TW_UINT16 image(TW_UINT16 argumentType, TW_UINT16 message, void* data) {
        return scanner.call(DG_IMAGE, argumentType, message, data);
    }
    int condition() {
        TW_STATUS status{0xEEEE, 0xEEEE};
        return control(DAT_STATUS, MSG_GET, &status) == TWRC_SUCCESS ? status.ConditionCode : -1;
    }

    TW_UINT16 open() {
        TW_IDENTITY identity{};
        return control(DAT_IDENTITY, MSG_OPENDS, &identity);
    }
    TW_UINT16 close() {
        TW_IDENTITY identity{};
        return control(DAT_IDENTITY, MSG_CLOSEDS, &identity);
    }
    TW_UINT16 enable(bool showUi = false) {
        TW_USERINTERFACE request{static_cast<TW_BOOL>(showUi), FALSE, nullptr};
        return control(DAT_USERINTERFACE, MSG_ENABLEDS, &request);
    }
    TW_UINT16 disable() {
        TW_USERINTERFACE request{};
        return control(DAT_USERINTERFACE, MSG_DISABLEDS, &request);
    }

    TW_UINT16 setContainer(TW_UINT16 capability, const ContainerImage& container) {
        TW_CAPABILITY request{capability, container.conType, container.allocate()};
        const TW_UINT16 result = control(DAT_CAPABILITY, MSG_SET, &request);
        GlobalFree(request.hContainer);
        return result;
    }
    TW_UINT16 set(TW_UINT16 capability, TW_UINT16 itemType, TW_UINT32 item) {
        return setContainer(capability, oneValue(itemType, item));
    }
    TW_UINT16 setNumber(TW_UINT16 capability, double value) {
        return set(capability, TWTY_FIX32, fix32(value));
    }
    TW_UINT16 setCode(TW_UINT16 capability, TW_UINT32 value) { return set(capability, TWTY_UINT16, value); }

    // The answer as text, or "failed <condition code>".
    std::string ask(TW_UINT16 capability, TW_UINT16 message = MSG_GETCURRENT) {
        TW_CAPABILITY request{capability, TWON_DONTCARE16, nullptr};
        if (control(DAT_CAPABILITY, message, &request) != TWRC_SUCCESS)
            return "failed " + std::to_string(condition());
        std::string text = containerText(request);
        GlobalFree(request.hContainer);
        return text;
    }
    // The present value of a one value container in FIX32.
    double number(TW_UINT16 capability) {
        TW_CAPABILITY request{capability, TWON_DONTCARE16, nullptr};
        if (control(DAT_CAPABILITY, MSG_GETCURRENT, &request) != TWRC_SUCCESS) return -1;
        const auto* one = static_cast<const TW_ONEVALUE*>(GlobalLock(request.hContainer));
        const double value = fix32Value(one->Item);
        GlobalUnlock(request.hContainer);
        GlobalFree(request.hContainer);
        return value;
    }

    TW_IMAGEINFO info() {
        TW_IMAGEINFO info{};
        image(DAT_IMAGEINFO, MSG_GET, &info);
        return info;
    }
    // The count of pending images after ending this one, or -1.
    int endTransfer(TW_UINT16 message = MSG_ENDXFER) {
        TW_PENDINGXFERS pending{0xEEEE, 0};
        return control(DAT_PENDINGXFERS, message, &pending) == TWRC_SUCCESS ? pending.Count : -1;
    }
    // One strip into a buffer.
    TW_UINT16 strip(TW_IMAGEMEMXFER& strip, void* buffer, TW_UINT32 length) {
        strip = {};
        strip.Memory = {TWMF_APPOWNS | TWMF_POINTER, length, buffer};
        return image(DAT_IMAGEMEMXFER, MSG_GET, &strip);
    }

    std::vector<TW_UINT16> notes;
    vscan::VirtualScanner scanner;
};
