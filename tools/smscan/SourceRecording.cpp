#include "smscan/SourceRecording.h"

#include "common/Failure.h"
#include "common/OpenSource.h"
#include "common/Text.h"
#include "common/TextEncoding.h"
#include "record/Survey.h"

namespace smscan {

namespace {

std::wstring pathOf(const Options& options) {
    const std::wstring path = wide(options.recording);
    if (!options.output.force && GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES)
        throw Failure{ExitCode::CannotWrite,
                      format("\"%s\" is there already; --force replaces it.", options.recording.c_str())};
    return path;
}

}  // namespace

SourceRecording::SourceRecording(const Options& options, ScanListener& listener)
    : options_(options),
      listener_(listener),
      recorder_(pathOf(options), options.pixels),
      tap_(L"ScanModule.dll", recorder_) {
    requireComplete();
}

void SourceRecording::requireTap() const {
    if (!tap_.works())
        throw Failure{ExitCode::NoManager,
                      "This ScanModule.dll can't be recorded: it looks for the manager "
                      "in another way than smscan knows."};
}

void SourceRecording::survey(const ModuleLibrary& module, HWND parent) {
    const OpenSource source(module, parent);
    const int known = record::surveySource(tap_);
    listener_.note(format("the source knows %d capabilities; they are in the recording.", known));
}

void SourceRecording::finish() const {
    requireComplete();
    if (recorder_.hasPixels())
        listener_.note(format("the pages' pixels are in %s.pixels; --pixels blank leaves them out.",
                              options_.recording.c_str()));
}

void SourceRecording::requireComplete() const {
    if (!recorder_.complete())
        throw Failure{ExitCode::CannotWrite,
                      format("Cannot write the recording \"%s\".", options_.recording.c_str())};
}

}  // namespace smscan
