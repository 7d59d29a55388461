// A host of the virtual scanner in the test's own process: it calls the scanner as a source manager would.
#pragma once

#include <doctest.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "settings/CapabilityText.h"
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
        : scanner(settingsFrom(settings), [this](TW_UINT16 message) {
              notes += message == MSG_XFERREADY ? "ready " : message == MSG_CLOSEDSREQ ? "close " : "? ";
          }) {
        if (state >= 4) answer("open");
        if (state >= 5) answer(state == 5 ? "show" : "enable");
        if (state >= 6) answer("image");  // the host has seen that the image is ready
        if (state == 7) answer("strip");
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
    std::string set(TW_UINT16 capability, const ContainerImage& container) {
        TW_CAPABILITY request{capability, container.conType, container.allocate()};
        const std::string result = control(DAT_CAPABILITY, MSG_SET, &request);
        GlobalFree(request.hContainer);
        return result;
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

    // Takes the steps of a story, "show: check; state: 6", and compares their answers.
    void check(const std::string& story) {
        std::string told;
        for (size_t start = 0, end = 0; start < story.size(); start = end + 2) {
            end = std::min(story.find("; ", start), story.size());
            const std::string step = story.substr(start, story.find(':', start) - start);
            told += (start > 0 ? "; " : "") + step + ": " + answer(step);
        }
        CHECK(told == story);
    }
    // A step is an operation, something to look at, or a capability, to set it when there is a value:
    // "ICAP_UNITS 1", to ask for its current value, "ICAP_UNITS", or for all of it, "ICAP_UNITS?".
    std::string answer(const std::string& step) {
        std::istringstream words(step);
        std::string name;
        words >> name;
        const std::vector<double> values{std::istream_iterator<double>(words), {}};
        if (name == "open") return control(DAT_IDENTITY, MSG_OPENDS);
        if (name == "close") return control(DAT_IDENTITY, MSG_CLOSEDS);
        if (name == "enable" || name == "show") return enable(name == "show");
        if (name == "disable") return control(DAT_USERINTERFACE, MSG_DISABLEDS);
        if (name == "strip") return strip();
        if (name == "end") return pendingAfter(MSG_ENDXFER);
        if (name == "reset") return pendingAfter(MSG_RESET);
        if (name == "state") return std::to_string(scanner.state());
        if (name == "page") return std::to_string(scanner.request().pageNumber);
        if (name == "notes") return notes;
        if (name == "image") return imageText();
        if (name == "frame") return values.empty() ? frameText() : setFrame(values);
        const bool all = name.back() == '?';
        const auto id = vscan::capabilityFromText(name.substr(0, name.size() - all));
        const auto capability = static_cast<TW_UINT16>(id.value());
        return values.empty() ? ask(capability, all ? MSG_GET : MSG_GETCURRENT)
                              : setTo(capability, values[0]);
    }

    std::string notes;  // what the scanner told its host: "ready close "
    vscan::VirtualScanner scanner;

private:
    std::string enable(bool showUi) {
        TW_USERINTERFACE request{static_cast<TW_BOOL>(showUi), FALSE, nullptr};
        return control(DAT_USERINTERFACE, MSG_ENABLEDS, &request);
    }
    // Asks for a strip in a buffer that nobody looks at.
    std::string strip() {
        std::vector<char> buffer(8192);
        TW_IMAGEMEMXFER request{};
        request.Memory = {TWMF_APPOWNS | TWMF_POINTER, buffer.size(), buffer.data()};
        return image(DAT_IMAGEMEMXFER, MSG_GET, &request);
    }
    std::string pendingAfter(TW_UINT16 message) {
        TW_PENDINGXFERS pending{0xEEEE, 0};
        const std::string result = control(DAT_PENDINGXFERS, message, &pending);
        return result == "success" ? std::to_string(pending.Count) : result;
    }
    std::string imageText() {
        TW_IMAGEINFO info{};
        image(DAT_IMAGEINFO, MSG_GET, &info);
        return std::to_string(info.ImageWidth) + " x " + std::to_string(info.ImageLength) + ", " +
               std::to_string(info.BitsPerPixel) + " bit";
    }
    std::string frameText() {
        TW_IMAGELAYOUT layout{};
        image(DAT_IMAGELAYOUT, MSG_GET, &layout);
        return std::to_string(layout.Frame.Right.Whole) + " x " + std::to_string(layout.Frame.Bottom.Whole);
    }
    std::string setFrame(const std::vector<double>& edges) {
        TW_IMAGELAYOUT layout{};
        TW_UINT32 frame[4];
        std::transform(edges.begin(), edges.end(), frame, fix32);
        std::memcpy(&layout.Frame, frame, sizeof frame);
        return image(DAT_IMAGELAYOUT, MSG_SET, &layout);
    }
    // In the item type that the scanner itself uses.
    std::string setTo(TW_UINT16 capability, double value) {
        TW_CAPABILITY request{capability, TWON_DONTCARE16, nullptr};
        control(DAT_CAPABILITY, MSG_GETCURRENT, &request);
        TW_ONEVALUE one = *static_cast<TW_ONEVALUE*>(GlobalLock(request.hContainer));
        GlobalFree(request.hContainer);
        const auto whole = static_cast<TW_UINT32>(static_cast<int>(value));
        return set(capability, oneValue(one.ItemType, one.ItemType == TWTY_FIX32 ? fix32(value) : whole));
    }
};

// What a host does with a scanner of these settings, from a TWAIN state on.
struct Story {
    std::string settings, steps;
    int state = 4;
};

template <class Stories>
void checkStories(const Stories& stories) {
    for (const Story& story : stories) {
        CAPTURE(story.settings);
        VirtualHost(story.settings, story.state).check(story.steps);
    }
}
