// The pages of the virtual scanner: what is on them, their geometry, and what the controls make of them.
#include <doctest.h>
#include <windows.h>

#include <cstdio>
#include <string>
#include <vector>

#include "BmpFile.h"
#include "ImageTransfers.h"
#include "PageRenderer.h"
#include "TestPage.h"

using namespace vscan;

namespace {

constexpr Color white{255, 255, 255};
constexpr Color black{0, 0, 0};

Picture pageAt(double resolution, PixelKind kind = PixelKind::Rgb24, int number = 1) {
    PageRequest request;
    request.kind = kind;
    request.xResolution = request.yResolution = resolution;
    request.pageNumber = number;
    return renderPage(request);
}

// The colour at a place given in inches.
Color at(const Picture& picture, double x, double y, double resolution) {
    return picture.colorAt(static_cast<int>(x * resolution), static_cast<int>(y * resolution));
}

int differences(const Picture& a, const Picture& b) {
    if (a.width != b.width || a.height != b.height) return -1;
    int count = 0;
    for (int y = 0; y < a.height; ++y)
        for (int x = 0; x < a.width; ++x)
            count += a.colorAt(x, y) != b.colorAt(x, y);
    return count;
}

double meanLevel(const Picture& picture) {
    double sum = 0;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            sum += picture.colorAt(x, y).green;
    return sum / picture.width / picture.height;
}

}  // namespace

TEST_CASE("the test page shows the same things in the same places at every resolution") {
    for (const double resolution : {50.0, 75.0, 100.0, 150.0, 200.0, 300.0}) {
        CAPTURE(resolution);
        const Picture page = pageAt(resolution);
        CHECK(page.width == static_cast<int>(210 / 25.4 * resolution + 0.5));
        CHECK(page.height == static_cast<int>(297 / 25.4 * resolution + 0.5));
        CHECK(at(page, 0.9, 1.2, resolution) == Color{255, 0, 0});
        CHECK(at(page, 1.75, 1.2, resolution) == Color{0, 255, 0});
        CHECK(at(page, 2.6, 1.2, resolution) == Color{0, 0, 255});
        CHECK(at(page, 0.78, 2.5, resolution) == black);  // the ramp's dark end
        CHECK(at(page, 7.45, 2.5, resolution) == white);  // and its light one
        CHECK(at(page, 2.0, 0.02, resolution) == black);  // the ruler's second inch, on the upper edge
        CHECK(at(page, 2.06, 0.02, resolution) == white);
        CHECK(at(page, 0.45, 0.42, resolution) == black);  // a corner mark
        CHECK(at(page, 6.0, 4.0, resolution) == white);
    }
    // Sharp: a tick is as wide as its inches say, not a scaled-up copy of a coarse one.
    const Picture fine = pageAt(600);
    int tick = 0;
    for (int x = 2 * 600 - 30; x < 2 * 600 + 30; ++x)
        tick += fine.colorAt(x, 20) == black;
    CHECK(tick == 6);
}

TEST_CASE("pages differ in their number only, and are the same each time") {
    const Picture first = pageAt(100);
    CHECK(differences(first, pageAt(100)) == 0);
    const Picture second = pageAt(100, PixelKind::Rgb24, 2);
    CHECK(differences(first, second) > 1000);
    for (int y = 0; y < first.height; ++y)
        for (int x = 0; x < first.width; ++x)
            if (y < 340 || y >= 501) REQUIRE(first.colorAt(x, y) == second.colorAt(x, y));
}

TEST_CASE("an area is a part of the page, and beside the paper there is the lid") {
    const Picture whole = pageAt(100);
    PageRequest request;
    request.xResolution = request.yResolution = 100;
    request.area = {1.5, 2, 4, 3.25};
    const Picture part = renderPage(request);
    REQUIRE(part.width == 250);
    REQUIRE(part.height == 125);
    for (int y = 0; y < part.height; ++y)
        for (int x = 0; x < part.width; ++x)
            REQUIRE(part.colorAt(x, y) == whole.colorAt(x + 150, y + 200));

    request.area = {7, 10, 10, 13};
    const Picture corner = renderPage(request);
    CHECK(corner.colorAt(25, 60) == white);
    CHECK(corner.colorAt(200, 100) == lidColor);
    CHECK(corner.colorAt(100, 200) == lidColor);
}

