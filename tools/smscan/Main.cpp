#include <Version.h>

#include <exception>

#include "CapsQuery.h"
#include "Console.h"
#include "Failure.h"
#include "HostWindow.h"
#include "ModuleLibrary.h"
#include "OneShot.h"
#include "Options.h"
#include "PageFiles.h"
#include "PageReceiver.h"
#include "SourceChoice.h"
#include "SourceSettings.h"
#include "Text.h"

namespace smscan {

namespace {

void setMechanism(const ModuleLibrary& module, Mechanism mechanism) {
    static constexpr unsigned short codes[] = {SM_MECH_NATIVE, SM_MECH_FILE, SM_MECH_MEMORY, SM_MECH_MEMORY};
    const unsigned short asked = codes[static_cast<size_t>(mechanism)];
    unsigned short got = asked;
    const bool set = module.smSetXferMech(asked) == SM_RESULT_OK;
    if (!set || (module.smGetXferMech(&got) == SM_RESULT_OK && got != asked))
        throw Failure{ExitCode::SourceError, format("The source doesn't offer --mech %s. Try another one.",
                                                    nameOf(mechanisms, asked).c_str())};
}

// A source that doesn't take the number does no harm: pages beyond it are refused as they come.
void setPageCount(const ModuleLibrary& module, int pages) {
    short got = static_cast<short>(pages);
    if (module.smSetXferCount(pages) != SM_RESULT_OK)
        note("Note: the source takes no number of pages.");
    else if (module.smGetXferCount(&got) == SM_RESULT_OK && got != pages)
        note(format("Note: --pages asks for %d pages, the source made it %d (-1 is all).", pages, got));
}

std::string keptPages(int pages) {
    return pages == 0 ? "No page was scanned." : format("%s kept.", counted(pages, "page").c_str());
}

void reportEnd(HostWindow::End end, const PageReceiver& receiver, const HostWindow& window,
               const Options& options) {
    const int pages = receiver.pages();
    if (window.failure())
        throw Failure{window.failure()->code, window.failure()->text + " " + keptPages(pages)};
    if (end == HostWindow::End::Cancelled || cancelRequested())
        throw Failure{ExitCode::Cancelled, "Cancelled. " + keptPages(pages)};
    if (end == HostWindow::End::TimedOut)
        throw Failure{
            ExitCode::SourceError,
            format("The source did nothing for %d seconds. %s --timeout changes how long is waited.",
                   options.timeoutSeconds, keptPages(pages).c_str())};
    if (pages == 0 && options.ui)
        throw Failure{ExitCode::Cancelled, "The source's window was closed. No page was scanned."};
    if (pages == 0)
        throw Failure{ExitCode::SourceError,
                      "The source ended without a page. Look whether there is paper in it."};
    if (!receiver.incomplete().empty())
        throw Failure{ExitCode::SourceError, receiver.incomplete() + keptPages(pages)};
    if (options.pages > pages)
        note(format("Note: the source had %s, not %d.", counted(pages, "page").c_str(), options.pages));
}

void scan(const ModuleLibrary& module, const Options& options, const PageNames& names, HostWindow& window) {
    OpenSource source(module, window.handle());
    useInches(module);
    setMechanism(module, options.mechanism);
    applySettings(module, options);
    prepareFeeder(module, options);
    setPageCount(module, options.pages);
    PageReceiver receiver(module, options, names, window);
    source.enable(options.ui);
    const HostWindow::End end = window.run(module, options.timeoutSeconds, options.ui);
    source.close();
    reportEnd(end, receiver, window, options);
}

void run(const Options& options) {
    if (options.action == Action::Help) return tellText(helpText());
    if (options.action == Action::Version) return tell("smscan " SCANMODULE_VERSION_TEXT);

    const PageNames names(options.output, options.pages != 1 && !options.presto);
    const ModuleLibrary module;
    HostWindow window;
    requireManager(module);
    if (options.action == Action::MakeDefault)
        return makeDefault(module, window.handle(), options.defaultName);
    if (options.action == Action::Scan) {
        checkWritable(names.pathOf(1));
        if (names.numberedByItself())
            note(format("Note: --output has no %%d, so pages are numbered: %s ...", names.pathOf(1).c_str()));
    }
    chooseSource(module, window.handle(), options);
    switch (options.action) {
        case Action::List:
            return printSources(module, window.handle());
        case Action::Caps: {
            const OpenSource source(module, window.handle());
            useInches(module);
            const std::vector<CapsRow> rows = queryCaps(module);
            const std::string name = productName(module);
            return tellText(options.json ? capsAsJson(name, rows) : capsAsTable(name, rows));
        }
        default:
            return options.presto ? scanOneShot(module, options, names, window)
                                  : scan(module, options, names, window);
    }
}

int end(const Failure& failure) {
    note("smscan: " + failure.text);
    return static_cast<int>(failure.code);
}

}  // namespace

}  // namespace smscan

int main(int argumentCount, char** arguments) {
    smscan::writeWholeTexts();
    try {
        smscan::run(smscan::parseOptions({arguments + 1, arguments + argumentCount}));
    } catch (const smscan::Failure& failure) {
        return smscan::end(failure);
    } catch (const std::exception&) {
        return smscan::end(smscan::outOfMemory());
    }
    if (!smscan::resultsComplete())
        return smscan::end({smscan::ExitCode::CannotWrite, "Cannot write to the standard output."});
    return static_cast<int>(smscan::ExitCode::Ok);
}
