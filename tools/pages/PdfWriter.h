#pragma once

#include <memory>

#include "pages/FileSink.h"
#include "pages/PageWriter.h"

namespace pages {

// How the rows of a page become the bytes of a PDF image.
class PdfImage;

// A PDF file of any number of pages, each one image at its size: black and white as CCITT group 4, gray and
// colour as JPEG, the rest (and all, if it is to be lossless) deflated.
class PdfWriter : public PageWriter {
public:
    PdfWriter(const std::wstring& path, const WriterSettings& settings);
    ~PdfWriter() override;

    void begin(const PageFormat& format) override;
    void row(const std::uint8_t* pixels) override;
    void end() override;
    void drop() override;
    void close() override { sink_.close(); }

private:
    // Numbers of objects, which begin at 1.
    static constexpr int catalogObject = 1;
    static constexpr int pagesObject = 2;
    static constexpr int objectsPerPage = 4;
    int pageObject(int page) const { return pagesObject + 1 + objectsPerPage * page; }

    void startObject(int number);
    void writePageObjects();
    void writeTrailer(int pages);

    FileSink sink_;
    WriterSettings settings_;
    std::unique_ptr<PdfImage> image_;
    PageFormat format_;
    std::vector<std::uint64_t> objects_;  // where each begins, by number
    std::uint64_t imageStart_ = 0;
    std::uint64_t endOfPages_ = 0;
    int pages_ = 0;
};

}  // namespace pages
