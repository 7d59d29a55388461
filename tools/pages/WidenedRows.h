#pragma once

#include <cstdint>
#include <vector>

#include "pages/PageWriter.h"

namespace pages {

// Rows of any kind as 8-bit gray or 24-bit colour, which is what JPEG has.
class WidenedRows {
public:
    explicit WidenedRows(const PageFormat& format);

    const PageFormat& format() const { return widened_; }

    // Good until the next call.
    const std::uint8_t* row(const std::uint8_t* pixels);

private:
    PageFormat given_;
    PageFormat widened_;
    std::vector<std::uint8_t> row_;
};

}  // namespace pages
