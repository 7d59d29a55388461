#pragma once

#include "common/ScanListener.h"
#include "smworker/Outbox.h"
#include "smworker/Protocol.h"

namespace smworker {

// Tells the client of a scan, by notifications with its id.
class ScanEvents final : public host::ScanListener {
public:
    // progressMs: at most one `progress` in so many milliseconds; 0: none.
    ScanEvents(Outbox& outbox, Json id, int progressMs)
        : outbox_(outbox), id_(std::move(id)), progressMs_(static_cast<DWORD>(progressMs)) {}

    int pages() const { return pages_; }

    void note(const std::string& text) override;
    void pageStarts(int page, int width, int height) override;
    void progress(int page, int done, int total) override;
    void progressOver() override {}
    void pageDone(const host::ScannedPage& page) override;

private:
    Json about(int page) const { return {{"scan", id_}, {"page", page}}; }

    Outbox& outbox_;
    Json id_;
    DWORD progressMs_;
    DWORD lastProgress_ = GetTickCount();
    int pages_ = 0;
};

// Keeps the notes on what isn't a scan.
class Notes final : public host::ScanListener {
public:
    const Json& all() const { return notes_; }

    void note(const std::string& text) override { notes_.push_back(text); }
    void progress(int, int, int) override {}
    void progressOver() override {}
    void pageDone(const host::ScannedPage&) override {}

private:
    Json notes_ = Json::array();
};

}  // namespace smworker
