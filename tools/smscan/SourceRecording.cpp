#include "smscan/SourceRecording.h"

#include "common/Failure.h"
#include "common/OpenSource.h"
#include "common/PageScan.h"
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

// Pages of which only the recording is wanted.
class TemporaryFile {
public:
    TemporaryFile() {
        wchar_t folder[MAX_PATH] = L"", path[MAX_PATH] = L"";
        GetTempPathW(MAX_PATH, folder);
        GetTempFileNameW(folder, L"rec", 0, path);
        path_ = path;
    }
    ~TemporaryFile() { DeleteFileW(path_.c_str()); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    OutputRequest request() const {
        OutputRequest request;
        request.format = pages::fileFormats().data();  // BMP: nothing is converted
        request.force = true;
        // A per cent sign in the folder's name is none of a pattern's.
        for (const char c : utf8(path_))
            request.pattern += c == '%' ? "%%" : std::string(1, c);
        return request;
    }

private:
    std::wstring path_;
};

class Unheard final : public ScanListener {
    void note(const std::string&) override {}
    void progress(int, int, int) override {}
    void progressOver() override {}
    void pageDone(const ScannedPage&) override {}
};

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

void SourceRecording::scanModes(const ModuleLibrary& module, HostWindow& window) {
    int pages = 0;
    const TemporaryFile file;
    Unheard unheard;
    for (const NamedCode& mode : host::scanModes)
        for (const int resolution : {75, 150, 300}) {
            ScanRequest request = options_;
            request.pixelType = mode.code;
            request.bitDepth.reset();
            request.resolution = resolution;
            request.pages = 1;
            try {
                PageOutput output(file.request(), false);
                output.prepare(1, unheard);
                window.begin();
                scanPages(module, request, output, window, unheard);
                ++pages;
            } catch (const Failure& failure) {
                if (failure.code == ExitCode::Cancelled) throw;
                if (failure.code == ExitCode::Usage) continue;  // not offered
                listener_.note(format("not recorded: %s, %d dots per inch: %s", mode.name, resolution,
                                      failure.text.c_str()));
            }
        }
    window.begin();
    listener_.note(format("%s of other modes and resolutions recorded.", counted(pages, "page").c_str()));
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
