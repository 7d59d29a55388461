// A host of the virtual scanner in the test's own process: it calls the scanner as a source manager would.
#pragma once

#include <doctest.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "capabilities/CapabilityTable.h"
#include "settings/CapabilityText.h"
#include "settings/SettingsReader.h"
#include "source/VirtualScanner.h"
#include "support/ContainerImage.h"

// From words like "Pages=3".
inline vscan::VirtualScannerSettings settingsFrom(std::string text) {
    std::replace(text.begin(), text.end(), ' ', '\n');
    vscan::VirtualScannerSettings settings;
    std::vector<std::string> complaints;
    REQUIRE(applySettings(settings, vscan::parseIni("[Scanner]\n" + text, "test", complaints)).empty());
    return settings;
}

inline std::string hex(const std::uint8_t* bytes, size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i)
        for (const int digit : {bytes[i] >> 4, bytes[i] & 15})
            text += "0123456789abcdef"[digit];
    return text;
}

struct HostOperation {
    std::string name;
    TW_UINT32 group;
    TW_UINT16 argumentType, message;
    std::string states;  // in which it may be asked for
};

// All that the scanner knows; what isn't in a story has no name. The states are the TWAIN standard's, but for
// three: a status may be asked for after a refused opening, response curves may be read, and a host that
// gives up in the middle of an image may send nothing but MSG_RESET.
constexpr TW_UINT32 C = DG_CONTROL, I = DG_IMAGE;
inline const HostOperation hostOperations[] = {{"open", C, DAT_IDENTITY, MSG_OPENDS, "3"},
                                               {"close", C, DAT_IDENTITY, MSG_CLOSEDS, "4"},
                                               {"-", C, DAT_IDENTITY, MSG_GET, "34567"},
                                               {"-", C, DAT_STATUS, MSG_GET, "34567"},
                                               {"-", C, DAT_CAPABILITY, MSG_GET, "4567"},
                                               {"-", C, DAT_CAPABILITY, MSG_GETCURRENT, "4567"},
                                               {"-", C, DAT_CAPABILITY, MSG_GETDEFAULT, "4567"},
                                               {"-", C, DAT_CAPABILITY, MSG_QUERYSUPPORT, "4567"},
                                               {"-", C, DAT_CAPABILITY, MSG_SET, "4"},
                                               {"-", C, DAT_CAPABILITY, MSG_RESET, "4"},
                                               {"event", C, DAT_EVENT, MSG_PROCESSEVENT, "567"},
                                               {"enable", C, DAT_USERINTERFACE, MSG_ENABLEDS, "4"},
                                               {"disable", C, DAT_USERINTERFACE, MSG_DISABLEDS, "5"},
                                               {"pending", C, DAT_PENDINGXFERS, MSG_GET, "4567"},
                                               {"end", C, DAT_PENDINGXFERS, MSG_ENDXFER, "67"},
                                               {"reset", C, DAT_PENDINGXFERS, MSG_RESET, "67"},
                                               {"buffers", C, DAT_SETUPMEMXFER, MSG_GET, "456"},
                                               {"file", C, DAT_SETUPFILEXFER, MSG_SET, "456"},
                                               {"-", C, DAT_SETUPFILEXFER, MSG_GET, "456"},
                                               {"-", C, DAT_SETUPFILEXFER, MSG_GETDEFAULT, "456"},
                                               {"-", C, DAT_SETUPFILEXFER, MSG_RESET, "4"},
                                               {"-", C, DAT_XFERGROUP, MSG_GET, "456"},
                                               {"image", I, DAT_IMAGEINFO, MSG_GET, "67"},
                                               {"area", I, DAT_IMAGELAYOUT, MSG_SET, "4"},
                                               {"frame", I, DAT_IMAGELAYOUT, MSG_GET, "456"},
                                               {"-", I, DAT_IMAGELAYOUT, MSG_GETDEFAULT, "456"},
                                               {"-", I, DAT_IMAGELAYOUT, MSG_RESET, "4"},
                                               {"strip", I, DAT_IMAGEMEMXFER, MSG_GET, "67"},
                                               {"native", I, DAT_IMAGENATIVEXFER, MSG_GET, "6"},
                                               {"write", I, DAT_IMAGEFILEXFER, MSG_GET, "6"},
                                               {"palette", I, DAT_PALETTE8, MSG_GET, "456"},
                                               {"-", I, DAT_PALETTE8, MSG_GETDEFAULT, "456"},
                                               {"-", I, DAT_RGBRESPONSE, MSG_GET, "4567"},
                                               {"-", I, DAT_RGBRESPONSE, MSG_SET, "4"},
                                               {"-", I, DAT_RGBRESPONSE, MSG_RESET, "4"},
                                               {"-", I, KV_DAT_AUTOEXPOSURE, MSG_SET, "4"},
                                               {"-", I, KV_DAT_DEFAULTRGBMATRIX, MSG_GETDEFAULT, "4567"}};

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
        REQUIRE(scanner.state() == state);
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
        if (name == "state") return std::to_string(scanner.state());
        if (name == "page") return std::to_string(scanner.request().pageNumber);
        if (name == "notes") return notes;
        for (const HostOperation& operation : hostOperations)
            if (operation.name == (name == "show" ? "enable" : name)) return answer(operation, name, values);
        const bool isAll = name.back() == '?';
        const auto id = vscan::capabilityFromText(name.substr(0, name.size() - isAll));
        const auto capability = static_cast<TW_UINT16>(id.value());
        if (values.empty()) return ask(capability, isAll ? MSG_GET : MSG_GETCURRENT);
        const TW_UINT16 type = vscan::CapabilityTable(scanner.settings()).offered(capability)->itemType;
        const auto whole = static_cast<TW_UINT32>(static_cast<int>(values[0]));
        return set(capability, oneValue(type, type == TWTY_FIX32 ? fix32(values[0]) : whole));
    }

    std::string notes;  // what the scanner told its host: "ready close "
    vscan::VirtualScanner scanner;

private:
    // What an operation says of its data, else its result.
    std::string answer(const HostOperation& operation, const std::string& name,
                       const std::vector<double>& values) {
        union {
            TW_UINT32 numbers[4096];
            TW_USERINTERFACE window;
            TW_IMAGEMEMXFER strip;
            TW_IMAGELAYOUT layout;
            TW_IMAGEINFO image;
            TW_PENDINGXFERS pending;
            TW_SETUPMEMXFER buffers;
        } data = {};
        std::transform(values.begin(), values.end(), data.numbers, fix32);
        if (name == "show") data.window.ShowUI = TRUE;
        if (name == "strip") data.strip.Memory = {TWMF_APPOWNS | TWMF_POINTER, 8192, data.numbers + 1024};
        const std::string result = call(operation.group, operation.argumentType, operation.message, &data);
        std::ostringstream text;
        if (name == "end" || name == "reset") text << data.pending.Count;
        if (name == "image")
            text << data.image.ImageWidth << " x " << data.image.ImageLength << ", "
                 << data.image.BitsPerPixel << " bit";
        if (name == "frame") text << data.layout.Frame.Right.Whole << " x " << data.layout.Frame.Bottom.Whole;
        if (name == "buffers")
            text << data.buffers.MinBufSize << " " << data.buffers.Preferred << " "
                 << data.buffers.MaxBufSize;
        return result == "success" && !text.str().empty() ? text.str() : result;
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
