// The pages of the virtual scanner: what is on them, their geometry, and what the controls make of them.
#include <doctest.h>
#include <windows.h>

#include <fstream>

#include "page/BmpPage.h"
#include "page/PageRenderer.h"
#include "page/TestPage.h"
#include "virtual_host.h"

using namespace vscan;

namespace {

constexpr Color white{255, 255, 255};
constexpr Color black{0, 0, 0};

PageRequest requestAt(double resolution) {
    PageRequest request;
    request.xResolution = request.yResolution = resolution;
    return request;
}

std::string hexOf(const Picture& page) {
    return hex(page.pixels.data(), page.pixels.size());
}

}  // namespace

TEST_CASE("the test page shows the same things in the same places at every resolution") {
    const struct {
        double x, y;  // inches
        Color color;
    } places[] = {{0.9, 1.2, {255, 0, 0}}, {1.75, 1.2, {0, 255, 0}}, {2.6, 1.2, {0, 0, 255}},
                  {0.78, 2.5, black},                            // the ramp's dark end
                  {7.45, 2.5, white},                            // and its light one
                  {2.0, 0.02, black},                            // the ruler's second inch, on the upper edge
                  {2.06, 0.02, white},     {0.45, 0.42, black},  // a corner mark
                  {6.0, 4.0, white},       {8.3, 4, lidColor},       {4, 11.72, lidColor}};
    for (const double resolution : {50.0, 75.0, 200.0}) {
        CAPTURE(resolution);
        PageRequest request = requestAt(resolution);
        request.area = {0, 0, 8.5, 12};
        const Picture page = renderPage(request);
        CHECK(page.width == static_cast<int>(8.5 * resolution + 0.5));
        CHECK(page.height == 12 * resolution);
        for (const auto& place : places)
            CHECK(page.colorAt(static_cast<int>(place.x * resolution),
                               static_cast<int>(place.y * resolution)) == place.color);
    }
    // Sharp: a tick is as wide as its inches say, not a scaled-up copy of a coarse one.
    PageRequest request = requestAt(600);
    request.area = {2 - 4 / 600.0, 0, 2 + 4 / 600.0, 1 / 600.0};
    CHECK(hexOf(renderPage(request)) == "ffffff000000000000000000000000000000000000ffffff");
    // Pages differ in their number.
    request = requestAt(100);
    const Picture first = renderPage(request);
    request.pageNumber = 2;
    CHECK(renderPage(request).pixels != first.pixels);
}

TEST_CASE("known pixels in every kind and under every control") {
    using Change = void (*)(PageRequest&);
    const struct {
        PixelKind kind;
        Change change;
        const char* pixels;
    } rows[] = {
        {PixelKind::Rgb24, [](auto&) {}, "ff000000ff0000ff00bf404040bf4040bf40"},
        {PixelKind::Rgb48, [](auto&) {},
         "ff11002e004b005aff77009400a3ffc000ddbfa840c540e240f1bf0e402b403abf574074"},
        {PixelKind::Palette4, [](auto&) {}, "9aa07770"},
        {PixelKind::Palette8, [](auto&) {}, "b41e1e973d3d"},
        {PixelKind::Gray16, [](auto&) {}, "4c11955a95a366a88af18a3a"},
        {PixelKind::Gray8, [](auto&) {}, "4c9595668a8a"},
        {PixelKind::Gray8, [](auto& r) { r.vanilla = true; }, "b36a6a997575"},
        {PixelKind::Gray4, [](auto&) {}, "49906880"},
        {PixelKind::Gray4, [](auto& r) { r.vanilla = true; }, "b6609770"},
        {PixelKind::Bw1, [](auto&) {}, "6060"},
        {PixelKind::Bw1, [](auto& r) { r.tone.threshold = 140; }, "6000"},
        {PixelKind::Gray8, [](auto& r) { r.tone.brightness = 300; }, "99e2e2b3d6d6"},
        {PixelKind::Gray8, [](auto& r) { r.tone.brightness = -300; }, "0049491a3d3d"},
        {PixelKind::Gray8, [](auto& r) { r.tone.contrast = 500; }, "00c0c0339f9f"},
        {PixelKind::Gray8, [](auto& r) { r.tone.contrast = -1000; }, "808080808080"},
        {PixelKind::Gray8, [](auto& r) { r.tone.gamma = 2.2; }, "93c8c8a8c1c1"},
        {PixelKind::Gray8, [](auto& r) { r.tone.shadow = 100; }, "005151033f3f"},
        {PixelKind::Gray8, [](auto& r) { r.tone.highlight = 150; }, "81fdfdadebeb"},
        {PixelKind::Gray8, [](auto& r) { r.unsharpMask = true; }, "4c959558a183"},
        {PixelKind::Gray8, [](auto& r) { r.descreen = true; }, "697c916d7d8d"},
        {PixelKind::Gray8, [](auto& r) { r.draft = true; }, "4c4c954c4c95"},
        // Filters work between the blocks of a draft, here of 2 pixels.
        {PixelKind::Gray8, [](auto& r) { r.draft = r.descreen = true, r.area.bottom = 1.60; },
         "69697c69697c6d6d7d6d6d7d71717d71717d"},
        {PixelKind::Rgb24, [](auto& r) { r.tone.response[2][64] = 7; },
         "ff000000ff0000ff00bf400740bf0740bf07"},
    };
    for (const auto& row : rows) {
        CAPTURE(&row - rows);
        PageRequest request = requestAt(50);
        request.kind = row.kind;
        // The upper left corner of a green bar: red and twice green, above the softer ones.
        request.area = {1.58, 1.48, 1.64, 1.52};
        row.change(request);
        CHECK(hexOf(renderPage(request)) == row.pixels);
    }
}

TEST_CASE("the user's own page is served pixel for pixel at its own resolution") {
    char folder[MAX_PATH];
    GetTempPathA(sizeof folder, folder);
    const std::string path = std::string(folder) + "own.bmp";
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
    CHECK(hexOf(renderPage(request, page)) == "434241464544494847636261666564696867");
    write(bmp.substr(0, bmp.size() - 1));
    CHECK_THROWS_WITH(BmpFile{path}, "the file ends too early");
    std::string huge = bmp;
    huge[18] = huge[19] = 0x55;  // 21845 x 65536 pixels, of 2 to the power of 32 bytes
    huge[22] = 0;
    huge[24] = 1;
    write(huge);
    CHECK_THROWS_WITH(BmpFile{path}, "the file ends too early");
    bmp[28] = 16;  // a depth that is not understood
    write(bmp);
    CHECK_THROWS_WITH(BmpFile{path}, "only uncompressed BMP files of 1, 4, 8 or 24 bits are understood");
    DeleteFileA(path.c_str());
    CHECK_THROWS_WITH(BmpFile{path}, "the file can't be opened");
}
