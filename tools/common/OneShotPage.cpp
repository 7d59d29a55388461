#include "common/OneShotPage.h"

#include <cstring>

#include "common/Conditions.h"
#include "common/OpenSource.h"
#include "common/PageFiles.h"
#include "common/ScanPreparation.h"
#include "common/SourceChoice.h"
#include "common/Text.h"
#include "common/TextEncoding.h"
#include "common/UnfinishedNames.h"
#include "common/Wording.h"

namespace host {

namespace {

PrestoScanSettings settingsFrom(const ScanRequest& request) {
    PrestoScanSettings settings{};
    settings.FrameUnit = SM_UNIT_INCHES;
    settings.PixelType = request.pixelType.value_or(SM_PIXEL_GRAY);
    settings.Resolution = static_cast<short>(request.resolution.value_or(300));
    settings.Brightness = static_cast<short>(request.brightness.value_or(0));
    settings.Contrast = static_cast<short>(request.contrast.value_or(0));
    settings.BrightnessMin = settings.ContrastMin = percentLowest;
    settings.BrightnessMax = settings.ContrastMax = percentHighest;
    settings.Highlight = static_cast<short>(request.highlight.value_or(levelHighest));
    settings.Shadow = static_cast<short>(request.shadow.value_or(levelLowest));
    settings.HighlightMin = settings.ShadowMin = levelLowest;
    settings.HighlightMax = settings.ShadowMax = levelHighest;
    settings.ModalUI = 0;
    settings.MorePages = request.pages != 1;
    settings.ShowUI = request.ui;
    settings.FeederEnable = request.pages != 1;
    return settings;
}

// The module says so only when it finds out before it writes.
bool diskIsFull(const std::string& file) {
    constexpr uint64_t least = 1 << 16;
    ULARGE_INTEGER room;
    return GetDiskFreeSpaceExW(wide(file.substr(0, file.find_last_of('\\') + 1)).c_str(), &room, nullptr,
                               nullptr) &&
           room.QuadPart < least;
}

[[noreturn]] void failTransfer(int result, const std::string& file) {
    if (result == SM_SCANTOFILE_FILE_ERROR && diskIsFull(file)) result = SM_SCANTOFILE_DISK_FULL;
    switch (result) {
        case SM_SCANTOFILE_CANCELLED:
            throw Failure{FailureCode::Cancelled, "Page 1: cancelled at the source."};
        case SM_SCANTOFILE_DISK_FULL:
            throw Failure{FailureCode::CannotWrite, "There isn't room enough on the disk for the page."};
        case SM_SCANTOFILE_FILE_ERROR:
            throw Failure{FailureCode::CannotWrite, "The page's file can't be made or written."};
        case SM_SCANTOFILE_BAD_IMAGE:
            throw Failure{FailureCode::SourceError,
                          "The one-shot scan can't write this page: its size isn't known, or it "
                          "has a type or depth that it doesn't know. Scan without " +
                              std::string(wording.oneShot) + "."};
        default:
            throw Failure{failureCodeOf(result), "Page 1: " + conditionSentence(result)};
    }
}

// Where a strip couldn't be written the module leaves the file open.
Failure withLeftover(Failure failure, const UnfinishedFile& file) {
    if (file.kept()) return failure;
    removeThoughOpen(file.name());
    if (fileExists(file.name()))
        failure.text += format(" What came of it is left in \"%s\".", file.name().c_str());
    return failure;
}

// The BMP header's resolution isn't reliable in these files, so it is the one that was set.
void keepPage(UnfinishedFile& file, PageOutput& output, int dotsPerInch, ScanListener& listener) {
    const BmpFacts facts = readBmpFacts(file.name());
    listener.pageDone(output.add(file, facts, {dotsPerInch, dotsPerInch}));
}

void checkPath(const std::string& path) {
    // The route decides whether a '%' is a directive, and the source decides the route.
    if (path.find('%') != std::string::npos)
        throw Failure{FailureCode::Usage,
                      format("With %s the path must not contain a per cent sign.", wording.oneShot)};
    if (path.size() >= SM_FILE_NAME_SIZE)
        throw Failure{FailureCode::CannotWrite, format("The path \"%s\" is too long for %s (255 characters).",
                                                       path.c_str(), wording.oneShot)};
}

[[noreturn]] void failStart(const ModuleLibrary& module, HWND parent) {
    module.smCloseDS();
    const OpenSource probe(module, parent);  // names the reason when it is the source's opening
    throw Failure{
        FailureCode::SourceError,
        format("The source \"%s\" can be opened, but refuses the one-shot scan. Scan without %s to learn "
               "more.",
               productName(module).c_str(), wording.oneShot)};
}

}  // namespace

void scanOneShot(const ModuleLibrary& module, const ScanRequest& request, PageOutput& output,
                 HostWindow& window, ScanListener& listener) {
    UnfinishedFile file(output.nextBmp());
    const std::string name = file.ansiName();
    checkPath(name);
    const PrestoScanSettings settings = settingsFrom(request);
    bool resolutionKnown = true;
    bool written = false;
    window.on(SM_MESSAGE_SCANTOFILEGETNAME, [&](WPARAM, LPARAM buffer) {
        std::memcpy(reinterpret_cast<char*>(buffer), name.c_str(), name.size() + 1);
    });
    window.on(SM_MESSAGE_SCANTOFILEXFEREND, [&](WPARAM wParam, LPARAM) {
        const int result = static_cast<int>(wParam);
        if (result != SM_SCANTOFILE_DONE) failTransfer(result, file.name());
        // At once, and no to the question whether there are more pages: nothing follows, whatever the answer.
        keepPage(file, output, resolutionKnown ? settings.Resolution : 0, listener);
        written = true;
        window.declineDialogsAtOnce();
    });
    window.on(SM_MESSAGE_SCANTOFILEDSCLOSED, [&](WPARAM, LPARAM) { window.finish(); });
    // Not sent by a one-shot scan, except when the source's window is closed before it began.
    window.on(SM_MESSAGE_CLOSEDSREQ, [&](WPARAM, LPARAM) { window.finish(); });

    window.endIfCancelled();
    if (!module.smPrestoScan(window.handle(), wording.program, &settings)) failStart(module, window.handle());
    resolutionKnown = worksInInches(module, listener);
    const HostWindow::End end = window.run(module, request.timeoutSeconds, request.ui);
    module.smDisableDS();
    module.smCloseDS();
    output.finish();
    if (window.cancelRequested())
        throw withLeftover({FailureCode::Cancelled,
                            std::string("Cancelled. ") + (written ? "1 page kept." : "No page was scanned.")},
                           file);
    if (window.failure()) throw withLeftover(*window.failure(), file);
    if (written && request.pages != 1)
        listener.note(
            format("a one-shot scan is one page. Run it again for the next one, or scan without %s.",
                   wording.oneShot));
    if (written) return;
    if (end == HostWindow::End::TimedOut)
        throw Failure{
            FailureCode::SourceError,
            format(
                "The source did nothing for %d seconds. Perhaps it waits in its window, which it shows when "
                "it refuses a setting; with %sui there is no limit.",
                request.timeoutSeconds, wording.option)};
    throw Failure{FailureCode::Cancelled, "The source's window was closed. No page was scanned."};
}

}  // namespace host
