// The generated test page: rulers in inches, corner marks, lines of text, a gray ramp, colour bars and the
// page number. Made of rectangles in inches, so it is sharp at every resolution.
#pragma once

#include "page/PageContent.h"

namespace vscan {

class TestPage final : public PageContent {
public:
    TestPage(double widthInches, double heightInches);
    double width() const override { return width_; }
    double height() const override { return height_; }
    std::unique_ptr<RowPainter> painter(const Grid& grid) const override;

private:
    double width_;
    double height_;
};

}  // namespace vscan
