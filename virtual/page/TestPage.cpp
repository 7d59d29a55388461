#include "page/TestPage.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include "page/Font.h"

namespace vscan {

namespace {

constexpr Color white{255, 255, 255};
constexpr Color black{0, 0, 0};
constexpr double margin = 0.75;  // inches that the rulers and corner marks keep to themselves

// One colour from column `from` to before column `to`.
struct Span {
    int from;
    int to;
    Color color;
};

// Spans that fill the same rows, from row `top` to before row `bottom`.
struct Band {
    int top;
    int bottom;
    std::vector<Span> spans;
};

// Collects the page's rectangles, given in inches, as bands of the grid's pixels.
class Canvas {
public:
    explicit Canvas(const Grid& grid) : grid_(grid) {}

    void beginBand(double top, double bottom) {
        Band band{row(top), row(bottom), {}};
        if (band.bottom <= band.top) band.bottom = band.top + 1;
        bands_.push_back(std::move(band));
    }
    void span(double left, double right, Color color) {
        int from = column(left);
        const int to = std::max(column(right), from + 1);
        from = std::max(from, 0);
        if (from < std::min(to, grid_.width))
            bands_.back().spans.push_back({from, std::min(to, grid_.width), color});
    }
    void rectangle(double left, double top, double right, double bottom, Color color) {
        beginBand(top, bottom);
        span(left, right, color);
    }
    // A line of text whose capitals are `height` inches high.
    void text(const std::string& words, double left, double top, double height, Color color) {
        const double dot = height / glyphRows;
        for (int line = 0; line < glyphRows; ++line) {
            beginBand(top + line * dot, top + (line + 1) * dot);
            double x = left;
            for (const char character : words) {
                glyphRow(glyphOf(character)[static_cast<std::size_t>(line)], x, dot, color);
                x += (glyphColumns + 1) * dot;
            }
        }
    }
    int column(double inches) const {
        return static_cast<int>(std::lround(inches * grid_.xResolution) - grid_.originX);
    }
    int row(double inches) const {
        return static_cast<int>(std::lround(inches * grid_.yResolution) - grid_.originY);
    }
    // Only what shows on the grid is kept.
    std::vector<Band> takeBands() {
        bands_.erase(std::remove_if(bands_.begin(), bands_.end(),
                                    [&](const Band& band) {
                                        return band.spans.empty() || band.bottom <= 0 ||
                                               band.top >= grid_.height;
                                    }),
                     bands_.end());
        return std::move(bands_);
    }

private:
    void glyphRow(std::uint8_t dots, double left, double dot, Color color) {
        for (int first = 0; first < glyphColumns; ++first) {
            if (!(dots >> (glyphColumns - 1 - first) & 1)) continue;
            int last = first;
            while (last + 1 < glyphColumns && (dots >> (glyphColumns - 2 - last) & 1))
                ++last;
            span(left + first * dot, left + (last + 1) * dot, color);
            first = last;
        }
    }

