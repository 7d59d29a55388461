#pragma once

#include "common/ScanListener.h"
#include "smscan/Console.h"

namespace smscan {

// Tells the user of a scan: pages on stdout, all else on stderr.
class ConsoleListener final : public host::ScanListener {
public:
    // `pagesAreNotes`: stdout is taken, so pages are told on stderr, too.
    ConsoleListener(bool showProgress, bool pagesAreNotes)
        : progress_(showProgress), pagesAreNotes_(pagesAreNotes) {}

    void note(const std::string& text) override;
    void progress(int page, int done, int total) override { progress_.update(page, done, total); }
    void progressOver() override { progress_.end(); }
    void pageDone(const host::ScannedPage& page) override;

private:
    Progress progress_;
    bool pagesAreNotes_;
};

}  // namespace smscan
