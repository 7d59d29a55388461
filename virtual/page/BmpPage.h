// The user's own page.
#pragma once

#include <memory>
#include <string>

#include "page/BmpFile.h"
#include "page/PageContent.h"

namespace vscan {

// Pixel for pixel at the file's own resolution, the nearest pixel at others.
class BmpPage final : public PageContent {
public:
    explicit BmpPage(const std::string& path);
    double width() const override { return file_.width() / file_.xResolution(); }
    double height() const override { return file_.height() / file_.yResolution(); }
    std::unique_ptr<RowPainter> painter(const Grid& grid) const override;

private:
    BmpFile file_;
};

}  // namespace vscan
