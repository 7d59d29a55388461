#pragma once

#include <optional>

#include "pages/FileSink.h"
#include "pages/JpegEncoder.h"
#include "pages/PageWriter.h"
#include "pages/WidenedRows.h"

namespace pages {

// A JPEG file: one page. Palettes become colours, and black and white becomes gray.
class JpegWriter : public PageWriter {
public:
    JpegWriter(const std::wstring& path, int quality) : sink_(path), quality_(quality) {}

    void begin(const PageFormat& format) override {
        rows_.emplace(format);
        encoder_.emplace(rows_->format(), quality_,
                         [this](const std::uint8_t* bytes, std::size_t count) { sink_.write(bytes, count); });
    }
    void row(const std::uint8_t* pixels) override { encoder_->row(rows_->row(pixels)); }
    void end() override {
        encoder_->finish();
        sink_.flush();
    }
    void drop() override { sink_.cutTo(0); }
    void close() override { sink_.close(); }

private:
    FileSink sink_;
    int quality_;
    std::optional<WidenedRows> rows_;
    std::optional<JpegEncoder> encoder_;
};

}  // namespace pages
