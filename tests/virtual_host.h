// A host of the virtual scanner in the test's own process: it calls the scanner as a source manager would.
#pragma once

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "settings/SettingsReader.h"
#include "source/VirtualScanner.h"
#include "support/ContainerImage.h"

// From words like "Pages=3".
inline vscan::VirtualScannerSettings settingsFrom(std::string text) {
    std::replace(text.begin(), text.end(), ' ', '\n');
    vscan::VirtualScannerSettings settings;
    std::vector<std::string> complaints;
    const auto found = vscan::parseIni("[Scanner]\n" + text, "test", complaints);
    for (const std::string& complaint : applySettings(settings, found))
        throw std::invalid_argument(complaint);
    return settings;
}

inline std::string hex(const std::uint8_t* bytes, size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i)
        for (const int digit : {bytes[i] >> 4, bytes[i] & 15})
            text += "0123456789abcdef"[digit];
    return text;
}

// Operations answer "success" or what else was returned; a failure with its condition code: "failure 11".
class VirtualHost {
public:
    explicit VirtualHost(const std::string& settings = "", int state = 4)
        : scanner(settingsFrom(settings), [this](TW_UINT16 message) { notes.push_back(message); }) {
        if (state >= 4) open();
        if (state >= 5) enable(state == 5);
        if (state >= 6) info();  // the host has seen that the image is ready
        if (state == 7) strip();
        if (scanner.state() != state) throw std::runtime_error("the state can't be reached");
    }

    std::string call(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, void* data) {
        static const char* const names[] = {"success", "", "check", "cancel", "event", "no event", "done"};
        const TW_UINT16 result = scanner.call(group, argumentType, message, data);
        return result == TWRC_FAILURE ? "failure " + std::to_string(condition()) : names[result];
    }
    std::string control(TW_UINT16 argumentType, TW_UINT16 message, void* data = nullptr) {
        return call(DG_CONTROL, argumentType, message, data);
    }
    std::string image(TW_UINT16 argumentType, TW_UINT16 message, void* data = nullptr) {
        return call(DG_IMAGE, argumentType, message, data);
    }
    int condition() {
        TW_STATUS status{0xEEEE, 0xEEEE};
        scanner.call(DG_CONTROL, DAT_STATUS, MSG_GET, &status);
        return status.ConditionCode;
    }

    std::string open() { return control(DAT_IDENTITY, MSG_OPENDS); }
    std::string enable(bool showUi = false) {
        TW_USERINTERFACE request{static_cast<TW_BOOL>(showUi), FALSE, nullptr};
        return control(DAT_USERINTERFACE, MSG_ENABLEDS, &request);
    }
    std::string disable() { return control(DAT_USERINTERFACE, MSG_DISABLEDS); }
    std::string set(TW_UINT16 capability, const ContainerImage& container) {
        TW_CAPABILITY request{capability, container.conType, container.allocate()};
        const std::string result = control(DAT_CAPABILITY, MSG_SET, &request);
        GlobalFree(request.hContainer);
        return result;
    }
    std::string setCode(TW_UINT16 capability, TW_UINT32 value) {
        return set(capability, oneValue(TWTY_UINT16, value));
    }
    // The answer as text, or "failure <condition code>".
    std::string ask(TW_UINT16 capability, TW_UINT16 message = MSG_GETCURRENT) {
        TW_CAPABILITY request{capability, TWON_DONTCARE16, nullptr};
        const std::string result = control(DAT_CAPABILITY, message, &request);
        if (result != "success") return result;
        const std::string text = containerText(request);
        GlobalFree(request.hContainer);
        return text;
    }

    TW_IMAGEINFO info() {
        TW_IMAGEINFO info{};
        image(DAT_IMAGEINFO, MSG_GET, &info);
        return info;
    }
    // The count of pending images after ending this one, or -1.
    int endTransfer(TW_UINT16 message = MSG_ENDXFER) {
        TW_PENDINGXFERS pending{0xEEEE, 0};
        return control(DAT_PENDINGXFERS, message, &pending) == "success" ? pending.Count : -1;
    }
    // The result of asking for a strip of a buffer that nobody looks at.
    std::string strip() {
        std::vector<char> buffer(8192);
        TW_IMAGEMEMXFER request{};
        request.Memory = {TWMF_APPOWNS | TWMF_POINTER, buffer.size(), buffer.data()};
        return image(DAT_IMAGEMEMXFER, MSG_GET, &request);
    }

    std::vector<TW_UINT16> notes;
    vscan::VirtualScanner scanner;
};
