#pragma once

#include <optional>
#include <string>

#include "common/HostWindow.h"
#include "common/ModuleLibrary.h"
#include "common/PageFiles.h"
#include "common/PageImage.h"
#include "common/PageOutput.h"
#include "common/ScanListener.h"
#include "common/ScanRequest.h"
#include "common/Strips.h"

namespace host {

// Receives the pages of a scan through the module's messages and writes them to files.
class PageReceiver {
public:
    PageReceiver(const ModuleLibrary& module, const ScanRequest& request, PageOutput& output,
                 HostWindow& window, ScanListener& listener);

    // Pages that are complete and kept.
    int pages() const { return pages_; }
    // Says which pages are shorter than announced; empty when none is.
    const std::string& incomplete() const { return incomplete_; }

private:
    void onStart(TXferImageInfo& info);
    void onStrip(const TXferStripInfo& strip);
    void onEnd(int result, const TXferImageInfo& info);

    void start(TXferImageInfo& info);
    void pullPages(const TXferImageInfo& info);
    void finishPage(const TXferImageInfo& info);
    BmpFacts finishStrips();
    // Of the page that ends: those that came, and those that the source announced (below 0: it didn't).
    void compareLines(int lines, int announced, bool complete);
    BmpFacts finishDib(const TXferImageInfo& info);
    void reportPage(const BmpFacts& facts, const DotsPerInch& dots);
    void dropPage();
    void noteArea(const TXferImageInfo& info);
    [[noreturn]] void failTransfer(int result) const;

    // Runs a step; a Failure in it ends the batch.
    template <class Step>
    void guarded(Step step);
    void giveUp(const Failure& failure);

    const ModuleLibrary& module_;
    const ScanRequest& request_;
    PageOutput& output_;
    HostWindow& window_;
    ScanListener& listener_;
    int pages_ = 0;
    std::string incomplete_;
    bool expectCancel_ = false;  // this batch was ended from here
    bool areaNoted_ = false;
    std::optional<UnfinishedFile> file_;
    std::optional<StripWriter> writer_;
    HGLOBAL dib_ = nullptr;
};

}  // namespace host
