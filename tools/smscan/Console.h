#pragma once

#include <string>

namespace smscan {

// While it lives texts are written to consoles in UTF-8 and in one go; otherwise each character is a call of
// its own. To be made first.
class ConsoleOutput {
public:
    ConsoleOutput();
    ConsoleOutput(const ConsoleOutput&) = delete;
    ConsoleOutput& operator=(const ConsoleOutput&) = delete;
    ~ConsoleOutput();

private:
    unsigned codePageBefore_;
};

// On stdout: results. tellText takes whole lines. Here as below what isn't UTF-8 becomes it.
void tell(const std::string& line);
void tellText(const std::string& lines);

// False when something of it could not be written.
bool resultsComplete();

// A line on stderr: everything else.
void note(const std::string& line);

// How far a page is, on stderr: a bar that is drawn over itself on a terminal, else a plain line each quarter
// (or each 500 lines where the height isn't known).
class Progress {
public:
    explicit Progress(bool shown);

    void update(int page, int done, int total);

    // Ends the bar, so that other lines come below it.
    void end();

private:
    bool shown_;
    bool terminal_;
    bool open_ = false;
    int lastPage_ = 0;
    int lastStep_ = -1;
};

}  // namespace smscan
