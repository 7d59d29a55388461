#include <Version.h>
#include <windows.h>

#include <shellapi.h>

#include <exception>

#include "common/CapsQuery.h"
#include "common/HostWindow.h"
#include "common/ModuleLibrary.h"
#include "common/OneShotPage.h"
#include "common/OpenSource.h"
#include "common/PageOutput.h"
#include "common/PageScan.h"
#include "common/ScanPreparation.h"
#include "common/SourceChoice.h"
#include "common/TextEncoding.h"
#include "smscan/CapsTable.h"
#include "smscan/Console.h"
#include "smscan/ConsoleListener.h"
#include "smscan/Interrupt.h"
#include "smscan/Options.h"

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

void run(const Options& options) {
    if (options.action == Action::Help) return tellText(helpText());
    if (options.action == Action::Version) return tell("smscan " SCANMODULE_VERSION_TEXT);

    OutputRequest request = options.output;
    request.stream = GetStdHandle(STD_OUTPUT_HANDLE);
    PageOutput output(request, options.pages != 1 && !options.presto);
    const ModuleLibrary module;
    HostWindow window;
    const Interrupt interrupt(window);
    ConsoleListener listener(options.progress, request.pattern == "-");
    requireManager(module);
    if (options.action == Action::MakeDefault)
        return tell(makeDefault(module, window.handle(), options.defaultName) + " is the default source.");
    if (options.action == Action::Scan) output.prepare(options.presto ? 1 : options.pages, listener);
    chooseSource(module, window.handle(), options);
    switch (options.action) {
        case Action::List:
            return showSources(module, window.handle());
        case Action::Caps:
            return showCaps(module, window.handle(), options.json, listener);
        default:
            return options.presto ? scanOneShot(module, options, output, window, listener)
                                  : scanPages(module, options, output, window, listener);
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
    smscan::writeWholeTexts();
    try {
        smscan::run(smscan::parseOptions(smscan::commandLine()));
    } catch (const host::Failure& failure) {
        return smscan::end(failure);
    } catch (const std::exception&) {
        return smscan::end(host::outOfMemory());
    }
    if (!smscan::resultsComplete())
        return smscan::end({smscan::ExitCode::CannotWrite, "Cannot write to the standard output."});
    return 0;
}
