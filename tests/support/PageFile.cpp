#include "PageFile.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>

#include "BmpHeader.h"

#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_STATIC
#define STBI_ONLY_BMP
#define STBI_NO_STDIO
#include <stb_image.h>

namespace {

std::string comparePixels(const std::vector<uint8_t>& file, const vscan::Picture& page) {
    int width = 0;
    int height = 0;
    int channels = 0;
    const std::unique_ptr<stbi_uc, void (*)(void*)> pixels(
        stbi_load_from_memory(file.data(), static_cast<int>(file.size()), &width, &height, &channels,
                              STBI_rgb),
        stbi_image_free);
    if (!pixels) return "no picture";
    if (width != page.width) return std::to_string(width) + " pixels wide";
    const stbi_uc* pixel = pixels.get();
    const int rows = std::min(height, page.height);
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < width; ++x, pixel += 3) {
            const vscan::Color expected = page.colorAt(x, y);
            if (expected != vscan::Color{pixel[0], pixel[1], pixel[2]})
                return "another pixel at " + std::to_string(x) + "," + std::to_string(y);
        }
    }
    if (rows < page.height) return "the page's first " + std::to_string(rows) + " rows";
    if (rows < height) return "the page and " + std::to_string(height - rows) + " rows more";
    return "the page";
}

long dotsPerInch(uint32_t dotsPerMetre) {
    return std::lround(dotsPerMetre * 0.0254);
}

std::string comparePage(const std::string& path, const vscan::PageRequest& request) {
    std::ifstream stream(path, std::ios::binary);
    const std::vector<uint8_t> file{std::istreambuf_iterator<char>(stream), {}};
    const long x = dotsPerInch(fileField(file, 38, 4));
    const long y = dotsPerInch(fileField(file, 42, 4));
    return std::to_string(fileField(file, 28, 2)) + " bit, " + std::to_string(x) +
           (x == y ? "" : " x " + std::to_string(y)) +
           " dpi: " + comparePixels(file, vscan::renderPage(request));
}

}  // namespace

std::string pagesIn(const ScanFolder& folder, vscan::PageRequest page) {
    std::istringstream names(folder.files());
    std::string text;
    for (std::string name; names >> name; ++page.pageNumber)
        text += "\n" + name + ": " + comparePage(folder.path(name), page);
    return text;
}

std::string scanned(const std::string& options, const std::string& settings, const vscan::PageRequest& page,
                    const ScanFolder::Watcher& watcher) {
    ScanFolder folder;
    const std::string printed = folder.smscan(options, settings, watcher);
    return printed + pagesIn(folder, page);
}
