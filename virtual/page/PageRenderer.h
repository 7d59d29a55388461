// Turns a page and the scan settings into pixels, row by row. The transfers deliver exactly these bytes, so a
// test can compare a file or a strip with renderPage().
#pragma once

#include <memory>
#include <vector>

#include "page/PageContent.h"
#include "page/Picture.h"
#include "page/ToneCurves.h"

namespace vscan {

struct Area {
    double left = 0;  // inches from the top left corner of the glass
    double top = 0;
    double right = 0;
    double bottom = 0;
};

constexpr double a4Width = 210 / 25.4;  // inches
constexpr double a4Height = 297 / 25.4;

struct PageRequest {
    PixelKind kind = PixelKind::Rgb24;
    double xResolution = 150;  // pixels per inch, scaling included
    double yResolution = 150;
    Area area{0, 0, a4Width, a4Height};
    int pageNumber = 1;
    bool vanilla = false;  // gray and 1-bit values count from white
    ToneControls tone;
    bool draft = false;        // coarser
    bool unsharpMask = false;  // edges raised
    bool descreen = false;     // softened
};

// Size in pixels: the area's width and height times the resolution, rounded, at least 1.
int pixelWidth(const PageRequest& request);
int pixelHeight(const PageRequest& request);
// The request at the resolution at which its area just fits into so many pixels.
PageRequest fitted(PageRequest request, int width, int height);

class PageRenderer {
public:
    // `content` must outlive the renderer.
    PageRenderer(const PageRequest& request, const PageContent& content);
    ~PageRenderer();
    PageRenderer(const PageRenderer&) = delete;
    PageRenderer& operator=(const PageRenderer&) = delete;

    int width() const;
    int height() const;
    PixelKind kind() const;
    std::size_t rowBytes() const;  // without padding
    // Renders row `y` (0 = top) into `row`, rowBytes() bytes laid out as Picture::pixels. Any order of rows;
    // going downward is the fast one.
    void render(int y, std::uint8_t* row);

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

// The whole page at once.
Picture renderPage(const PageRequest& request, const PageContent& content);
// The same of the generated A4 test page.
Picture renderPage(const PageRequest& request);

}  // namespace vscan
