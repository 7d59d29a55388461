// The pages of the virtual scanner: what is on them, their geometry, and what the controls make of them.
#include <doctest.h>
#include <windows.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "BmpFile.h"
#include "PageRenderer.h"
#include "TestPage.h"

using namespace vscan;

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr Color white{255, 255, 255};
constexpr Color black{0, 0, 0};

PageRequest requestAt(double resolution, PixelKind kind = PixelKind::Rgb24) {
    PageRequest request;
    request.kind = kind;
    request.xResolution = request.yResolution = resolution;
    return request;
}

// The sum of `measure` over all pixels.
double sum(const Picture& picture, const std::function<double(int x, int y)>& measure) {
    double result = 0;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            result += measure(x, y);
    return result;
}

double level(const PageRequest& request) {
    const Picture picture = renderPage(request);
    return sum(picture, [&](int x, int y) { return picture.colorAt(x, y).green; }) / picture.width /
           picture.height;
}

}  // namespace

TEST_CASE("the test page shows the same things in the same places at every resolution") {
    const struct {
        double x, y;  // inches
        Color color;
    } places[] = {{0.9, 1.2, {255, 0, 0}}, {1.75, 1.2, {0, 255, 0}},
                  {2.6, 1.2, {0, 0, 255}}, {0.78, 2.5, black},   // the ramp's dark end
                  {7.45, 2.5, white},                            // and its light one
                  {2.0, 0.02, black},                            // the ruler's second inch, on the upper edge
                  {2.06, 0.02, white},     {0.45, 0.42, black},  // a corner mark
                  {6.0, 4.0, white}};
    for (const double resolution : {50.0, 75.0, 200.0}) {
        CAPTURE(resolution);
        const Picture page = renderPage(requestAt(resolution));
        CHECK(page.width == static_cast<int>(210 / 25.4 * resolution + 0.5));
        CHECK(page.height == static_cast<int>(297 / 25.4 * resolution + 0.5));
        for (const auto& place : places)
            CHECK(page.colorAt(static_cast<int>(place.x * resolution),
                               static_cast<int>(place.y * resolution)) == place.color);
    }
    // Sharp: a tick is as wide as its inches say, not a scaled-up copy of a coarse one.
    PageRequest request = requestAt(600);
    request.area = {1.95, 0, 2.05, 0.1};
    const Picture fine = renderPage(request);
    CHECK(sum(fine, [&](int x, int y) { return y == 20 && fine.colorAt(x, y) == black; }) == 6);
}

TEST_CASE("pages differ in their number only") {
    PageRequest request = requestAt(100);
    const Picture first = renderPage(request);
    request.pageNumber = 2;
    const Picture second = renderPage(request);
    const auto differs = [&](int x, int y) { return first.colorAt(x, y) != second.colorAt(x, y); };
    CHECK(sum(first, differs) > 1000);
    CHECK(sum(first, [&](int x, int y) { return (y < 340 || y >= 501) && differs(x, y); }) == 0);
}

TEST_CASE("an area is a part of the page, and beside the paper there is the lid") {
    PageRequest request = requestAt(100);
    const Picture whole = renderPage(request);
    request.area = {1.5, 2, 4, 3.25};
    const Picture part = renderPage(request);
    CHECK(part.width == 250);
    CHECK(part.height == 125);
    CHECK(sum(part, [&](int x, int y) { return part.colorAt(x, y) != whole.colorAt(x + 150, y + 200); }) ==
          0);
    request.area = {7, 10, 10, 13};
    const Picture corner = renderPage(request);
    CHECK(corner.colorAt(25, 60) == white);
    CHECK(corner.colorAt(200, 100) == lidColor);
    CHECK(corner.colorAt(100, 200) == lidColor);
}

TEST_CASE("every kind of pixel shows the page as well as it can, counted from black or from white") {
    const Picture color = renderPage(requestAt(75));
    const struct {
        PixelKind kind;
        int tolerance;
        bool gray;
    } rows[] = {{PixelKind::Gray4, 9, true},      {PixelKind::Gray8, 0, true},
                {PixelKind::Gray16, 0, true},     {PixelKind::Palette4, 96, false},
                {PixelKind::Palette8, 26, false}, {PixelKind::Rgb48, 0, false}};
    for (const auto& row : rows) {
        CAPTURE(static_cast<int>(row.kind));
        PageRequest request = requestAt(75, row.kind);
        const Picture page = renderPage(request);
        const auto tooFar = [&](int x, int y) {
            const Color seen = page.colorAt(x, y);
            Color wanted = color.colorAt(x, y);
            const int gray = (wanted.red * 77 + wanted.green * 150 + wanted.blue * 29) / 256;
            if (row.gray) wanted.red = wanted.green = wanted.blue = static_cast<std::uint8_t>(gray);
            return std::max({std::abs(seen.red - wanted.red), std::abs(seen.green - wanted.green),
                             std::abs(seen.blue - wanted.blue)}) > row.tolerance;
        };
        CHECK(sum(page, tooFar) == 0);
        // The low bytes of 16-bit samples differ from the high ones, so that exchanged bytes are noticed.
        if (row.kind == PixelKind::Gray16)
            CHECK(sum(page, [&](int x, int y) { return page.row(y)[2 * x] == page.row(y)[2 * x + 1]; }) <
                  page.width * page.height / 20);
        request.vanilla = row.kind == PixelKind::Gray4 || row.kind == PixelKind::Gray8;
        if (!request.vanilla) continue;
        const Picture vanilla = renderPage(request);
        CHECK(vanilla.pixels[0] == static_cast<std::uint8_t>(~page.pixels[0]));
        CHECK(sum(page, [&](int x, int y) { return page.colorAt(x, y) != vanilla.colorAt(x, y); }) == 0);
    }
}

