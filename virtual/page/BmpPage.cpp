#include "page/BmpPage.h"

#include <vector>

namespace vscan {

namespace {

class BmpPainter final : public RowPainter {
public:
    BmpPainter(const BmpFile& file, const Grid& grid) : file_(file), grid_(grid) {
        columns_.reserve(static_cast<std::size_t>(grid.width));
        for (int x = 0; x < grid.width; ++x)
            columns_.push_back(source(x + grid.originX, grid.xResolution, file.xResolution(), file.width()));
    }

    void paint(int y, Color* row) const override {
        const int line = look(y);
        for (std::size_t x = 0; x < columns_.size(); ++x)
            row[x] = line < 0 || columns_[x] < 0 ? lidColor : file_.colorAt(columns_[x], line);
    }

    int look(int y) const override {
        return source(y + grid_.originY, grid_.yResolution, file_.yResolution(), file_.height());
    }

private:
    // The file's pixel under a sensor position, or -1 beside the page.
    static int source(long position, double sensorResolution, double fileResolution, int count) {
        const double pixel = (static_cast<double>(position) + 0.5) * fileResolution / sensorResolution;
        return pixel >= 0 && pixel < count ? static_cast<int>(pixel) : -1;
    }

    const BmpFile& file_;
    Grid grid_;
    std::vector<int> columns_;
};

}  // namespace

BmpPage::BmpPage(const std::string& path) : file_(path) {}

std::unique_ptr<RowPainter> BmpPage::painter(const Grid& grid) const {
    return std::make_unique<BmpPainter>(file_, grid);
}

}  // namespace vscan
