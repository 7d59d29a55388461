#include "smtrace/LogWriter.h"

#include <new>

#include "smtrace/LineText.h"
#include "windows/WideText.h"

namespace smtrace {

namespace {

constexpr DWORD pollInterval = 50;  // milliseconds
constexpr size_t blockSize = 64 * 1024;

}  // namespace

bool writeAll(HANDLE file, std::string_view bytes) {
    while (!bytes.empty()) {
        DWORD written = 0;
        if (!WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr)) return false;
        bytes.remove_prefix(written);
    }
    return true;
}

LogWriter::LogWriter(LineStore& store, std::vector<Output> outputs, bool forgetful)
    : store_(store), outputs_(std::move(outputs)), forgetful_(forgetful), next_(store.end()) {
    stop_ = gui::owned(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (stop_) thread_ = gui::owned(CreateThread(nullptr, 0, run, this, 0, nullptr));
    if (!thread_) throw std::bad_alloc();
}

LogWriter::~LogWriter() {
    finish();
}

std::wstring LogWriter::finish() {
    SetEvent(stop_.get());
    WaitForSingleObject(thread_.get(), INFINITE);
    return failure_;
}

DWORD WINAPI LogWriter::run(void* self) {
    auto& writer = *static_cast<LogWriter*>(self);
    bool stopping = false;
    while (!stopping) {
        stopping = WaitForSingleObject(writer.stop_.get(), pollInterval) == WAIT_OBJECT_0;
        writer.writeNew();
    }
    return 0;
}

void LogWriter::writeNew() {
    const size_t end = store_.end();
    while (next_ < end) {
        std::string block;
        for (; next_ < end && block.size() < blockSize; ++next_)
            if (const std::optional<StoredLine> line = store_.line(next_)) block += logText(*line);
        // One that fails doesn't stop the others.
        for (Output& output : outputs_) {
            if (output.failed || writeAll(output.handle, block)) continue;
            failure_ = L"Cannot write to " + output.name + L": " + gui::lastErrorText();
            output.failed = true;
        }
        if (forgetful_) store_.dropBefore(next_);
    }
}

}  // namespace smtrace
