#include "common/PageScan.h"

#include "common/Failure.h"
#include "common/OpenSource.h"
#include "common/PageReceiver.h"
#include "common/ScanPreparation.h"
#include "common/Text.h"
#include "common/Wording.h"

namespace host {

namespace {

std::string keptPages(int pages) {
    return pages == 0 ? "No page was scanned." : format("%s kept.", counted(pages, "page").c_str());
}

void reportEnd(HostWindow::End end, const PageReceiver& receiver, const HostWindow& window,
               const ScanRequest& request, ScanListener& listener) {
    const int pages = receiver.pages();
    if (window.failure()) {
        Failure failure = *window.failure();
        failure.text += " " + keptPages(pages);
        failure.pagesKept = pages;
        throw failure;
    }
    if (end == HostWindow::End::Cancelled || window.cancelRequested())
        throw Failure{FailureCode::Cancelled, "Cancelled. " + keptPages(pages), {}, 0, pages};
    if (end == HostWindow::End::TimedOut)
        throw Failure{
            FailureCode::SourceError,
            format("The source did nothing for %d seconds. %s %stimeout changes how long is waited.",
                   request.timeoutSeconds, keptPages(pages).c_str(), wording.option),
            {},
            0,
            pages};
    if (pages == 0 && request.ui)
        throw Failure{FailureCode::Cancelled, "The source's window was closed. No page was scanned."};
    if (pages == 0)
        throw Failure{FailureCode::SourceError,
                      "The source ended without a page. Look whether there is paper in it."};
    if (!receiver.incomplete().empty())
        throw Failure{FailureCode::SourceError, receiver.incomplete() + keptPages(pages), {}, 0, pages};
    if (request.pages > pages)
        listener.note(format("the source had %s, not %d.", counted(pages, "page").c_str(), request.pages));
}

}  // namespace

void scanOpened(const ModuleLibrary& module, OpenSource& source, const ScanRequest& request,
                PageOutput& output, HostWindow& window, ScanListener& listener) {
    window.endIfCancelled();
    prepareScan(module, request, listener);
    window.endIfCancelled();
    PageReceiver receiver(module, request, output, window, listener);
    window.endIfCancelled();
    source.enable(request.ui);
    const HostWindow::End end = window.run(module, request.timeoutSeconds, request.ui);
    const bool waitsInWindow = !request.ui && sourceWindowIsOpen();
    source.disable();
    output.finish();
    if (end == HostWindow::End::TimedOut && waitsInWindow && !window.failure())
        throw Failure{
            FailureCode::SourceError,
            format("The source waits in a window of its own, though it was told to do without. With "
                   "%sui it can be used. %s",
                   wording.option, keptPages(receiver.pages()).c_str()),
            {},
            0,
            receiver.pages()};
    reportEnd(end, receiver, window, request, listener);
}

void scanPages(const ModuleLibrary& module, const ScanRequest& request, PageOutput& output,
               HostWindow& window, ScanListener& listener) {
    window.endIfCancelled();
    OpenSource source(module, window.handle());
    scanOpened(module, source, request, output, window, listener);
}

}  // namespace host
