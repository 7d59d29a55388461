#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <string>

#include "common/BmpFacts.h"
#include "common/PageFiles.h"
#include "common/PageNames.h"
#include "common/ScanListener.h"
#include "pages/PageWriter.h"

namespace host {

// Where the pages go, and as what.
struct OutputRequest {
    std::string pattern;                          // "-": to `stream`
    const pages::FormatTraits* format = nullptr;  // none: as the pattern's extension says
    bool multipage = false;                       // all pages in one file
    bool force = false;                           // replace files
    std::optional<int> start;                     // the first page's number
    pages::WriterSettings settings;
    HANDLE stream = nullptr;
};

// The files of a scan. Each page is received as a BMP file first, whose rows may come in any order; when it
// is complete, it is written row by row to what was asked for. So nothing half-made ever gets into a file of
// many pages.
class PageOutput {
public:
    // Throws Failure with FailureCode::Usage when the request can't be meant.
    PageOutput(const OutputRequest& request, bool manyPages);
    PageOutput(const PageOutput&) = delete;
    PageOutput& operator=(const PageOutput&) = delete;
    // Completes a file of many pages, if nobody did.
    ~PageOutput();

    // Looks for files that are there and chooses the first number. `pages` as in ScanRequest. Throws Failure
    // with FailureCode::CannotWrite.
    void prepare(int pages, ScanListener& listener);

    // Where the next page is to be received: an UnfinishedFile's path.
    std::string nextBmp() const;

    // Makes what was asked for out of a complete BMP file, with that resolution. Throws Failure; pages from
    // before stay.
    ScannedPage add(UnfinishedFile& bmp, const BmpFacts& facts, const DotsPerInch& dots);

    // Completes a file of many pages and gives it its name. Throws Failure.
    void finish();

private:
    bool toStream() const { return request_.pattern == "-"; }
    int nextNumber() const { return firstNumber_ + (multipage_ ? 0 : pages_); }
    std::string nextPath() const;
    std::string bmpPathOf(const std::string& path) const;
    void addToOwnFile(const UnfinishedFile& bmp, const DotsPerInch& dots);
    void addToCommonFile(const UnfinishedFile& bmp, const DotsPerInch& dots);
    void deliver(UnfinishedFile& file);
    [[noreturn]] void fail(const pages::WriteError& error, UnfinishedFile& bmp);

    OutputRequest request_;
    const pages::FormatTraits& format_;
    bool manyPages_;   // may come
    bool multipage_;   // all in one file
    PageNames names_;  // as the user is told
    PageNames files_;  // in full
    int firstNumber_ = 1;
    int pages_ = 0;
    std::optional<UnfinishedFile> commonFile_;
    std::unique_ptr<pages::PageWriter> commonWriter_;  // goes before the file that it has open
};

}  // namespace host