    const Grid& grid_;
    std::vector<Band> bands_;
};

double tickLength(int eighths) {
    if (eighths % 8 == 0) return 0.28;
    return eighths % 4 == 0 ? 0.18 : 0.1;
}

// Ticks every eighth of an inch on all four edges, the inches numbered at the top and the left.
void drawRulers(Canvas& canvas, double width, double height) {
    constexpr double thin = 0.005;  // half a tick's thickness
    for (int eighths = 1; eighths / 8.0 < width; ++eighths) {
        const double x = eighths / 8.0;
        const double length = tickLength(eighths);
        canvas.rectangle(x - thin, 0, x + thin, length, black);
        canvas.rectangle(x - thin, height - length, x + thin, height, black);
        if (eighths % 8 == 0) canvas.text(std::to_string(eighths / 8), x + 0.04, 0.18, 0.1, black);
    }
    for (int eighths = 1; eighths / 8.0 < height; ++eighths) {
        const double y = eighths / 8.0;
        const double length = tickLength(eighths);
        canvas.rectangle(0, y - thin, length, y + thin, black);
        canvas.rectangle(width - length, y - thin, width, y + thin, black);
        if (eighths % 8 == 0) canvas.text(std::to_string(eighths / 8), 0.18, y + 0.04, 0.1, black);
    }
}

void drawCornerMarks(Canvas& canvas, double width, double height) {
    constexpr double inset = 0.4;
    constexpr double length = 0.5;
    constexpr double thick = 0.05;
    for (const bool right : {false, true}) {
        for (const bool low : {false, true}) {
            const double x = right ? width - inset : inset;
            const double y = low ? height - inset : inset;
            const double xEnd = right ? x - length : x + length;
            const double yEnd = low ? y - length : y + length;
            const double xThick = right ? x - thick : x + thick;
            const double yThick = low ? y - thick : y + thick;
            canvas.rectangle(std::min(x, xEnd), std::min(y, yThick), std::max(x, xEnd), std::max(y, yThick),
                             black);
            canvas.rectangle(std::min(x, xThick), std::min(y, yEnd), std::max(x, xThick), std::max(y, yEnd),
                             black);
        }
    }
}

void drawColorBars(Canvas& canvas, double left, double width, double top) {
    constexpr Color bars[] = {{255, 0, 0},   {0, 255, 0},   {0, 0, 255}, {0, 255, 255},
                              {255, 0, 255}, {255, 255, 0}, {0, 0, 0},   {255, 255, 255}};
    const double bar = width / 8;
    canvas.beginBand(top, top + 0.5);
    for (int i = 0; i < 8; ++i)
        canvas.span(left + i * bar, left + (i + 1) * bar, bars[i]);
    canvas.beginBand(top + 0.5, top + 0.75);  // the same, half as strong, towards middle gray
    for (int i = 0; i < 8; ++i) {
        const auto soften = [](std::uint8_t level) { return static_cast<std::uint8_t>(64 + level / 2); };
        canvas.span(left + i * bar, left + (i + 1) * bar,
                    {soften(bars[i].red), soften(bars[i].green), soften(bars[i].blue)});
    }
}

void drawGrayRamp(Canvas& canvas, double left, double width, double top) {
    const auto steps = [&](int count, double from, double to) {
        canvas.beginBand(from, to);
        for (int i = 0; i < count; ++i) {
            const auto level = static_cast<std::uint8_t>(i * 255 / (count - 1));
            canvas.span(left + width * i / count, left + width * (i + 1) / count, {level, level, level});
        }
    };
    steps(256, top, top + 0.4);
    steps(16, top + 0.4, top + 0.7);
}

// Groups of upright lines, ever closer: 12 to 300 lines an inch.
void drawLineGroups(Canvas& canvas, double left, double width, double top) {
    constexpr int linesPerInch[] = {12, 25, 50, 75, 100, 150, 200, 300};
    const double group = width / 8;
    for (int i = 0; i < 8; ++i) {
        const double pitch = 1.0 / linesPerInch[i];
        canvas.beginBand(top, top + 0.3);
        for (double x = 0; x + pitch < group - 0.1; x += pitch)
            canvas.span(left + i * group + x, left + i * group + x + pitch / 2, black);
        canvas.text(std::to_string(linesPerInch[i]), left + i * group, top + 0.34, 0.08, black);
    }
}

// Text in shrinking sizes down to the foot of the page.
void drawTextLines(Canvas& canvas, double left, double width, double top, double bottom) {
    constexpr double sizes[] = {0.2, 0.14, 0.11, 0.09, 0.07, 0.05};
    const std::string words = "THE QUICK BROWN FOX JUMPS OVER THE LAZY DOG, 0123456789. ";
    double y = top;
    for (int line = 0; y < bottom; ++line) {
        const double size = sizes[static_cast<std::size_t>(line) % std::size(sizes)];
        if (y + size > bottom) break;
        const auto room = static_cast<std::size_t>(width / (size * (glyphColumns + 1) / glyphRows));
        std::string row;
        while (row.size() < room)
            row += words;
        canvas.text(row.substr(0, room), left, y, size, black);
        y += std::max(size * 1.8, 0.15);
    }
}

std::vector<Band> drawPage(const Grid& grid, double width, double height) {
    Canvas canvas(grid);
    const double inner = width - 2 * margin;
    drawRulers(canvas, width, height);
    drawCornerMarks(canvas, width, height);
    canvas.text("VIRTUAL SCANNER TEST PAGE", margin + 0.3, 0.6, 0.18, black);
    drawColorBars(canvas, margin, inner, 1.0);
    drawGrayRamp(canvas, margin, inner, 1.9);
    drawLineGroups(canvas, margin, inner, 2.75);
    canvas.text("PAGE", margin, 3.4, 0.3, {0, 0, 160});
    canvas.text(std::to_string(grid.pageNumber), margin + 1.4, 3.4, 1.6, black);
    drawTextLines(canvas, margin, inner, 5.3, height - margin);
    return canvas.takeBands();
}

class TestPagePainter final : public RowPainter {
public:
    TestPagePainter(const Grid& grid, double width, double height)
        : paper_(static_cast<std::size_t>(grid.width), white),
          lid_(static_cast<std::size_t>(grid.width), lidColor),
          bands_(drawPage(grid, width, height)) {
        const Canvas canvas(grid);
        const int edge = std::clamp(canvas.column(width), 0, grid.width);
        const int start = std::clamp(canvas.column(0), 0, edge);
        std::fill(paper_.begin(), paper_.begin() + start, lidColor);
        std::fill(paper_.begin() + edge, paper_.end(), lidColor);
        top_ = canvas.row(0);
        bottom_ = canvas.row(height);
        edges_ = {top_, bottom_};
        for (const Band& band : bands_)
            edges_.insert(edges_.end(), {band.top, band.bottom});
        std::sort(edges_.begin(), edges_.end());
    }

    void paint(int y, Color* row) const override {
        const std::vector<Color>& ground = y >= top_ && y < bottom_ ? paper_ : lid_;
        std::memcpy(row, ground.data(), ground.size() * sizeof(Color));
        for (const Band& band : bands_) {
            if (y < band.top || y >= band.bottom) continue;
            for (const Span& span : band.spans)
                std::fill(row + span.from, row + span.to, span.color);
        }
    }
    int look(int y) const override {
        return static_cast<int>(std::upper_bound(edges_.begin(), edges_.end(), y) - edges_.begin());
    }

private:
    std::vector<Color> paper_;
    std::vector<Color> lid_;
    std::vector<Band> bands_;
    std::vector<int> edges_;  // rows where something begins or ends
    int top_ = 0;
    int bottom_ = 0;
};

}  // namespace

TestPage::TestPage(double widthInches, double heightInches) : width_(widthInches), height_(heightInches) {}

std::unique_ptr<RowPainter> TestPage::painter(const Grid& grid) const {
    return std::make_unique<TestPagePainter>(grid, width_, height_);
}

}  // namespace vscan
