#include <Version.h>
#include <windows.h>

#include <shellapi.h>

#include <algorithm>
#include <exception>
#include <optional>

#include "common/CapsQuery.h"
#include "common/Display.h"
#include "common/ForcedEnd.h"
#include "common/HostWindow.h"
#include "common/Json.h"
#include "common/ModuleLibrary.h"
#include "common/OneShotPage.h"
#include "common/OpenSource.h"
#include "common/PageOutput.h"
#include "common/PageScan.h"
#include "common/ScanPreparation.h"
#include "common/SourceChoice.h"
#include "common/Text.h"
#include "common/TextEncoding.h"
#include "smscan/CapsTable.h"
#include "smscan/Console.h"
#include "smscan/ConsoleListener.h"
#include "smscan/Help.h"
#include "smscan/Interrupt.h"
#include "smscan/Options.h"
#include "smscan/SourceRecording.h"
#include "smscan/Watchdog.h"

namespace smscan {

namespace {

// Told to those who want quiet, too.
void noteHiddenWindow(const Options& options) {
    if ((options.ui || options.select) && !hasDisplay()) note(std::string("Note: ") + noDisplay);
}

// Chooses the source that opens next.
void chooseSource(const ModuleLibrary& module, HWND parent, const Options& options) {
    noteHiddenWindow(options);
    if (options.select) {
        chooseByDialog(module, parent);
        if (!options.quiet) note("Chosen: " + productName(module));
    } else if (!options.source.empty()) {
        chooseByName(module, parent, options.source);
    }
}

void showSources(const ModuleLibrary& module, HWND parent, bool json) {
    const SourceList list = listSources(module, parent);
    int number = 0;
    for (const std::string& name : list.names) {
        const bool isDefault = name == list.defaultName;
        ++number;
        tell(json ? jsonLine(sourceJson(number, name, isDefault))
                  : format("%2d  %s%s", number, name.c_str(), isDefault ? " (default)" : ""));
    }
}

// --caps and --dry-run.
void showCaps(const ModuleLibrary& module, HWND parent, const Options& options, ScanListener& listener) {
    const std::vector<std::string> makers = makersSources(module);  // asked while no source is chosen
    chooseSource(module, parent, options);
    const OpenSource source(module, parent);
    const std::string name = productName(module);
    const bool isTrial = options.action == Action::DryRun;
    if (isTrial)
        prepareScan(module, options, listener);
    else
        useInches(module, listener);
    const std::vector<CapsRow> rows = queryCaps(module, std::count(makers.begin(), makers.end(), name) > 0);
    const std::vector<CapsRow> shown = isTrial ? presentValues(rows) : rows;
    if (options.json)
        tell(jsonLine(capsJson(name, shown)));
    else
        tellText(capsAsTable(name, shown));
}

void scan(const ModuleLibrary& module, HostWindow& window, const Options& options, PageOutput& output,
          ScanListener& listener) {
    output.prepare(options.oneShot ? 1 : options.pages, listener);
    chooseSource(module, window.handle(), options);
    if (options.oneShot)
        scanOneShot(module, options, output, window, listener);
    else
        scanPages(module, options, output, window, listener);
}

void perform(const ModuleLibrary& module, HostWindow& window, const Options& options, PageOutput& output,
             ScanListener& listener) {
    switch (options.action) {
        case Action::MakeDefault:
            return tell(makeDefault(module, window.handle(), options.defaultName) +
                        " is the default source.");
        case Action::List:
            return showSources(module, window.handle(), options.json);
        case Action::Caps:
        case Action::DryRun:
            return showCaps(module, window.handle(), options, listener);
        default:
            return scan(module, window, options, output, listener);
    }
}

void useModule(const Options& options, const Interrupt& interrupt) {
    OutputRequest request = options.output;
    request.stream = GetStdHandle(STD_OUTPUT_HANDLE);
    PageOutput output(request, options.pages != 1 && !options.oneShot);
    // The user is at work in the manager's dialog, too.
    const Watchdog watchdog(interrupt, options.timeoutSeconds, options.ui || options.select);
    ConsoleListener listener(options);
    std::optional<SourceRecording> recording;
    if (!options.recording.empty()) recording.emplace(options, listener);
    const ModuleLibrary module;
    HostWindow window;
    const CancelledWindow cancelled(window);
    if (recording) recording->requireTap();
    requireManager(module);
    if (options.survey || options.surveyModes) chooseSource(module, window.handle(), options);
    if (options.survey) recording->survey(module, window.handle());
    if (options.surveyModes) recording->scanModes(module, window);
    perform(module, window, options, output, listener);
    if (recording) recording->finish();
}

void run(const Options& options, const Interrupt& interrupt) {
    switch (options.action) {
        case Action::Help:
            return tellText(helpText());
        case Action::ManPage:
            return tellText(manPage());
        case Action::Completion:
            return tellText(bashCompletion());
        case Action::Version:
            return tell("smscan " SCANMODULE_VERSION_TEXT);
        default:
            return useModule(options, interrupt);
    }
}

// Its words without the program's name; names of files and sources may have letters of any language.
std::vector<std::string> commandLine() {
    int count = 0;
    wchar_t** const words = CommandLineToArgvW(GetCommandLineW(), &count);
    std::vector<std::string> result;
    for (int i = 1; i < count; ++i)
        result.push_back(utf8(words[i]));
    LocalFree(words);
    return result;
}

int end(const Failure& failure) {
    note("smscan: " + failure.text);
    return static_cast<int>(failure.code);
}

}  // namespace

}  // namespace smscan

int main() {
    host::prepareForcedEnd();
    const smscan::Interrupt interrupt;
    smscan::writeWholeTexts();
    try {
        smscan::run(smscan::parseOptions(smscan::commandLine()), interrupt);
    } catch (const host::Failure& failure) {
        return smscan::end(failure);
    } catch (const std::exception&) {
        return smscan::end(host::outOfMemory());
    }
    if (!smscan::resultsComplete())
        return smscan::end({smscan::ExitCode::CannotWrite, "Cannot write to the standard output."});
    return 0;
}
