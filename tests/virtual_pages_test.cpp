// The pages of the virtual scanner: what is on them, their geometry, and what the controls make of them.
#include <doctest.h>
#include <windows.h>

#include <filesystem>
#include <fstream>

#include "page/BmpPage.h"
#include "page/PageRenderer.h"
#include "page/TestPage.h"
#include "virtual_host.h"

using namespace vscan;

namespace {

PageRequest requestAt(double resolution, Area area) {
    PageRequest request;
    request.xResolution = request.yResolution = resolution;
    request.area = area;
    return request;
}

std::string hexOf(const Picture& page) {
    return hex(page.pixels.data(), page.pixels.size());
}

}  // namespace

TEST_CASE("the test page shows the same things in the same places at every resolution") {
    constexpr Color white{255, 255, 255}, black{0, 0, 0};
    const struct {
        double x, y;  // inches
        Color color;
    } places[] = {{0.9, 1.2, {255, 0, 0}}, {1.75, 1.2, {0, 255, 0}},
                  {2.6, 1.2, {0, 0, 255}}, {0.78, 2.5, black},   // the ramp's dark end
                  {7.45, 2.5, white},                            // and its light one
                  {2.0, 0.02, black},                            // the ruler's second inch, on the upper edge
                  {2.06, 0.02, white},     {0.45, 0.42, black},  // a corner mark
                  {8.3, 4, lidColor},      {4, 11.72, lidColor}};
    for (const double resolution : {50.0, 75.0, 200.0}) {
        CAPTURE(resolution);
        const Picture page = renderPage(requestAt(resolution, {0, 0, 8.5, 12}));
        CHECK(page.width == static_cast<int>(8.5 * resolution + 0.5));
        CHECK(page.height == 12 * resolution);
        for (const auto& place : places)
            CHECK(page.colorAt(static_cast<int>(place.x * resolution),
                               static_cast<int>(place.y * resolution)) == place.color);
    }
    // Sharp: a tick is as wide as its inches say, not a scaled-up copy of a coarse one.
    CHECK(hexOf(renderPage(requestAt(600, {2 - 4 / 600.0, 0, 2 + 4 / 600.0, 1 / 600.0}))) ==
          "ffffff000000000000000000000000000000000000ffffff");
    // Pages differ in their number.
    PageRequest request = requestAt(50, {0, 3, 4, 5});
    const Picture first = renderPage(request);
    request.pageNumber = 2;
    CHECK(renderPage(request).pixels != first.pixels);
}

TEST_CASE("known pixels in every kind and under every control") {
    using Kind = PixelKind;
    const struct {
        PixelKind kind;
        void (*change)(PageRequest&);
        const char* pixels;
    } rows[] = {
        {Kind::Rgb24, [](auto&) {}, "ff000000ff0000ff00bf404040bf4040bf40"},
        {Kind::Rgb48, [](auto&) {},
         "ff11002e004b005aff77009400a3ffc000ddbfa840c540e240f1bf0e402b403abf574074"},
        {Kind::Palette4, [](auto&) {}, "9aa07770"},
        {Kind::Palette8, [](auto&) {}, "b41e1e973d3d"},
        {Kind::Gray16, [](auto&) {}, "4c11955a95a366a88af18a3a"},
        {Kind::Gray8, [](auto& r) { r.vanilla = true; }, "b36a6a997575"},
        {Kind::Gray4, [](auto&) {}, "49906880"},
        {Kind::Gray4, [](auto& r) { r.vanilla = true; }, "b6609770"},
        {Kind::Bw1, [](auto&) {}, "6060"},
        {Kind::Bw1, [](auto& r) { r.tone.threshold = 140; }, "6000"},
        {Kind::Gray8, [](auto& r) { r.tone.brightness = -300; }, "0049491a3d3d"},
        {Kind::Gray8, [](auto& r) { r.tone.contrast = 500; }, "00c0c0339f9f"},
        {Kind::Gray8, [](auto& r) { r.tone.contrast = -1000; }, "808080808080"},
        {Kind::Gray8, [](auto& r) { r.tone.gamma = 2.2; }, "93c8c8a8c1c1"},
        {Kind::Gray8, [](auto& r) { r.tone.shadow = 100; }, "005151033f3f"},
        {Kind::Gray8, [](auto& r) { r.tone.highlight = 150; }, "81fdfdadebeb"},
        {Kind::Gray8, [](auto& r) { r.unsharpMask = true; }, "4c959558a183"},
        {Kind::Gray8, [](auto& r) { r.descreen = true; }, "697c916d7d8d"},
        {Kind::Gray8, [](auto& r) { r.draft = true; }, "4c4c954c4c95"},
        // Filters work between the blocks of a draft, here of 2 pixels.
        {Kind::Gray8, [](auto& r) { r.draft = r.descreen = true, r.area.bottom = 1.60; },
         "69697c69697c6d6d7d6d6d7d71717d71717d"},
        {Kind::Rgb24, [](auto& r) { r.tone.response[2][64] = 7; }, "ff000000ff0000ff00bf400740bf0740bf07"}};
    for (const auto& row : rows) {
        CAPTURE(&row - rows);
        // The upper left corner of a green bar: red and twice green, above the softer ones.
        PageRequest request = requestAt(50, {1.58, 1.48, 1.64, 1.52});
        request.kind = row.kind;
        row.change(request);
        CHECK(hexOf(renderPage(request)) == row.pixels);
    }
}

TEST_CASE("the user's own page is served pixel for pixel at its own resolution") {
    const std::string path = (std::filesystem::temp_directory_path() / "own.bmp").string();
    // Two rows of three pixels, 24 bits, 200 pixels per inch (7874 per metre), written by hand.
    using namespace std::string_literals;
    const std::string bmp =
        "BM\x4E\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0\x03\0\0\0\x02\0\0\0\x01\0\x18\0\0\0\0\0\0\0\0\0"
        "\xC2\x1E\0\0\xC2\x1E\0\0\0\0\0\0\0\0\0\0"
        "abcdefghi\0\0\0ABCDEFGHI\0\0\0"s;
    // With other bytes at a place, and without the last ones: the page or what is wrong with it.
    const auto look = [&](size_t at, const std::string& bytes, size_t missing = 0) -> std::string {
        const std::string file = std::string(bmp).replace(at, bytes.size(), bytes);
        std::ofstream(path, std::ios::binary) << file.substr(0, file.size() - missing);
        try {
            const BmpPage page(path);
            return hexOf(renderPage(requestAt(200, {0, 0, page.width(), page.height()}), page));
        } catch (const std::runtime_error& error) {
            return error.what();
        }
    };
    CHECK(look(0, "") == "434241464544494847636261666564696867");
    CHECK(look(22, "\xFE\xFF\xFF\xFF") == "636261666564696867434241464544494847");  // top-down
    CHECK(look(0, "", 1) == "the file ends too early");
    // 21845 x 65536 pixels, of 2 to the power of 32 bytes
    CHECK(look(18, "\x55\x55\0\0\0\0\1\0"s) == "the file ends too early");
    CHECK(look(28, "\x10") == "only uncompressed BMP files of 1, 4, 8 or 24 bits are understood");
    DeleteFileA(path.c_str());
    CHECK_THROWS_WITH(BmpFile{path}, "the file can't be opened");
}
