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
    for (int y = 0; y < std::min(height, page.height); ++y) {
        for (int x = 0; x < width; ++x, pixel += 3) {
            const vscan::Color expected = page.colorAt(x, y);
            if (expected != vscan::Color{pixel[0], pixel[1], pixel[2]})
                return "another pixel at " + std::to_string(x) + "," + std::to_string(y);
        }
    }
    return height == page.height ? "the page" : "the page, " + std::to_string(height) + " rows";
}

}  // namespace

std::string pagesIn(const ScanFolder& folder, vscan::PageRequest page) {
    std::istringstream names(folder.files());
    std::string text;
    for (std::string name; names >> name; ++page.pageNumber) {
        std::ifstream stream(folder.path(name), std::ios::binary);
        const std::vector<uint8_t> file{std::istreambuf_iterator<char>(stream), {}};
        const auto dotsPerInch = [&](size_t field) {
            return std::lround(fileField(file, field, 4) * 0.0254);
        };
        const long x = dotsPerInch(38), y = dotsPerInch(42);
        text += "\n" + name + ": " + std::to_string(fileField(file, 28, 2)) + " bit, " + std::to_string(x) +
                (x == y ? "" : " x " + std::to_string(y)) +
                " dpi: " + comparePixels(file, vscan::renderPage(page));
    }
    return text;
}

std::string scanned(const std::string& options, const std::string& settings, const vscan::PageRequest& page,
                    const ScanFolder::Watcher& watcher) {
    ScanFolder folder;
    const std::string printed = folder.smscan(options, settings, watcher);
    return printed + pagesIn(folder, page);
}
