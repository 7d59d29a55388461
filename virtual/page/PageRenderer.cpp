#include "page/PageRenderer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "page/TestPage.h"

namespace vscan {

namespace {

constexpr double draftResolution = 75;  // what draft quality still tells apart, pixels per inch

int luminance(const Color& color) {
    return (color.red * 77 + color.green * 150 + color.blue * 29) >> 8;
}

// The lower byte of a 16-bit sample: what a real sensor's noise would be, but the same at every scan.
std::uint8_t lowByte(int x, int y, int channel) {
    return static_cast<std::uint8_t>(x * 73 + y * 151 + channel * 29 + 17);
}

std::array<std::uint8_t, 256> indexOfLevel(int levels) {
    std::array<std::uint8_t, 256> table{};
    for (int i = 0; i < 256; ++i)
        table[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>((i * (levels - 1) + 127) / 255);
    return table;
}

// The nearest of the sixteen colours for each of 16 x 16 x 16 colours.
std::vector<std::uint8_t> nearestOfSixteen() {
    const std::vector<Color> palette = paletteOf(PixelKind::Palette4);
    std::vector<std::uint8_t> table(4096);
    for (int i = 0; i < 4096; ++i) {
        int best = 1 << 30;
        for (std::size_t entry = 0; entry < palette.size(); ++entry) {
            const int red = (i >> 8) * 17 - palette[entry].red;
            const int green = (i >> 4 & 15) * 17 - palette[entry].green;
            const int blue = (i & 15) * 17 - palette[entry].blue;
            const int distance = red * red + green * green + blue * blue;
            if (distance < best) {
                best = distance;
                table[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(entry);
            }
        }
    }
    return table;
}

Grid gridOf(const PageRequest& request) {
    return {pixelWidth(request),
            pixelHeight(request),
            std::lround(request.area.left * request.xResolution),
            std::lround(request.area.top * request.yResolution),
            request.xResolution,
            request.yResolution,
            request.pageNumber};
}

}  // namespace

int pixelWidth(const PageRequest& request) {
    return std::max(1L, std::lround((request.area.right - request.area.left) * request.xResolution));
}

int pixelHeight(const PageRequest& request) {
    return std::max(1L, std::lround((request.area.bottom - request.area.top) * request.yResolution));
}

class PageRenderer::Impl {
public:
    Impl(const PageRequest& request, const PageContent& content)
        : request_(request), grid_(gridOf(request)), painter_(content.painter(grid_)) {
        for (int channel = 0; channel < 3; ++channel)
            tone_[static_cast<std::size_t>(channel)] = toneCurve(request.tone, channel);
        if (request.kind == PixelKind::Palette4) nearest_ = nearestOfSixteen();
        rowsPerBlock_ = request.draft ? blockSize(request.yResolution) : 1;
        columnsPerBlock_ = request.draft ? blockSize(request.xResolution) : 1;
        for (std::vector<Color>& row : seen_)
            row.resize(static_cast<std::size_t>(grid_.width));
        toned_.resize(static_cast<std::size_t>(grid_.width));
    }

    const Grid& grid() const { return grid_; }
    PixelKind kind() const { return request_.kind; }

    // Most rows of a page look like the one before. Those of 16-bit samples have a noise of their own.
    void render(int y, std::uint8_t* row) {
        const std::array<int, 3> looks = looksAround(y);
        const bool isNoisy = request_.kind == PixelKind::Gray16 || request_.kind == PixelKind::Rgb48;
        if (isNoisy || packed_.empty() || looks != packedLooks_) {
            packed_.resize(packedRowBytes(request_.kind, grid_.width));
            applyFilter(y);
            pack(y, packed_.data());
            packedLooks_ = looks;
        }
        std::memcpy(row, packed_.data(), packed_.size());
    }

private:
    static int blockSize(double resolution) {
        return std::max(2, static_cast<int>(std::lround(resolution / draftResolution)));
    }

    // The row of the page that the sensor sees for this one.
    int sensorRow(int y) const {
        y = std::clamp(y, 0, grid_.height - 1);
        return y - y % rowsPerBlock_;
    }

    // Of all rows that a row's pixels come from.
    std::array<int, 3> looksAround(int y) const {
        const int middle = painter_->look(sensorRow(y));
        if (!request_.unsharpMask && !request_.descreen) return {middle, middle, middle};
        return {painter_->look(sensorRow(y - rowsPerBlock_)), middle,
                painter_->look(sensorRow(y + rowsPerBlock_))};
    }

    void pack(int y, std::uint8_t* row) const {
        switch (request_.kind) {
            case PixelKind::Bw1:
                return packBits(row);
            case PixelKind::Gray4:
                return packGrayNibbles(row);
            case PixelKind::Gray8:
                return packGray(row);
            case PixelKind::Gray16:
                return packGray16(y, row);
            case PixelKind::Palette4:
                return packPaletteNibbles(row);
            case PixelKind::Palette8:
                return packPalette(row);
            case PixelKind::Rgb24:
                return packRgb(row);
            case PixelKind::Rgb48:
                return packRgb48(y, row);
        }
    }

    // What the sensor sees in a row; the last few rows are kept for the filters.
    const Color* seen(int y) {
        y = sensorRow(y);
        const auto slot = static_cast<std::size_t>(y / rowsPerBlock_) % seen_.size();
        std::vector<Color>& row = seen_[slot];
        if (seenRow_[slot] == y) return row.data();
        painter_->paint(y, row.data());
        for (int x = 0; columnsPerBlock_ > 1 && x < grid_.width; ++x)
            row[static_cast<std::size_t>(x)] = row[static_cast<std::size_t>(x - x % columnsPerBlock_)];
        seenRow_[slot] = y;
        return row.data();
    }

    // Leaves the row in toned_, filtered but still without the tone curves.
    void applyFilter(int y) {
        const Color* middle = seen(y);
        if (!request_.unsharpMask && !request_.descreen) {
            std::memcpy(toned_.data(), middle, toned_.size() * sizeof(Color));
            return;
        }
        const Color* above = seen(y - rowsPerBlock_);
        const Color* below = seen(y + rowsPerBlock_);
        for (int x = 0; x < grid_.width; ++x) {
            const int left = std::max(x - columnsPerBlock_, 0);
            const int right = std::min(x + columnsPerBlock_, grid_.width - 1);
            const auto filter = [&](std::uint8_t Color::*channel) {
                int sum = 0;
                for (const Color* row : {above, middle, below})
                    sum += row[left].*channel + row[x].*channel + row[right].*channel;
                // With both filters on, the mask wins.
                const int level = request_.unsharpMask ? 3 * (middle[x].*channel) - 2 * sum / 9 : sum / 9;
                return static_cast<std::uint8_t>(std::clamp(level, 0, 255));
            };
            toned_[static_cast<std::size_t>(x)] = {filter(&Color::red), filter(&Color::green),
                                                   filter(&Color::blue)};
        }
    }

    int grayAt(std::size_t x) const { return tone_[0][static_cast<std::size_t>(luminance(toned_[x]))]; }
    Color colorAt(std::size_t x) const {
        return {tone_[0][toned_[x].red], tone_[1][toned_[x].green], tone_[2][toned_[x].blue]};
    }

    void packBits(std::uint8_t* row) const {
        std::memset(row, 0, packedRowBytes(PixelKind::Bw1, grid_.width));
        for (std::size_t x = 0; x < toned_.size(); ++x)
            if ((grayAt(x) >= request_.tone.threshold) != request_.vanilla)
                row[x / 8] = static_cast<std::uint8_t>(row[x / 8] | 0x80 >> x % 8);
    }

    void putNibble(std::uint8_t* row, std::size_t x, int value) const {
        if (x % 2 == 0)
            row[x / 2] = static_cast<std::uint8_t>(value << 4);
        else
            row[x / 2] = static_cast<std::uint8_t>(row[x / 2] | value);
    }

    void packGrayNibbles(std::uint8_t* row) const {
        static const std::array<std::uint8_t, 256> levels = indexOfLevel(16);
        for (std::size_t x = 0; x < toned_.size(); ++x) {
            const int level = levels[static_cast<std::size_t>(grayAt(x))];
            putNibble(row, x, request_.vanilla ? 15 - level : level);
        }
    }

    void packGray(std::uint8_t* row) const {
        const int invert = request_.vanilla ? 0xFF : 0;
        for (std::size_t x = 0; x < toned_.size(); ++x)
            row[x] = static_cast<std::uint8_t>(grayAt(x) ^ invert);
    }

    void packGray16(int y, std::uint8_t* row) const {
        const int invert = request_.vanilla ? 0xFF : 0;
        for (std::size_t x = 0; x < toned_.size(); ++x) {
            row[x * 2] = static_cast<std::uint8_t>(grayAt(x) ^ invert);
            row[x * 2 + 1] = static_cast<std::uint8_t>(lowByte(static_cast<int>(x), y, 0) ^ invert);
        }
    }

    void packPaletteNibbles(std::uint8_t* row) const {
        for (std::size_t x = 0; x < toned_.size(); ++x) {
            const Color color = colorAt(x);
            const int index = (color.red >> 4) << 8 | (color.green >> 4) << 4 | color.blue >> 4;
            putNibble(row, x, nearest_[static_cast<std::size_t>(index)]);
        }
    }

    void packPalette(std::uint8_t* row) const {
        static const std::array<std::uint8_t, 256> cube = indexOfLevel(6);
        static const std::array<std::uint8_t, 256> grays = indexOfLevel(40);
        for (std::size_t x = 0; x < toned_.size(); ++x) {
            const Color color = colorAt(x);
            const bool gray = color.red == color.green && color.green == color.blue;
            const int index = gray ? 216 + grays[color.red]
                                   : cube[color.red] * 36 + cube[color.green] * 6 + cube[color.blue];
            row[x] = static_cast<std::uint8_t>(index);
        }
    }

    void packRgb(std::uint8_t* row) const {
        for (std::size_t x = 0; x < toned_.size(); ++x) {
            row[x * 3] = tone_[0][toned_[x].red];
            row[x * 3 + 1] = tone_[1][toned_[x].green];
            row[x * 3 + 2] = tone_[2][toned_[x].blue];
        }
    }

    void packRgb48(int y, std::uint8_t* row) const {
        for (std::size_t x = 0; x < toned_.size(); ++x) {
            const Color color = colorAt(x);
            const std::uint8_t high[] = {color.red, color.green, color.blue};
            for (int channel = 0; channel < 3; ++channel) {
                row[x * 6 + static_cast<std::size_t>(channel) * 2] = high[channel];
                row[x * 6 + static_cast<std::size_t>(channel) * 2 + 1] =
                    lowByte(static_cast<int>(x), y, channel);
            }
        }
    }

    PageRequest request_;
    Grid grid_;
    std::unique_ptr<RowPainter> painter_;
    std::array<ToneCurve, 3> tone_;
    std::vector<std::uint8_t> nearest_;
    int rowsPerBlock_ = 1;
    int columnsPerBlock_ = 1;
    std::array<std::vector<Color>, 3> seen_;
    std::array<int, 3> seenRow_{-1, -1, -1};
    std::vector<Color> toned_;
    std::vector<std::uint8_t> packed_;  // the last row that was worked out
    std::array<int, 3> packedLooks_{};
};

PageRenderer::PageRenderer(const PageRequest& request, const PageContent& content)
    : impl_(std::make_unique<Impl>(request, content)) {}
PageRenderer::~PageRenderer() = default;
int PageRenderer::width() const {
    return impl_->grid().width;
}
int PageRenderer::height() const {
    return impl_->grid().height;
}
PixelKind PageRenderer::kind() const {
    return impl_->kind();
}
std::size_t PageRenderer::rowBytes() const {
    return packedRowBytes(kind(), width());
}
void PageRenderer::render(int y, std::uint8_t* row) {
    impl_->render(y, row);
}

Picture renderPage(const PageRequest& request, const PageContent& content) {
    PageRenderer renderer(request, content);
    Picture picture;
    picture.kind = request.kind;
    picture.width = renderer.width();
    picture.height = renderer.height();
    picture.palette = paletteOf(request.kind, request.vanilla);
    picture.pixels.resize(picture.rowBytes() * static_cast<std::size_t>(picture.height));
    for (int y = 0; y < picture.height; ++y)
        renderer.render(y, picture.pixels.data() + picture.rowBytes() * static_cast<std::size_t>(y));
    return picture;
}

PageRequest fitted(PageRequest request, int width, int height) {
    const double x = width / (request.area.right - request.area.left);
    const double y = height / (request.area.bottom - request.area.top);
    request.xResolution = request.yResolution = std::min(x, y);
    return request;
}

Picture renderPage(const PageRequest& request) {
    return renderPage(request, TestPage(a4Width, a4Height));
}

}  // namespace vscan
