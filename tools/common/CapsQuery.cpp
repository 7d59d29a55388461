#include "common/CapsQuery.h"

#include "common/Conditions.h"
#include "common/Names.h"
#include "common/RawCapability.h"
#include "common/ScanRequest.h"
#include "common/Text.h"
#include "common/TextEncoding.h"
#include "common/ToneValue.h"

namespace host {

namespace {

using WordGetter = int(WINAPI*)(unsigned short*);
using WordsGetter = int(WINAPI*)(unsigned short*, unsigned short*, unsigned short*);
using NumbersGetter = int(WINAPI*)(double*, double*, double*);

CapsRow row(const char* name, int result, std::vector<CapsField> fields, const char* unit = "") {
    if (result != SM_RESULT_OK) return {name, {}, conditionWords(result), unit};
    return {name, std::move(fields), "", unit};
}

CapsRow numberRow(const char* name, WordGetter get) {
    unsigned short value = 0;
    const int result = get(&value);
    return row(name, result, {{"current", static_cast<double>(value)}});
}

CapsRow switchRow(const char* name, WordGetter get) {
    unsigned short value = 0;
    const int result = get(&value);
    return row(name, result, {{"current", value != 0}});
}

template <size_t Count>
CapsRow nameRow(const char* name, WordGetter get, const std::array<NamedCode, Count>& names) {
    unsigned short value = 0;
    const int result = get(&value);
    return row(name, result, {{"current", nameOf(names, value)}});
}

template <size_t Count>
CapsRow choiceRow(const char* name, WordGetter get, WordGetter getSupported,
                  const std::array<NamedCode, Count>& names) {
    CapsRow result = nameRow(name, get, names);
    unsigned short supported = 0;
    if (result.fields.empty() || getSupported(&supported) != SM_RESULT_OK) return result;
    std::vector<std::string> choices;
    for (const NamedCode& entry : names)
        if (supported & entry.code) choices.push_back(entry.name);
    result.fields.push_back({"choices", choices});
    return result;
}

// A source may have a list of resolutions instead of a range.
CapsRow resolutionRow(const ModuleLibrary& module, const char* name, WordsGetter get, TW_UINT16 capability) {
    unsigned short current = 0;
    unsigned short lowest = 0;
    unsigned short highest = 0;
    const int result = get(&current, &lowest, &highest);
    const std::vector<double> choices = choicesOf(module.smCapNegotiate, capability);
    if (!choices.empty())
        return row(name, result, {{"current", static_cast<double>(current)}, {"choices", choices}}, "dpi");
    return row(name, result,
               {{"current", static_cast<double>(current)},
                {"min", static_cast<double>(lowest)},
                {"max", static_cast<double>(highest)}},
               "dpi");
}

CapsRow scaleRow(const char* name, NumbersGetter get) {
    double current = 0;
    double lowest = 0;
    double highest = 0;
    const int result = get(&current, &lowest, &highest);
    return row(name, result, {{"current", current}, {"min", lowest}, {"max", highest}});
}

// On the scale of ScanRequest.
CapsRow toneRow(const char* name, ToneGetter get, int lowest, int highest) {
    int value = 0;
    const int result = readTone(get, lowest, highest, &value);
    return row(name, result,
               {{"current", static_cast<double>(value)},
                {"min", static_cast<double>(lowest)},
                {"max", static_cast<double>(highest)}});
}

CapsRow areaRow(const ModuleLibrary& module) {
    double width = 0;
    double height = 0;
    const int result = module.smGetMaxArea(&width, &height);
    return row("max-area", result, {{"width", width}, {"height", height}}, "in");
}

CapsRow bufferRow(const ModuleLibrary& module) {
    unsigned int lowest = 0;
    unsigned int highest = 0;
    unsigned int preferred = 0;
    const int result = module.smGetMemXferSize(&lowest, &highest, &preferred);
    return row("strip-buffer", result,
               {{"preferred", static_cast<double>(preferred)},
                {"min", static_cast<double>(lowest)},
                {"max", static_cast<double>(highest)}},
               "bytes");
}

CapsRow numberRow(const char* name, int(WINAPI* get)(double*), const char* unit) {
    double value = 0;
    const int result = get(&value);
    return row(name, result, {{"current", value}}, unit);
}

CapsRow countRow(const ModuleLibrary& module) {
    short count = 0;
    const int result = module.smGetXferCount(&count);
    const CapsValue value = count < 0 ? CapsValue(std::string("all")) : CapsValue(static_cast<double>(count));
    return row("pages", result, {{"current", value}});
}

std::vector<CapsField> codeFields(const CapabilityAnswer& answer) {
    std::vector<CapsField> fields{{"current", answer.current}};
    if (!answer.choices.empty()) fields.push_back({"choices", answer.choices});
    return fields;
}

std::vector<CapsField> switchFields(const CapabilityAnswer& answer) {
    return {{"current", answer.current != 0}};
}

// On the scale of ScanRequest.
std::vector<CapsField> levelFields(const CapabilityAnswer& answer) {
    const std::optional<int> value = valueOnScale(answer, levelLowest, levelHighest);
    if (!value) return codeFields(answer);
    return {{"current", static_cast<double>(*value)},
            {"min", static_cast<double>(levelLowest)},
            {"max", static_cast<double>(levelHighest)}};
}

// What the module has no getter for. No reason is known when the source doesn't answer.
CapsRow rawRow(const ModuleLibrary& module, const char* name, TW_UINT16 capability,
               std::vector<CapsField> (*fieldsOf)(const CapabilityAnswer&)) {
    const auto answer = askCapability(module.smCapNegotiate, capability);
    if (!answer) return {name, {}, "not told by the source", ""};
    return {name, fieldsOf(*answer), "", ""};
}

std::vector<CapsRow> makersRows(const ModuleLibrary& module) {
    return {
        switchRow("unsharp-mask", module.smGetKvUnSharpMask),
        rawRow(module, "draft-scan", KV_DRAFTSCAN, switchFields),
        rawRow(module, "descreening", KV_DESCREENING, switchFields),
        rawRow(module, "exposure-mode", KV_EXPOSUREMODE, codeFields),
        numberRow("ui-mode", module.smGetKvUIMode),
        switchRow("pim", module.smGetPIMFlag),
        numberRow("descreening-up-to", module.smGetMaxResForKvDescreeing, "dpi"),
        numberRow("tone-table-1", module.smGetKvLUT1),
        numberRow("tone-table-2", module.smGetKvLUT2),
        numberRow("color-correction", module.smGetKvCC),
        numberRow("firmware", module.smGetKvVersion),
    };
}

}  // namespace

std::vector<CapsRow> queryCaps(const ModuleLibrary& module, bool ofMaker) {
    char family[SM_NAME_SIZE] = {};
    module.smGetDSProductFamily(family);
    std::vector<CapsRow> rows{
        row("family", SM_RESULT_OK, {{"current", fromAnsi(family)}}),
        choiceRow("mode", module.smGetPixelType, module.smGetSupportedPixelType, pixelTypes),
        rawRow(module, "depth", ICAP_BITDEPTH, codeFields),
        resolutionRow(module, "x-resolution", module.smGetXResolution, ICAP_XRESOLUTION),
        resolutionRow(module, "y-resolution", module.smGetYResolution, ICAP_YRESOLUTION),
        scaleRow("x-scale", module.smGetXScale),
        scaleRow("y-scale", module.smGetYScale),
        areaRow(module),
        nameRow("unit", module.smGetUnit, units),
        choiceRow("paper", module.smGetPaperSize, module.smGetSupportedPaperSize, papers),
        nameRow("pixel-flavor", module.smGetPixelFlavor, flavors),
        toneRow("brightness", module.smGetBrightness, percentLowest, percentHighest),
        toneRow("contrast", module.smGetContrast, percentLowest, percentHighest),
        toneRow("highlight", module.smGetHighlight, levelLowest, levelHighest),
        toneRow("shadow", module.smGetShadow, levelLowest, levelHighest),
        rawRow(module, "threshold", ICAP_THRESHOLD, levelFields),
        numberRow("gamma", module.smGetGamma, ""),
        rawRow(module, "light-path", ICAP_LIGHTPATH, codeFields),
        nameRow("mechanism", module.smGetXferMech, mechanisms),
        countRow(module),
        bufferRow(module),
        switchRow("feeder-available", module.smIsADFAvailable),
        switchRow("feeder", module.smGetADFEnable),
        switchRow("paper-in-feeder", module.smIsPaperLoaded),
        rawRow(module, "auto-feed", CAP_AUTOFEED, switchFields),
        switchRow("clear-page", module.smGetClearPage),
        rawRow(module, "indicators", CAP_INDICATORS, switchFields),
    };
    if (ofMaker) {
        const std::vector<CapsRow> others = makersRows(module);
        rows.insert(rows.end(), others.begin(), others.end());
    }
    return rows;
}

std::vector<CapsRow> presentValues(const std::vector<CapsRow>& rows) {
    std::vector<CapsRow> present;
    for (CapsRow row : rows) {
        if (row.fields.empty() || row.fields[0].name != "current") continue;
        row.fields.resize(1);
        present.push_back(std::move(row));
    }
    return present;
}

}  // namespace host