TEST_CASE("tone controls do what their names say") {
    const auto changed = [](double ToneControls::*control, double value, PixelKind kind = PixelKind::Gray8) {
        PageRequest request = requestAt(75, kind);
        request.tone.*control = value;
        return level(request);
    };
    const double usual = level(requestAt(75, PixelKind::Gray8));
    CHECK(changed(&ToneControls::brightness, 300) > usual + 5);
    CHECK(changed(&ToneControls::brightness, -300) < usual - 5);
    CHECK(changed(&ToneControls::gamma, 2.2) > usual + 1);
    CHECK(changed(&ToneControls::shadow, 100) < usual - 1);
    CHECK(changed(&ToneControls::highlight, 150) > usual + 1);
    CHECK(changed(&ToneControls::contrast, -1000) == doctest::Approx(128).epsilon(0.01));
    CHECK(changed(&ToneControls::threshold, 220, PixelKind::Bw1) <
          changed(&ToneControls::threshold, 40, PixelKind::Bw1) - 5);
    ToneControls tone;
    tone.contrast = 500;
    CHECK(toneCurve(tone, 0)[64] < 64);
    CHECK(toneCurve(tone, 0)[192] > 192);
    tone = {};
    tone.response[2][200] = 7;
    CHECK(toneCurve(tone, 2)[200] == 7);
    CHECK(toneCurve(tone, 1)[200] == 200);
}

TEST_CASE("draft is coarser, the unsharp mask raises edges, descreening softens them") {
    PageRequest request = requestAt(300);
    request.area = {0.5, 0.9, 4, 3.2};
    const auto steps = [&] {  // the sum of all steps between neighbours
        const Picture page = renderPage(request);
        return sum(page, [&](int x, int y) {
            return x == 0 ? 0 : std::abs(page.colorAt(x, y).green - page.colorAt(x - 1, y).green);
        });
    };
    const double plain = steps();
    request.unsharpMask = true;
    CHECK(steps() > plain);
    request.unsharpMask = false;
    request.descreen = true;
    CHECK(steps() < plain);
    // Filters work between the blocks of a draft, here of 3 pixels.
    request = requestAt(225);
    request.draft = true;
    const int edge = 339;  // the first block wholly within the softer colour bars, which start at 1.5 inches
    const Picture draft = renderPage(request);
    CHECK(draft.colorAt(225, edge) == Color{191, 64, 64});
    CHECK(sum(draft,
              [&](int x, int y) { return draft.colorAt(x, y) != draft.colorAt(x / 3 * 3, y / 3 * 3); }) == 0);
    request.unsharpMask = true;
    CHECK(renderPage(request).colorAt(225, edge).green > 64);
    CHECK(renderPage(request).colorAt(225, edge + 6).green == 64);
}

TEST_CASE("the user's own page is served pixel for pixel at its own resolution") {
    char folder[MAX_PATH], path[MAX_PATH];
    GetTempPathA(sizeof folder, folder);
    GetTempFileNameA(folder, "vsc", 0, path);
    const auto write = [&](const std::string& bytes) { std::ofstream(path, std::ios::binary) << bytes; };
    // Two rows of three pixels, 24 bits, 200 pixels per inch (7874 per metre), written by hand.
    using namespace std::string_literals;
    std::string bmp =
        "BM\x4E\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\x03\0\0\0\x02\0\0\0\x01\0\x18\0\0\0\0\0\0\0\0\0"s
        "\xC2\x1E\0\0\xC2\x1E\0\0\0\0\0\0\0\0\0\0"s
        "abcdefghi\0\0\0ABCDEFGHI\0\0\0"s;
    write(bmp);
    const BmpPage page(path);
    PageRequest request = requestAt(200);
    request.area = {0, 0, 3 / 200.0, 2 / 200.0};
    CHECK(page.width() == doctest::Approx(request.area.right));
    const Bytes pixels = renderPage(request, page).pixels;
    CHECK(std::string(pixels.begin(), pixels.end()) == "CBAFEDIHGcbafedihg");
    request.xResolution = 400;
    CHECK(renderPage(request, page).colorAt(1, 0) == Color{'C', 'B', 'A'});
    CHECK(renderPage(request, page).colorAt(2, 0) == Color{'F', 'E', 'D'});
    write(bmp.substr(0, bmp.size() - 1));
    CHECK_THROWS_WITH(BmpFile{path}, "the file ends too early");
    write("BM");
    CHECK_THROWS_WITH(BmpFile{path}, "the file ends too early");
    bmp[28] = 16;  // a depth that is not understood
    write(bmp);
    CHECK_THROWS_WITH(BmpFile{path}, "only uncompressed BMP files of 1, 4, 8 or 24 bits are understood");
    DeleteFileA(path);
    CHECK_THROWS_WITH(BmpFile{path}, "the file can't be opened");
}
