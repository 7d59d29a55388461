#pragma once

#include <optional>

#include "pages/ByteOrder.h"
#include "pages/Deflater.h"
#include "pages/FaxEncoder.h"
#include "pages/FileSink.h"
#include "pages/PageWriter.h"
#include "pages/TiffDirectory.h"

namespace pages {

// A TIFF file of any number of pages: black and white as CCITT group 4, the rest deflated.
class TiffWriter : public PageWriter {
public:
    explicit TiffWriter(const std::wstring& path);

    void begin(const PageFormat& format) override;
    void row(const std::uint8_t* pixels) override;
    void end() override;
    void drop() override { sink_.cutTo(endOfPages_); }
    void close() override { sink_.close(); }

private:
    void startStrip();
    void endStrip();
    TiffDirectory directory(std::uint32_t offset) const;

    FileSink sink_;
    Deflater deflater_;
    std::optional<FaxEncoder> fax_;
    PageFormat format_;
    Bytes difference_;  // a row as the difference of neighbouring pixels
    int rowsPerStrip_ = 0;
    int rowsInStrip_ = 0;
    std::vector<std::uint32_t> stripOffsets_;
    std::vector<std::uint32_t> stripBytes_;
    std::uint32_t linkAt_ = 4;  // where the next page's place is to be written
    std::uint64_t endOfPages_ = 0;
    int pages_ = 0;
};

}  // namespace pages
