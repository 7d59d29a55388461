#include "common/ScanRequest.h"

#include "common/Failure.h"
#include "common/Text.h"
#include "common/ValueTexts.h"
#include "common/Wording.h"

namespace host {

namespace {

using Text = const std::string&;

// How the value of one name is read.
struct RequestValue {
    const char* name;
    void (*read)(ScanRequest& request, Text what, Text text);
};

int percent(Text what, Text text) {
    return parseWhole(what, text, percentLowest, percentHighest);
}

int level(Text what, Text text) {
    return parseWhole(what, text, levelLowest, levelHighest);
}

constexpr int mostPages = 32767;
constexpr int mostSeconds = 86400;

const RequestValue requestValues[] = {
    {"mode", [](ScanRequest& r, Text what, Text text) { r.pixelType = parseName(what, scanModes, text); }},
    {"depth", [](ScanRequest& r, Text what, Text text) { r.bitDepth = parseWhole(what, text, 1, 64); }},
    {"resolution",
     [](ScanRequest& r, Text what, Text text) { r.resolution = parseWhole(what, text, 1, 32767); }},
    {"scale", [](ScanRequest& r, Text what, Text text) { r.scale = parseScale(what, text); }},
    {"paper", [](ScanRequest& r, Text what, Text text) { r.paper = parseName(what, papers, text); }},
    {"area", [](ScanRequest& r, Text what, Text text) { r.area = parseArea(what, text); }},
    {"size", [](ScanRequest& r, Text what, Text text) { r.area = parseSize(what, text); }},
    {"source-type",
     [](ScanRequest& r, Text what, Text text) {
         r.feeder = parseWord(what, {"flatbed", "adf", "feeder"}, text) > 0;
     }},
    {"feeder", [](ScanRequest& r, Text what, Text text) { r.feeder = parseOnOff(what, text); }},
    {"flatbed", [](ScanRequest& r, Text what, Text text) { r.feeder = !parseOnOff(what, text); }},
    {"brightness", [](ScanRequest& r, Text what, Text text) { r.brightness = percent(what, text); }},
    {"contrast", [](ScanRequest& r, Text what, Text text) { r.contrast = percent(what, text); }},
    {"highlight", [](ScanRequest& r, Text what, Text text) { r.highlight = level(what, text); }},
    {"shadow", [](ScanRequest& r, Text what, Text text) { r.shadow = level(what, text); }},
    {"threshold", [](ScanRequest& r, Text what, Text text) { r.threshold = level(what, text); }},
    {"gamma", [](ScanRequest& r, Text what, Text text) { r.gamma = parseDecimal(what, text, 0.1, 10.0); }},
    {"set",
     [](ScanRequest& r, Text, Text text) {
         const SwitchValue value = parseSwitch(text);
         if (value.which == Switch::Feeder)
             r.feeder = value.value != 0;
         else
             r.switches.push_back(value);
     }},
    {"mech", [](ScanRequest& r, Text what,
                Text text) { r.mechanism = static_cast<Mechanism>(parsePlace(what, waysToScan, text)); }},
    {"ui", [](ScanRequest& r, Text what, Text text) { r.ui = parseOnOff(what, text); }},
    {"pages",
     [](ScanRequest& r, Text what, Text text) {
         r.pages = sameWord(text, "all") ? allPages : parseWhole(what, text, 1, mostPages, "all, or ");
     }},
    {"timeout",
     [](ScanRequest& r, Text what, Text text) { r.timeoutSeconds = parseWhole(what, text, 0, mostSeconds); }},
};

}  // namespace

bool setRequestValue(ScanRequest& request, const std::string& name, const std::string& text) {
    for (const RequestValue& value : requestValues) {
        if (name != value.name) continue;
        value.read(request, optionName(value.name), text);
        return true;
    }
    return false;
}

void checkRequest(const ScanRequest& request) {
    if (request.area && request.paper)
        throw Failure{FailureCode::Usage, optionName("area") + " and " + optionName("paper") +
                                              " exclude each other: both choose what is scanned."};
}

}  // namespace host
