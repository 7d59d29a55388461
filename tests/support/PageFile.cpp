#include "PageFile.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>

#include "BmpHeader.h"
#include "ImageDecoder.h"

namespace {

std::string text(const vscan::Color& color) {
    return "(" + std::to_string(color.red) + " " + std::to_string(color.green) + " " +
           std::to_string(color.blue) + ")";
}

std::string comparePixels(const DecodedImage& image, const vscan::Picture& page) {
    if (image.rgb.empty()) return "no picture";
    if (image.width != page.width) return std::to_string(image.width) + " pixels wide";
    const uint8_t* pixel = image.rgb.data();
    const int rows = std::min(image.height, page.height);
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < image.width; ++x, pixel += 3) {
            const vscan::Color seen{pixel[0], pixel[1], pixel[2]};
            const vscan::Color expected = page.colorAt(x, y);
            if (seen != expected)
                return text(seen) + " at " + std::to_string(x) + "," + std::to_string(y) +
                       ", where the page has " + text(expected);
        }
    }
    if (rows < page.height) return "the page's first " + std::to_string(rows) + " rows";
    if (rows < image.height) return "the page and " + std::to_string(image.height - rows) + " rows more";
    return "the page";
}

int dotsPerInch(uint32_t dotsPerMetre) {
    return static_cast<int>(std::lround(dotsPerMetre * 0.0254));
}

}  // namespace

std::string comparePage(const std::string& path, const vscan::PageRequest& request) {
    std::ifstream stream(path, std::ios::binary);
    const std::vector<uint8_t> file{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    const int x = dotsPerInch(fileField(file, 38, 4));
    const int y = dotsPerInch(fileField(file, 42, 4));
    return std::to_string(fileField(file, 28, 2)) + " bit, " + std::to_string(x) +
           (x == y ? "" : " x " + std::to_string(y)) +
           " dpi: " + comparePixels(decodeImage(file), vscan::renderPage(request));
}