TEST_CASE("every kind of pixel shows the page as well as it can") {
    const Picture color = pageAt(75);
    const struct {
        PixelKind kind;
        int tolerance;
        bool gray;
    } rows[] = {{PixelKind::Gray4, 9, true},      {PixelKind::Gray8, 0, true},
                {PixelKind::Gray16, 0, true},     {PixelKind::Palette4, 96, false},
                {PixelKind::Palette8, 26, false}, {PixelKind::Rgb48, 0, false}};
    for (const auto& row : rows) {
        CAPTURE(static_cast<int>(row.kind));
        const Picture page = pageAt(75, row.kind);
        int worst = 0;
        for (int y = 0; y < page.height; ++y) {
            for (int x = 0; x < page.width; ++x) {
                Color expected = color.colorAt(x, y);
                const int gray = (expected.red * 77 + expected.green * 150 + expected.blue * 29) / 256;
                if (row.gray)
                    expected = {static_cast<uint8_t>(gray), static_cast<uint8_t>(gray),
                                static_cast<uint8_t>(gray)};
                const Color seen = page.colorAt(x, y);
                for (const int distance :
                     {seen.red - expected.red, seen.green - expected.green, seen.blue - expected.blue})
                    worst = std::max(worst, std::abs(distance));
            }
        }
        CHECK(worst <= row.tolerance);
    }
    // The low bytes of 16-bit samples differ from the high ones, so that exchanged bytes are noticed.
    const Picture deep = pageAt(75, PixelKind::Gray16);
    int same = 0;
    for (std::size_t i = 0; i < deep.pixels.size(); i += 2)
        same += deep.pixels[i] == deep.pixels[i + 1];
    CHECK(same < deep.width * deep.height / 20);
}

TEST_CASE("vanilla counts from white") {
    for (const PixelKind kind : {PixelKind::Bw1, PixelKind::Gray4, PixelKind::Gray8}) {
        PageRequest request;
        request.kind = kind;
        request.xResolution = request.yResolution = 75;
        const Picture chocolate = renderPage(request);
        request.vanilla = true;
        const Picture vanilla = renderPage(request);
        CHECK(vanilla.pixels != chocolate.pixels);
        CHECK(differences(chocolate, vanilla) == 0);  // with its palette it is the same picture
    }
}

TEST_CASE("tone controls do what their names say") {
    PageRequest request;
    request.kind = PixelKind::Gray8;
    request.xResolution = request.yResolution = 75;
    const PageRequest plain = request;
    const double usual = meanLevel(renderPage(plain));
    const auto level = [&](auto change) {
        PageRequest changed = plain;
        change(changed.tone);
        return meanLevel(renderPage(changed));
    };
    CHECK(level([](ToneControls& tone) { tone.brightness = 300; }) > usual + 5);
    CHECK(level([](ToneControls& tone) { tone.brightness = -300; }) < usual - 5);
    CHECK(level([](ToneControls& tone) { tone.gamma = 2.2; }) > usual + 1);
    CHECK(level([](ToneControls& tone) { tone.shadow = 100; }) < usual - 1);
    CHECK(level([](ToneControls& tone) { tone.highlight = 150; }) > usual + 1);
    CHECK(level([](ToneControls& tone) { tone.contrast = -1000; }) == doctest::Approx(128).epsilon(0.01));

    request.kind = PixelKind::Bw1;
    request.tone.threshold = 40;
    const double light = meanLevel(renderPage(request));
    request.tone.threshold = 220;
    CHECK(meanLevel(renderPage(request)) < light - 5);

    ToneControls tone;
    tone.contrast = 500;
    const ToneCurve curve = toneCurve(tone, 0);
    CHECK(curve[64] < 64);
    CHECK(curve[192] > 192);
    tone = {};
    tone.response[2][200] = 7;
    CHECK(toneCurve(tone, 2)[200] == 7);
    CHECK(toneCurve(tone, 1)[200] == 200);
}

TEST_CASE("draft is coarser, the unsharp mask raises edges, descreening softens them") {
    PageRequest request;
    request.xResolution = request.yResolution = 300;
    request.area = {0.5, 0.9, 4, 3.2};
    const Picture plain = renderPage(request);
    const auto steps = [](const Picture& picture) {  // the sum of all steps between neighbours
        double sum = 0;
        for (int y = 0; y < picture.height; ++y)
            for (int x = 1; x < picture.width; ++x)
                sum += std::abs(picture.colorAt(x, y).green - picture.colorAt(x - 1, y).green);
        return sum;
    };
    request.draft = true;
    const Picture draft = renderPage(request);
    for (int y = 0; y + 4 <= draft.height; y += 4)
        for (int x = 0; x + 4 <= draft.width; x += 4)
            REQUIRE(draft.colorAt(x, y) == draft.colorAt(x + 3, y + 3));
    CHECK(differences(plain, draft) > 1000);
    request.draft = false;
    request.unsharpMask = true;
    CHECK(steps(renderPage(request)) > steps(plain));
    request.unsharpMask = false;
    request.descreen = true;
    CHECK(steps(renderPage(request)) < steps(plain));
}

