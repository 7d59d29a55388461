// Pages from C++: pages [COUNT] scans that many pages in colour at 150 dpi, or all that the feeder holds, and
// writes page1.bmp, page2.bmp ... into the current folder.
#include <scanmodule/scanmodule.hpp>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

void save(const scan::Dib& page, const std::string& path) {
    std::ofstream file(path, std::ios::binary);
    BITMAPFILEHEADER head{};
    head.bfType = 0x4D42;  // "BM"
    head.bfOffBits = static_cast<DWORD>(sizeof head + page.rowsOffset());
    head.bfSize = static_cast<DWORD>(sizeof head + page.size());
    file.write(reinterpret_cast<const char*>(&head), sizeof head);
    file.write(static_cast<const char*>(page.data()), static_cast<std::streamsize>(page.size()));
    file.close();
    if (!file) throw std::runtime_error(path + " can't be written");
}

}  // namespace

int main(int argumentCount, char** arguments) try {
    scan::Session session("pages");
    std::cout << "Scanning from " << session.productName() << "\n";

    scan::Settings settings;
    settings.pixelType = SM_PIXEL_RGB;
    settings.dotsPerInch = static_cast<unsigned short>(150);
    settings.pages = argumentCount > 1 ? std::atoi(arguments[1]) : -1;
    for (const scan::Refusal& refusal : session.apply(settings))
        std::cerr << "The source refuses " << refusal.setting << ": " << refusal.why.message() << "\n";

    int pages = 0;
    session.scanPages([&pages](scan::Dib page) {
        const std::string path = "page" + std::to_string(++pages) + ".bmp";
        save(page, path);
        std::cout << path << "  " << page.header().biWidth << " x " << page.header().biHeight << "\n";
        return scan::Next::Go;
    });
    return pages > 0 ? 0 : 1;
} catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
    return 1;
}
