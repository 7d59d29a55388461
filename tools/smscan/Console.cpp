#include "smscan/Console.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <cstdio>

#include "common/TextEncoding.h"
#include "smscan/ProgressText.h"

namespace smscan {

namespace {

bool resultsLost = false;

bool isTerminal(DWORD standardHandle) {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(standardHandle), &mode) != FALSE;
}

// Terminals show any letter only as UTF-16; files and pipes get UTF-8.
bool write(FILE* stream, DWORD standardHandle, const std::string& text) {
    if (!isTerminal(standardHandle))
        return std::fwrite(text.data(), 1, text.size(), stream) == text.size() && std::fflush(stream) == 0;
    const std::wstring letters = host::wide(text);
    DWORD written = 0;
    return WriteConsoleW(GetStdHandle(standardHandle), letters.data(), static_cast<DWORD>(letters.size()),
                         &written, nullptr) != FALSE;
}

}  // namespace

bool resultsComplete() {
    return !resultsLost;
}

void writeWholeTexts() {
    constexpr size_t bufferBytes = 4096;
    std::setvbuf(stdout, nullptr, _IOFBF, bufferBytes);
    std::setvbuf(stderr, nullptr, _IOFBF, bufferBytes);
    // Lines end as programs that read them expect it.
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
}

void tell(const std::string& line) {
    tellText(line + "\n");
}

void tellText(const std::string& lines) {
    if (!write(stdout, STD_OUTPUT_HANDLE, lines)) resultsLost = true;
}

void note(const std::string& line) {
    write(stderr, STD_ERROR_HANDLE, line + "\n");
}

// The page lines go to stdout: a bar between them would only hurt in a file, so both must be terminals.
Progress::Progress(bool shown)
    : shown_(shown), terminal_(isTerminal(STD_ERROR_HANDLE) && isTerminal(STD_OUTPUT_HANDLE)) {}

void Progress::update(int page, int done, int total) {
    if (!shown_) return;
    constexpr int plainPercent = 25;
    constexpr int plainLines = 500;
    constexpr int barLines = 10;
    int step;
    if (total > 0)
        step = percentOf(done, total) / (terminal_ ? 1 : plainPercent);
    else
        step = done / (terminal_ ? barLines : plainLines);
    if (page == lastPage_ && step == lastStep_) return;
    lastPage_ = page;
    lastStep_ = step;
    if (terminal_) {
        write(stderr, STD_ERROR_HANDLE, "\r" + progressBar(page, done, total));
        open_ = true;
    } else {
        note(progressLine(page, done, total));
    }
}

void Progress::end() {
    if (open_) note("");
    open_ = false;
}

}  // namespace smscan
