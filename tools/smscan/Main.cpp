#include <Version.h>

#include <exception>

#include "common/CapsQuery.h"
#include "common/HostWindow.h"
#include "common/ModuleLibrary.h"
#include "common/OneShotPage.h"
#include "common/OpenSource.h"
#include "common/PageFiles.h"
#include "common/PageNames.h"
#include "common/PageScan.h"
#include "common/ScanPreparation.h"
#include "common/SourceChoice.h"
#include "common/Text.h"
#include "smscan/CapsTable.h"
#include "smscan/Console.h"
#include "smscan/ConsoleListener.h"
#include "smscan/ForcedEnd.h"
#include "smscan/Interrupt.h"
#include "smscan/Options.h"
#include "smscan/Watchdog.h"

namespace smscan {

namespace {

// Chooses the source that opens next.
void chooseSource(const ModuleLibrary& module, HWND parent, const Options& options) {
    if (options.select) {
        chooseByDialog(module, parent);
        note("Chosen: " + productName(module));
    } else if (!options.source.empty()) {
        chooseByName(module, parent, options.source);
    }
}

void showSources(const ModuleLibrary& module, HWND parent) {
    const SourceList list = listSources(module, parent);
    for (const std::string& name : list.names)
        tell(name + (name == list.defaultName ? " (default)" : ""));
}

void showCaps(const ModuleLibrary& module, HWND parent, bool json, ScanListener& listener) {
    const OpenSource source(module, parent);
    useInches(module, listener);
    const std::vector<CapsRow> rows = queryCaps(module);
    const std::string name = productName(module);
    tellText(json ? capsAsJson(name, rows) : capsAsTable(name, rows));
}

void run(const Options& options, const Interrupt& interrupt) {
    if (options.action == Action::Help) return tellText(helpText());
    if (options.action == Action::Version) return tell("smscan " SCANMODULE_VERSION_TEXT);

    const PageNames names(options.output, options.pages != 1 && !options.presto);
    // The user is at work in the manager's dialog, too.
    const Watchdog watchdog(interrupt, options.timeoutSeconds, options.ui || options.select);
    const ModuleLibrary module;
    HostWindow window;
    const CancelledWindow cancelled(window);
    ConsoleListener listener(options.progress);
    requireManager(module);
    if (options.action == Action::MakeDefault)
        return tell(makeDefault(module, window.handle(), options.defaultName) + " is the default source.");
    if (options.action == Action::Scan) {
        checkWritable(names.pathOf(1));
        if (names.numberedByItself())
            listener.note(
                format("--output has no %%d, so pages are numbered: %s ...", names.pathOf(1).c_str()));
    }
    chooseSource(module, window.handle(), options);
    switch (options.action) {
        case Action::List:
            return showSources(module, window.handle());
        case Action::Caps:
            return showCaps(module, window.handle(), options.json, listener);
        default:
            return options.presto ? scanOneShot(module, options, names.pathOf(1), window, listener)
                                  : scanPages(module, options, names, window, listener);
    }
}

int end(const Failure& failure) {
    note("smscan: " + failure.text);
    return static_cast<int>(failure.code);
}

}  // namespace

}  // namespace smscan

int main(int argumentCount, char** arguments) {
    smscan::prepareForcedEnd();
    const smscan::Interrupt interrupt;
    smscan::writeWholeTexts();
    try {
        smscan::run(smscan::parseOptions({arguments + 1, arguments + argumentCount}), interrupt);
    } catch (const host::Failure& failure) {
        return smscan::end(failure);
    } catch (const std::exception&) {
        return smscan::end(host::outOfMemory());
    }
    if (!smscan::resultsComplete())
        return smscan::end({smscan::ExitCode::CannotWrite, "Cannot write to the standard output."});
    return 0;
}
