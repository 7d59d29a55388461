#include "smworker/ScanEvents.h"

namespace smworker {

void ScanEvents::note(const std::string& text) {
    outbox_.send(notificationLine("note", {{"scan", id_}, {"text", text}}));
}

void ScanEvents::pageStarts(int page, int width, int height) {
    Json params = about(page);
    params["width"] = width;
    if (height >= 0) params["height"] = height;
    lastProgress_ = GetTickCount();
    outbox_.send(notificationLine("pageStart", std::move(params)));
}

void ScanEvents::progress(int page, int done, int total) {
    const DWORD now = GetTickCount();
    if (progressMs_ == 0 || now - lastProgress_ < progressMs_) return;
    lastProgress_ = now;
    Json params = about(page);
    params["lines"] = done;
    if (total > 0) params["of"] = total;
    outbox_.sendIfRead(notificationLine("progress", std::move(params)));
}

void ScanEvents::pageDone(const host::ScannedPage& page) {
    Json params = about(++pages_);
    params.update(host::pageJson(page));
    if (page.pageInFile > 0) params["pageInFile"] = page.pageInFile;
    outbox_.send(notificationLine("page", std::move(params)));
}

}  // namespace smworker
