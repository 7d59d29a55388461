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

ConsoleOutput::ConsoleOutput() : codePageBefore_(GetConsoleOutputCP()) {
    constexpr size_t bufferBytes = 4096;
    std::setvbuf(stdout, nullptr, _IOFBF, bufferBytes);
    std::setvbuf(stderr, nullptr, _IOFBF, bufferBytes);
    SetConsoleOutputCP(CP_UTF8);
}

ConsoleOutput::~ConsoleOutput() {
    SetConsoleOutputCP(codePageBefore_);
}

void tell(const std::string& line) {
    tellText(line + "\n");
}

void tellText(const std::string& lines) {
    if (std::fputs(asUtf8(lines).c_str(), stdout) == EOF || std::fflush(stdout) != 0) resultsLost = true;
}

void note(const std::string& line) {
    std::fprintf(stderr, "%s\n", asUtf8(line).c_str());
    std::fflush(stderr);
}

namespace {

bool isTerminal(DWORD standardHandle) {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(standardHandle), &mode) != FALSE;
}

}  // namespace

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
