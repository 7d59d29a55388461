#pragma once

#include <optional>
#include <string>

#include "Console.h"
#include "HostWindow.h"
#include "ModuleLibrary.h"
#include "Options.h"
#include "PageFiles.h"
#include "PageImage.h"
#include "Strips.h"

namespace smscan {

// Receives the pages of a scan through the module's messages and writes them to files.
class PageReceiver {
public:
    PageReceiver(const ModuleLibrary& module, const Options& options, const PageNames& names,
                 HostWindow& window);

    // Pages that are complete and have their final names.
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
    DibFacts finishStrips();
    void checkComplete(const StripWriter& writer);
    DibFacts finishDib(const TXferImageInfo& info);
    void reportPage(const DibFacts& facts, const DotsPerInch& dots);
    void dropPage();
    void noteArea(const TXferImageInfo& info);
    [[noreturn]] void failTransfer(int result) const;

    // Runs a step; a Failure in it ends the batch.
    template <class Step>
    void guarded(Step step);
    void giveUp(const Failure& failure);

    const ModuleLibrary& module_;
    const Options& options_;
    const PageNames& names_;
    HostWindow& window_;
    Progress progress_;
    int pages_ = 0;
    std::string incomplete_;
    bool expectCancel_ = false;  // this batch was ended from here
    bool areaNoted_ = false;
    std::optional<UnfinishedFile> file_;
    std::optional<StripWriter> writer_;
    HGLOBAL dib_ = nullptr;
};

}  // namespace smscan