TEST_CASE("filters work between the blocks of a draft") {
    PageRequest request;
    request.xResolution = request.yResolution = 225;  // blocks of 3
    request.draft = true;
    const int edge = 339;  // the first block wholly within the softer colour bars, which start at 1.5 inches
    CHECK(renderPage(request).colorAt(225, edge) == Color{191, 64, 64});
    request.unsharpMask = true;
    CHECK(renderPage(request).colorAt(225, edge).green > 64);
    CHECK(renderPage(request).colorAt(225, edge + 6).green == 64);
}

TEST_CASE("rows come out the same in any order") {
    PageRequest request;
    request.xResolution = request.yResolution = 60;
    for (const bool filtered : {false, true}) {
        request.draft = request.unsharpMask = filtered;
        const Picture page = renderPage(request);
        const TestPage content(a4Width, a4Height);
        PageRenderer renderer(request, content);
        std::vector<std::uint8_t> row(renderer.rowBytes());
        for (int i = 0; i < page.height; ++i) {
            const int y = i * 37 % page.height;
            renderer.render(y, row.data());
            REQUIRE(std::equal(row.begin(), row.end(), page.row(y)));
        }
    }
}

TEST_CASE("the user's own page is served pixel for pixel at its own resolution") {
    char folder[MAX_PATH], path[MAX_PATH];
    GetTempPathA(sizeof folder, folder);
    GetTempFileNameA(folder, "vsc", 0, path);
    const auto write = [&](const std::vector<std::uint8_t>& bytes) {
        std::FILE* file = std::fopen(path, "wb");
        std::fwrite(bytes.data(), 1, bytes.size(), file);
        std::fclose(file);
    };
    // Two rows of three pixels, 24 bits, 200 pixels per inch (7874 per metre), written by hand.
    std::vector<std::uint8_t> bmp{'B', 'M', 78, 0,  0,  0,  0,    0,    0,  0,  54,   0,    0,  0, 40, 0,
                                  0,   0,   3,  0,  0,  0,  2,    0,    0,  0,  1,    0,    24, 0, 0,  0,
                                  0,   0,   0,  0,  0,  0,  0xC2, 0x1E, 0,  0,  0xC2, 0x1E, 0,  0, 0,  0,
                                  0,   0,   0,  0,  0,  0,  1,    2,    3,  4,  5,    6,    7,  8, 9,  0,
                                  0,   0,   11, 12, 13, 14, 15,   16,   17, 18, 19,   0,    0,  0};
    write(bmp);
    const BmpPage page(path);
    CHECK(page.width() == doctest::Approx(3 / 200.0));
    PageRequest request;
    request.area = {0, 0, page.width(), page.height()};
    request.xResolution = request.yResolution = 200;
    CHECK(renderPage(request, page).pixels ==
          std::vector<std::uint8_t>{13, 12, 11, 16, 15, 14, 19, 18, 17, 3, 2, 1, 6, 5, 4, 9, 8, 7});
    request.xResolution = 400;
    const Picture wide = renderPage(request, page);
    REQUIRE(wide.width == 6);
    CHECK(wide.colorAt(1, 0) == Color{13, 12, 11});
    CHECK(wide.colorAt(2, 0) == Color{16, 15, 14});

    bmp[28] = 16;  // a depth that is not understood
    write(bmp);
    CHECK_THROWS_WITH(BmpFile{path}, "only uncompressed BMP files of 1, 4, 8 or 24 bits are understood");
    bmp[28] = 24;
    bmp.pop_back();
    write(bmp);
    CHECK_THROWS_WITH(BmpFile{path}, "the file ends too early");
    // 21845 x 65536 pixels: the size of the rows in bytes is 2 to the power of 32.
    bmp[18] = bmp[19] = 0x55;
    bmp[22] = 0;
    bmp[24] = 1;
    write(bmp);
    CHECK_THROWS_WITH(BmpFile{path}, "the file ends too early");
    write({'B', 'M'});
    CHECK_THROWS_WITH(BmpFile{path}, "the file ends too early");
    DeleteFileA(path);
    CHECK_THROWS_WITH(BmpFile{path}, "the file can't be opened");
}

TEST_CASE("a page that no bitmap can hold is refused") {
    PageRequest request;
    request.area = {0, 0, 100, 100};
    request.xResolution = request.yResolution = 400;  // 4.8 GB
    const TestPage page(100, 100);
    TW_UINT32 handle = 0;
    CHECK(transferNative(request, page, {}, handle).conditionCode == TWCC_LOWMEMORY);
    CHECK(transferFile(request, page, {}, "too large.bmp").conditionCode == TWCC_FILEWRITEERROR);
    CHECK(GetFileAttributesA("too large.bmp") == INVALID_FILE_ATTRIBUTES);
}
