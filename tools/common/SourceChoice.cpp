#include "common/SourceChoice.h"

#include <cstdlib>

#include "common/Conditions.h"
#include "common/Failure.h"
#include "common/Text.h"
#include "common/TextEncoding.h"
#include "common/Wording.h"

namespace host {

namespace {

std::string managerPath() {
    char folder[MAX_PATH] = {};
    GetWindowsDirectoryA(folder, sizeof folder);
    return std::string(folder) + "\\TWAIN_32.DLL";
}

std::string readProfile(const std::string& path, const std::string& key) {
    char value[SM_FILE_NAME_SIZE] = {};
    GetPrivateProfileStringA("DS", key.c_str(), "", value, sizeof value, path.c_str());
    return fromAnsi(value);
}

// What the manager lists of the maker's sources.
struct BrandSources {
    std::vector<std::string> names;
    int result = 0;  // the manager's condition code when it could not be asked
};

BrandSources brandSources(const ModuleLibrary& module) {
    char folder[MAX_PATH] = {};
    char profile[MAX_PATH] = {};
    GetTempPathA(sizeof folder, folder);
    GetTempFileNameA(folder, "sms", 0, profile);
    BrandSources list;
    list.result = module.smGetAllDS(profile);
    const int count = static_cast<int>(GetPrivateProfileIntA("DS", "count", 0, profile));
    for (int i = 1; i <= count; ++i)
        list.names.push_back(readProfile(profile, format("name%d", i)));
    DeleteFileA(profile);
    return list;
}

std::string namedSources(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text += format("\n  %s", name.c_str());
    return text;
}

// 0 when the text is no number.
size_t numberIn(const std::string& text) {
    const bool digits = text.find_first_not_of("0123456789") == std::string::npos;
    return digits && text.size() < 6 ? std::strtoul(text.c_str(), nullptr, 10) : 0;
}

}  // namespace

void requireManager(const ModuleLibrary& module) {
    if (module.smIsTWAINAvailable()) return;
    const std::string path = managerPath();
    const bool present = GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
    throw Failure{
        FailureCode::NoManager,
        format("No TWAIN manager: \"%s\" %s. Windows has it as a rule; the driver of a scanner brings it "
               "as well.",
               path.c_str(), present ? "is there but can't be used" : "isn't there")};
}

std::string productName(const ModuleLibrary& module) {
    char name[SM_NAME_SIZE] = {};
    module.smGetDSProductName(name);
    return fromAnsi(name);
}

std::string explainNoSource(int result, const std::string& defaultSource) {
    std::string text =
        format("No source found. The TWAIN manager \"%s\" was loaded and asked. ", managerPath().c_str());
    if (result == SM_RESULT_OK)
        text += "It lists no source of the maker KAVRO";
    else
        text += format("It answered: %s", conditionWords(result).c_str());
    if (defaultSource.empty())
        text +=
            ", and it has no default source. Install the driver of the scanner: a source is a .ds file, as a "
            "rule in the folder twain_32 of the Windows folder.";
    else
        text += format(
            ", but its default source is \"%s\" of another maker. %s without %ssource scans from "
            "it.",
            defaultSource.c_str(), wording.program, wording.option);
    return text;
}

namespace {

// Opening is the only way to learn the default source's name. It stays known when the source can't be opened.
std::string openedSource(const ModuleLibrary& module, HWND parent, int* result = nullptr) {
    const int opened = module.smOpenDS(parent, wording.program);
    const std::string name = productName(module);
    if (opened == SM_RESULT_OK) module.smCloseDS();
    if (result) *result = opened;
    return name;
}

}  // namespace

SourceList listSources(const ModuleLibrary& module, HWND parent) {
    const BrandSources sources = brandSources(module);
    const std::string defaultSource = openedSource(module, parent);
    if (sources.names.empty())
        throw Failure{FailureCode::NoSource, explainNoSource(sources.result, defaultSource)};
    return {sources.names, defaultSource};
}

void chooseByDialog(const ModuleLibrary& module, HWND parent) {
    const int result = module.smSelectDS(parent);
    if (result == SM_RESULT_SELECT_CANCELLED)
        throw Failure{FailureCode::Cancelled, "No source was chosen in the dialog."};
    if (result != SM_RESULT_OK)
        throw Failure{FailureCode::NoSource, "The manager can't show its dialog for choosing a source: " +
                                                 conditionSentence(result)};
}

const std::string& findSource(const std::vector<std::string>& names, const std::string& text) {
    const size_t number = numberIn(text);
    if (number >= 1 && number <= names.size()) return names[number - 1];
    const std::string* found = nullptr;
    for (const std::string& name : names) {
        if (lowered(name).find(lowered(text)) == std::string::npos) continue;
        if (found)
            throw Failure{FailureCode::NoSource,
                          format("\"%s\" is a part of more than one source's name. There are:%s",
                                 text.c_str(), namedSources(names).c_str())};
        found = &name;
    }
    if (found) return *found;
    throw Failure{FailureCode::NoSource,
                  format("There is no source \"%s\". %s%s", text.c_str(),
                         names.empty() ? "There are none." : "There are:", namedSources(names).c_str())};
}

namespace {

// A name that isn't in the code page is no source's.
int chooseDriver(const ModuleLibrary& module, HWND parent, const std::string& name) {
    const auto ansiName = toAnsi(name);
    return ansiName ? module.smSetDefaultDriver(parent, ansiName->c_str()) : SM_CONDITION_BAD_DEST;
}

}  // namespace

std::string chooseByName(const ModuleLibrary& module, HWND parent, const std::string& text) {
    std::string name = text;
    int result = chooseDriver(module, parent, name);
    if (result == SM_CONDITION_BAD_DEST) {
        name = findSource(brandSources(module).names, text);
        result = chooseDriver(module, parent, name);
    }
    if (result != SM_RESULT_OK)
        throw Failure{FailureCode::NoSource,
                      "The manager can't look for the source: " + conditionSentence(result)};
    return name;
}

std::vector<std::string> makersSources(const ModuleLibrary& module) {
    return brandSources(module).names;
}

std::string makeDefault(const ModuleLibrary& module, HWND parent, const std::string& text) {
    const std::string name = chooseByName(module, parent, text);
    // Opening and closing the source ends the choice just made; what opens next is the manager's own default.
    int result = SM_RESULT_OK;
    openedSource(module, parent, &result);
    if (result != SM_RESULT_OK)
        throw Failure{
            FailureCode::SourceError,
            format("There is a source \"%s\", but it can't be opened, so it wasn't seen whether it is the "
                   "default source: %s",
                   name.c_str(), conditionSentence(result).c_str())};
    const std::string defaultSource = openedSource(module, parent);
    if (lstrcmpiW(wide(defaultSource).c_str(), wide(name).c_str()) != 0)
        throw Failure{
            FailureCode::SourceError,
            format("There is a source \"%s\", but this TWAIN manager keeps \"%s\" as its default source. "
                   "Choose in its dialog with %sselect, or name the source with %ssource each time.",
                   name.c_str(), defaultSource.c_str(), wording.option, wording.option)};
    return defaultSource;
}

}  // namespace host
