#include "SourceChoice.h"

#include "Conditions.h"
#include "Console.h"
#include "Failure.h"
#include "PageFiles.h"
#include "Text.h"

namespace smscan {

namespace {

constexpr const char* applicationName = "smscan";

std::string managerPath() {
    char folder[MAX_PATH] = {};
    GetWindowsDirectoryA(folder, sizeof folder);
    return std::string(folder) + "\\TWAIN_32.DLL";
}

std::string readProfile(const std::string& path, const std::string& key) {
    char value[SM_FILE_NAME_SIZE] = {};
    GetPrivateProfileStringA("DS", key.c_str(), "", value, sizeof value, path.c_str());
    return value;
}

std::string namedSources(const ModuleLibrary& module) {
    std::string text;
    for (const std::string& name : listSources(module).names)
        text += format("\n  %s", name.c_str());
    return text.empty() ? "There are none." : "There are:" + text;
}

}  // namespace

void requireManager(const ModuleLibrary& module) {
    if (module.smIsTWAINAvailable()) return;
    const std::string path = managerPath();
    const bool present = GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
    throw Failure{
        ExitCode::NoManager,
        format("No TWAIN manager: \"%s\" %s. Windows has it as a rule; the driver of a scanner brings it "
               "as well.",
               path.c_str(), present ? "is there but can't be used" : "isn't there")};
}

SourceList listSources(const ModuleLibrary& module) {
    char folder[MAX_PATH] = {};
    char profile[MAX_PATH] = {};
    GetTempPathA(sizeof folder, folder);
    GetTempFileNameA(folder, "sms", 0, profile);
    SourceList list;
    list.result = module.smGetAllDS(profile);
    const int count = static_cast<int>(GetPrivateProfileIntA("DS", "count", 0, profile));
    for (int i = 1; i <= count; ++i)
        list.names.push_back(readProfile(profile, format("name%d", i)));
    DeleteFileA(profile);
    return list;
}

std::string productName(const ModuleLibrary& module) {
    char name[SM_NAME_SIZE] = {};
    module.smGetDSProductName(name);
    return name;
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
            ", but its default source is \"%s\" of another maker. smscan without --source scans from "
            "it.",
            defaultSource.c_str());
    return text;
}

namespace {

// Opening is the only way to learn the default source's name. It stays known when the source can't be opened.
std::string openedSource(const ModuleLibrary& module, HWND parent, int* result = nullptr) {
    const int opened = module.smOpenDS(parent, applicationName);
    const std::string name = productName(module);
    if (opened == SM_RESULT_OK) module.smCloseDS();
    if (result) *result = opened;
    return name;
}

}  // namespace

void printSources(const ModuleLibrary& module, HWND parent) {
    const SourceList list = listSources(module);
    const std::string defaultSource = openedSource(module, parent);
    if (list.names.empty()) throw Failure{ExitCode::NoSource, explainNoSource(list.result, defaultSource)};
    for (const std::string& name : list.names)
        tell(name + (name == defaultSource ? " (default)" : ""));
}

void chooseSource(const ModuleLibrary& module, HWND parent, const Options& options) {
    if (options.select) {
        const int result = module.smSelectDS(parent);
        if (result == SM_RESULT_SELECT_CANCELLED)
            throw Failure{ExitCode::Cancelled, "No source was chosen in the dialog."};
        if (result != SM_RESULT_OK)
            throw Failure{ExitCode::NoSource, "The manager can't show its dialog for choosing a source: " +
                                                  conditionSentence(result)};
        note(format("Chosen: %s", productName(module).c_str()));
    } else if (!options.source.empty()) {
        const int result = module.smSetDefaultDriver(parent, options.source.c_str());
        if (result == SM_CONDITION_BAD_DEST)
            throw Failure{ExitCode::NoSource, format("There is no source \"%s\". %s", options.source.c_str(),
                                                     namedSources(module).c_str())};
        if (result != SM_RESULT_OK)
            throw Failure{ExitCode::NoSource,
                          "The manager can't look for the source: " + conditionSentence(result)};
    }
}

void makeDefault(const ModuleLibrary& module, HWND parent, const std::string& name) {
    Options options;
    options.source = name;
    chooseSource(module, parent, options);
    // Opening and closing the source ends the choice just made; what opens next is the manager's own default.
    int result = SM_RESULT_OK;
    openedSource(module, parent, &result);
    if (result != SM_RESULT_OK)
        throw Failure{
            ExitCode::SourceError,
            format("There is a source \"%s\", but it can't be opened, so it wasn't seen whether it is the "
                   "default source: %s",
                   name.c_str(), conditionSentence(result).c_str())};
    const std::string defaultSource = openedSource(module, parent);
    if (lstrcmpiA(defaultSource.c_str(), name.c_str()) != 0)
        throw Failure{
            ExitCode::SourceError,
            format("There is a source \"%s\", but this TWAIN manager keeps \"%s\" as its default source. "
                   "Choose in its dialog with --select, or name the source with --source each time.",
                   name.c_str(), defaultSource.c_str())};
    tell(format("%s is the default source.", defaultSource.c_str()));
}

OpenSource::OpenSource(const ModuleLibrary& module, HWND parent) : module_(module) {
    const int result = module.smOpenDS(parent, applicationName);
    open_ = result == SM_RESULT_OK;
    if (open_) return;
    const std::string name = productName(module);
    // This one is asked after the opening, and so the source is closed and its name gone.
    if (result == SM_CONDITION_OPERATION_ERROR && name.empty())
        throw Failure{ExitCode::SourceError,
                      "The source opens, but can't be used: " + conditionSentence(result)};
    if (name.empty()) throw Failure{ExitCode::NoSource, explainNoSource(result, "")};
    throw Failure{ExitCode::SourceError, format("Cannot open the source \"%s\": %s", name.c_str(),
                                                conditionSentence(result).c_str())};
}

void OpenSource::enable(bool showWindow) {
    const int result = module_.smEnableDS(showWindow, FALSE);
    enabled_ = result == SM_RESULT_OK;
    if (!enabled_)
        throw Failure{ExitCode::SourceError,
                      format("The source \"%s\" can't start the scan: %s", productName(module_).c_str(),
                             conditionSentence(result).c_str())};
}

void OpenSource::close() {
    if (enabled_) module_.smDisableDS();
    if (open_) module_.smCloseDS();
    enabled_ = open_ = false;
}

}  // namespace smscan
