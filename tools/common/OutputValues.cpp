#include "common/OutputValues.h"

#include <vector>

#include "common/ValueTexts.h"
#include "common/Wording.h"

namespace host {

namespace {

using Text = const std::string&;

struct OutputValue {
    const char* name;
    void (*read)(OutputRequest& request, Text what, Text text);
};

const pages::FormatTraits& parseFormat(Text what, Text text) {
    std::vector<std::string> names;
    for (const pages::FormatTraits& traits : pages::fileFormats())
        names.push_back(traits.name);
    return pages::fileFormats()[parseWord(what, names, text)];
}

const OutputValue outputValues[] = {
    {"output", [](OutputRequest& r, Text, Text text) { r.pattern = text; }},
    {"format", [](OutputRequest& r, Text what, Text text) { r.format = &parseFormat(what, text); }},
    {"multipage", [](OutputRequest& r, Text what, Text text) { r.multipage = parseOnOff(what, text); }},
    {"start", [](OutputRequest& r, Text what, Text text) { r.start = parseWhole(what, text, 0, 999999); }},
    {"force", [](OutputRequest& r, Text what, Text text) { r.force = parseOnOff(what, text); }},
    {"quality",
     [](OutputRequest& r, Text what, Text text) { r.settings.quality = parseWhole(what, text, 1, 100); }},
    {"lossless",
     [](OutputRequest& r, Text what, Text text) { r.settings.lossless = parseOnOff(what, text); }},
};

}  // namespace

bool setOutputValue(OutputRequest& request, const std::string& name, const std::string& text) {
    for (const OutputValue& value : outputValues) {
        if (name != value.name) continue;
        value.read(request, optionName(value.name), text);
        return true;
    }
    return false;
}

void chooseDefaultOutput(OutputRequest& request) {
    if (!request.pattern.empty()) return;
    const std::string extensions = request.format ? request.format->extensions : ".bmp";
    request.pattern = "scan%03d" + extensions.substr(0, extensions.find(' '));
    request.multipage =
        request.multipage || (request.format && request.format->format == pages::FileFormat::Pdf);
}

}  // namespace host
