#pragma once

#include "common/ScanListener.h"
#include "smscan/Console.h"
#include "smscan/Options.h"

namespace smscan {

// Tells the user of a scan: pages on stdout, all else on stderr. Quiet: pages only, and these only as JSON.
class ConsoleListener final : public host::ScanListener {
public:
    explicit ConsoleListener(const Options& options)
        : progress_(options.progress && !options.quiet),
          pagesAreNotes_(options.output.pattern == "-"),
          quiet_(options.quiet),
          json_(options.json) {}

    void note(const std::string& text) override;
    void progress(int page, int done, int total) override { progress_.update(page, done, total); }
    void progressOver() override { progress_.end(); }
    void pageDone(const host::ScannedPage& page) override;

private:
    Progress progress_;
    bool pagesAreNotes_;  // the page itself goes to stdout
    bool quiet_;
    bool json_;
};

}  // namespace smscan
