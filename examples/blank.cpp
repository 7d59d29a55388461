// Blank pages: blank [PERCENT] scans all pages, in gray at 100 dpi, and tells how much of each is dark;
// "blank" when that is less than PERCENT (0.5). Strips are looked at as they come, so no page is ever held
// whole.
#include <scanmodule/scanmodule.hpp>

#include <cstdlib>
#include <iostream>
#include <stdexcept>

namespace {

struct Darkness {
    unsigned long dark = 0, all = 0;

    // Rows may be padded, so they are not one run of bytes.
    void add(const TXferStripInfo& strip, bool zeroIsWhite) {
        const auto* row = static_cast<const unsigned char*>(strip.Buffer->BufferPointer);
        for (unsigned y = 0; y < strip.Rows; ++y, row += strip.BytesPerRow)
            for (unsigned x = 0; x < strip.Columns; ++x)
                dark += (row[x] < 128) != zeroIsWhite;
        all += static_cast<unsigned long>(strip.Rows) * strip.Columns;
    }
    double percent() const { return all ? 100.0 * dark / all : 0; }
};

}  // namespace

int main(int argumentCount, char** arguments) try {
    const double limit = argumentCount > 1 ? std::atof(arguments[1]) : 0.5;
    scan::Session session("blank");
    scan::Settings settings;
    settings.pixelType = SM_PIXEL_GRAY;
    settings.bitsPerPixel = static_cast<unsigned short>(8);
    settings.dotsPerInch = static_cast<unsigned short>(100);
    settings.pages = -1;
    for (const scan::Refusal& refusal : session.apply(settings))
        std::cerr << "The source refuses " << refusal.setting << ": " << refusal.why.message() << "\n";
    unsigned short flavor = SM_FLAVOR_CHOCOLATE;
    smGetPixelFlavor(&flavor);

    Darkness page;
    int pages = 0;
    scan::Options options;
    options.timeout = std::chrono::minutes(1);
    session.scanStrips(
        [&](const TXferStripInfo& strip) {
            if (strip.PixelTypeFlag != SM_PIXEL_GRAY || strip.BitsPerPixel != 8)
                throw std::runtime_error("the pages don't come in 8-bit gray");
            page.add(strip, flavor == SM_FLAVOR_VANILLA);
            return scan::Next::Go;
        },
        [&](const TXferImageInfo&) {
            std::cout << "page " << ++pages << ": " << page.percent() << " % dark"
                      << (page.percent() < limit ? ", blank" : "") << "\n";
            page = {};
            return scan::Next::Go;
        },
        options);
    return pages > 0 ? 0 : 1;
} catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
    return 1;
}
