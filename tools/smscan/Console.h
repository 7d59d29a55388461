#pragma once

#include <string>

namespace smscan {

// Has texts written in one go; to be called first. Otherwise each character is a call of its own.
void writeWholeTexts();

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
