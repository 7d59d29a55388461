// What lies on the glass: something that can paint itself at any resolution.
#pragma once

#include <memory>

#include "page/Picture.h"

namespace vscan {

// The grid of sensor positions: pixel (0, 0) lies `originX`, `originY` pixels from the page's top left
// corner.
struct Grid {
    int width = 0;
    int height = 0;
    long originX = 0;
    long originY = 0;
    double xResolution = 100;  // pixels per inch
    double yResolution = 100;
    int pageNumber = 1;
};

class RowPainter {
public:
    virtual ~RowPainter() = default;
    // Paints row `y` of the grid: `width` colours.
    virtual void paint(int y, Color* row) const = 0;
    // Rows with the same number are painted alike.
    virtual int look(int y) const = 0;
};

class PageContent {
public:
    virtual ~PageContent() = default;
    virtual double width() const = 0;  // inches
    virtual double height() const = 0;
    virtual std::unique_ptr<RowPainter> painter(const Grid& grid) const = 0;
};

// What the scanner sees beside the paper: the lid.
constexpr Color lidColor{232, 232, 232};

}  // namespace vscan
