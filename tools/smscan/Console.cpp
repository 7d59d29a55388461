#include "smscan/Console.h"

#include <windows.h>

#include <cstdio>

#include "common/Text.h"
#include "smscan/ProgressText.h"

namespace smscan {

using host::asUtf8;

namespace {

bool resultsLost = false;

}  // namespace

bool resultsComplete() {
    return !resultsLost;
}

void writeWholeTexts() {
    constexpr size_t bufferBytes = 4096;
    std::setvbuf(stdout, nullptr, _IOFBF, bufferBytes);
    std::setvbuf(stderr, nullptr, _IOFBF, bufferBytes);
}

namespace {

bool isTerminal(DWORD standardHandle) {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(standardHandle), &mode) != FALSE;
}

// A console takes UTF-16: its code page may lack the letters. False when it couldn't be written.
bool writeText(FILE* stream, DWORD standardHandle, const std::string& text) {
    const std::string utf8 = asUtf8(text);
    if (!isTerminal(standardHandle))
        return std::fputs(utf8.c_str(), stream) != EOF && std::fflush(stream) == 0;
    const int bytes = static_cast<int>(utf8.size());
    std::wstring wide(utf8.size(), L'\0');
    const int count = MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), bytes, wide.data(), bytes);
    DWORD written = 0;
    return WriteConsoleW(GetStdHandle(standardHandle), wide.c_str(), static_cast<DWORD>(count), &written,
                         nullptr) != FALSE;
}

}  // namespace

void tell(const std::string& line) {
    tellText(line + "\n");
}

void tellText(const std::string& lines) {
    if (!writeText(stdout, STD_OUTPUT_HANDLE, lines)) resultsLost = true;
}

void note(const std::string& line) {
    writeText(stderr, STD_ERROR_HANDLE, line + "\n");
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
        std::fprintf(stderr, "\r%s", progressBar(page, done, total).c_str());
        std::fflush(stderr);
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
