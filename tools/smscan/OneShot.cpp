#include "OneShot.h"

#include <cstring>

#include "Conditions.h"
#include "Console.h"
#include "PageImage.h"
#include "SourceChoice.h"
#include "SourceSettings.h"
#include "Text.h"

namespace smscan {

namespace {

PrestoScanSettings settingsFrom(const Options& options) {
    PrestoScanSettings settings{};
    settings.FrameUnit = SM_UNIT_INCHES;
    settings.PixelType = options.pixelType.value_or(SM_PIXEL_GRAY);
    settings.Resolution = static_cast<short>(options.resolution.value_or(300));
    settings.Brightness = static_cast<short>(options.brightness.value_or(0));
    settings.Contrast = static_cast<short>(options.contrast.value_or(0));
    settings.BrightnessMin = settings.ContrastMin = percentLowest;
    settings.BrightnessMax = settings.ContrastMax = percentHighest;
    settings.Highlight = static_cast<short>(options.highlight.value_or(levelHighest));
    settings.Shadow = static_cast<short>(options.shadow.value_or(levelLowest));
    settings.HighlightMin = settings.ShadowMin = levelLowest;
    settings.HighlightMax = settings.ShadowMax = levelHighest;
    settings.ModalUI = 0;
    settings.MorePages = options.pages != 1;
    settings.ShowUI = options.ui;
    settings.FeederEnable = options.pages != 1;
    return settings;
}

[[noreturn]] void failTransfer(int result) {
    switch (result) {
        case SM_SCANTOFILE_CANCELLED:
            throw Failure{ExitCode::Cancelled, "Page 1: cancelled at the source."};
        case SM_SCANTOFILE_DISK_FULL:
            throw Failure{ExitCode::CannotWrite, "There isn't room enough on the disk for the page."};
        case SM_SCANTOFILE_FILE_ERROR:
            throw Failure{ExitCode::CannotWrite, "The page's file can't be made or written."};
        case SM_SCANTOFILE_BAD_IMAGE:
            throw Failure{ExitCode::SourceError,
                          "The one-shot scan can't write this page: its size isn't known, or it "
                          "has a type or depth that it doesn't know. Scan without --presto."};
        default:
            throw Failure{ExitCode::SourceError, "Page 1: " + conditionSentence(result)};
    }
}

// Where a strip couldn't be written the module leaves the file open, and so it can't be removed.
Failure withLeftover(Failure failure, const UnfinishedFile& file) {
    DeleteFileA(file.name().c_str());
    if (GetFileAttributesA(file.name().c_str()) != INVALID_FILE_ATTRIBUTES)
        failure.text += format(" What came of it is left in \"%s\".", file.name().c_str());
    return failure;
}

// The BMP header's resolution isn't reliable in these files, so it is the one that was set.
void keepPage(UnfinishedFile& file, const std::string& path, int dotsPerInch) {
    const DibFacts facts = readBmpFacts(file.name());
    file.keep();
    tell(pageLine(path, facts, {dotsPerInch, dotsPerInch}));
}

void checkPath(const std::string& path) {
    // The route decides whether a '%' is a directive, and the source decides the route.
    if (path.find('%') != std::string::npos)
        throw Failure{ExitCode::Usage, "With --presto the path must not contain a per cent sign."};
    if (path.size() >= SM_FILE_NAME_SIZE)
        throw Failure{ExitCode::CannotWrite,
                      format("The path \"%s\" is too long for --presto (255 characters).", path.c_str())};
}

[[noreturn]] void failStart(const ModuleLibrary& module, HWND parent) {
    module.smCloseDS();
    const OpenSource probe(module, parent);  // names the reason when it is the source's opening
    throw Failure{
        ExitCode::SourceError,
        format(
            "The source \"%s\" can be opened, but refuses the one-shot scan. Scan without --presto to learn "
            "more.",
            productName(module).c_str())};
}

}  // namespace

void scanOneShot(const ModuleLibrary& module, const Options& options, const PageNames& names,
                 HostWindow& window) {
    UnfinishedFile file(fullPath(names.pathOf(1)));
    checkPath(file.name());
    const PrestoScanSettings settings = settingsFrom(options);
    bool resolutionKnown = true;
    bool written = false;
    window.on(SM_MESSAGE_SCANTOFILEGETNAME, [&](WPARAM, LPARAM buffer) {
        std::memcpy(reinterpret_cast<char*>(buffer), file.name().c_str(), file.name().size() + 1);
    });
    window.on(SM_MESSAGE_SCANTOFILEXFEREND, [&](WPARAM wParam, LPARAM) {
        const int result = static_cast<int>(wParam);
        if (result != SM_SCANTOFILE_DONE) failTransfer(result);
        // At once: the module may ask for more pages now, and wait for long.
        keepPage(file, names.pathOf(1), resolutionKnown ? settings.Resolution : 0);
        written = true;
    });
    window.on(SM_MESSAGE_SCANTOFILEDSCLOSED, [&](WPARAM, LPARAM) { window.finish(); });
    // Not sent by a one-shot scan, except when the source's window is closed before it began.
    window.on(SM_MESSAGE_CLOSEDSREQ, [&](WPARAM, LPARAM) { window.finish(); });

    if (!module.smPrestoScan(window.handle(), "smscan", &settings)) failStart(module, window.handle());
    resolutionKnown = worksInInches(module);
    const HostWindow::End end = window.run(module, options.timeoutSeconds, options.ui);
    module.smDisableDS();
    module.smCloseDS();
    if (window.failure()) throw withLeftover(*window.failure(), file);
    if (written && options.pages != 1)
        note("Note: a one-shot scan is one page. Run it again for the next one, or scan without --presto.");
    if (written) return;
    if (end == HostWindow::End::TimedOut)
        throw Failure{
            ExitCode::SourceError,
            format(
                "The source did nothing for %d seconds. Perhaps it waits in its window, which it shows when "
                "it refuses a setting; with --ui there is no limit.",
                options.timeoutSeconds)};
    throw Failure{ExitCode::Cancelled, "Cancelled; no page was scanned."};
}

}  // namespace smscan
