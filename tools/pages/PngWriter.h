#pragma once

#include <optional>

#include "pages/Deflater.h"
#include "pages/FileSink.h"
#include "pages/PageWriter.h"

namespace pages {

// A PNG file: one page.
class PngWriter : public PageWriter {
public:
    explicit PngWriter(const std::wstring& path) : sink_(path) {}

    void begin(const PageFormat& format) override;
    void row(const std::uint8_t* pixels) override;
    void end() override;
    void drop() override { sink_.cutTo(0); }
    void close() override { sink_.close(); }

private:
    void chunk(const char* type, const std::uint8_t* bytes, std::size_t count);

    FileSink sink_;
    std::optional<Deflater> deflater_;
    std::optional<FilteredRows> rows_;
};

}  // namespace pages
