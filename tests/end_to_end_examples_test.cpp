// The examples, as built hosts: what they print, and the files they leave.
#include <doctest.h>

#include <fstream>
#include <iterator>

#include "PageFile.h"

using vscan::PixelKind;

namespace {

// The bytes of a portable pixmap of the page.
std::string pixmapOf(const vscan::PageRequest& request) {
    const vscan::Picture page = vscan::renderPage(request);
    std::string file = "P6\n" + std::to_string(page.width) + " " + std::to_string(page.height) + "\n255\n";
    for (int y = 0; y < page.height; ++y)
        for (int x = 0; x < page.width; ++x) {
            const vscan::Color color = page.colorAt(x, y);
            for (const int channel : {color.red, color.green, color.blue})
                file += static_cast<char>(channel);
        }
    return file;
}

std::string contentOf(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace

TEST_CASE("each example, each of its ends") {
    const struct {
        const char *program, *arguments, *settings, *printed;
    } rows[] = {
        {"oneshot", "p.bmp", "JamAtPage=1", "! The scan ended with code 20.\nexit 1"},
        {"oneshot", "p.bmp",
         "RefusedMechanisms=Memory;TransferMechanism=File;FailAtPage=1;FailConditionCode=0",
         "! The source gave no image.\nexit 1"},
        {"oneshot", "", "", "! usage: oneshot FILE.BMP [bw|gray|color] [DPI]\nexit 2"},
        {"oneshot", "p.bmp", "OpenFault=busy", "! The scan can't start.\nexit 1"},
        // Header, then 585 rows of 413 pixels and a byte.
        {"simplest", "", "Resolution=50", "A page of 725440 bytes.\nexit 0"},
        {"feeder", "", "", "! usage: feeder FOLDER\nexit 2"},
        {"feeder", ".", "Feeder=none", "! The source has no feeder.\nexit 1"},
        {"feeder", ".", "Pages=0", "! The feeder is empty.\nexit 1"},
        {"feeder", ".", "RefusedMechanisms=File", "! The source doesn't write files.\nexit 1"},
        {"feeder", ".", "JamAtPage=1;Pages=2", "! A page didn't come (code 20).\nexit 1"},
        {"feeder", ".", "FailAtPage=1;FailConditionCode=0", "! A page didn't come.\nexit 1"},
        {"feeder", ".", "CancelAtPage=1", "! A page didn't come (code -4).\nexit 1"},
        {"puller", "", "", "! usage: puller FILE.PPM\nexit 2"},
        {"puller", "p.ppm", "JamAtPage=1;FaultAfterStrip=2",
         "! The source stopped in the middle of the page.\nexit 1"},
        {"puller", "p.ppm", "LengthError=1", "! The source stopped in the middle of the page.\nexit 1"},
        {"puller", "p.ppm", "Planar=1", "! The image isn't plain 24-bit colour in strips.\nexit 1"},
        {"puller", "p.ppm", "UnknownLength=1", "! The image's size isn't known, or too large.\nexit 1"},
        {"blank", "", "Pages=2", "page 1: 14.4114 % dark\npage 2: 14.6256 % dark\nexit 0"},
        {"blank", "14.5", "Pages=2;StripColumns=104;RowPadding=0",
         "page 1: 14.4114 % dark, blank\npage 2: 14.6256 % dark\nexit 0"},
        {"blank", "", "Pages=2;JamAtPage=2", "page 1: 14.4114 % dark\n! scanning: paper jam\nexit 1"},
        {"blank", "", "PixelTypes=RGB",
         "! The source refuses pixelType: the source doesn't take this value\n"
         "! The source refuses bitsPerPixel: the source doesn't take this value\n"
         "! the pages don't come in 8-bit gray\nexit 1"},
    };
    for (const auto& row : rows) {
        ScanFolder folder;
        CAPTURE(row.program);
        CAPTURE(row.settings);
        const std::string program = row.program;
        CHECK(folder.run(program + ".exe", row.arguments, row.settings) == std::string(row.printed));
        CHECK(folder.files() == "");
    }
}

TEST_CASE("what they write is the page, and nothing of the user's is lost") {
    const auto page = [](PixelKind kind) {
        return "\np.bmp: " + std::to_string(vscan::bitsPerPixel(kind)) + " bit, 0 dpi: the page";
    };
    ScanFolder oneshot;
    CHECK(oneshot.run("oneshot.exe", "p.bmp color 60") == "exit 0");
    CHECK(pagesIn(oneshot, pageOf(PixelKind::Rgb24, 60)) == page(PixelKind::Rgb24));
    CHECK(oneshot.run("oneshot.exe", "p.bmp bw 70") == "exit 0");  // over the old one
    CHECK(pagesIn(oneshot, pageOf(PixelKind::Bw1, 70)) == page(PixelKind::Bw1));

    ScanFolder puller;
    CHECK(puller.run("puller.exe", "p.ppm", "StripRows=37") == "exit 0");
    CHECK((contentOf(puller.path("p.ppm")) == pixmapOf(pageOf(PixelKind::Rgb24, 150))));

    ScanFolder feeder;
    std::ofstream(feeder.path("page001.bmp")) << "the user's own";
    feeder.run("feeder.exe", ".", "Pages=3;JamAtPage=3");
    CHECK(contentOf(feeder.path("page001.bmp")) == "the user's own");
    DeleteFileA(feeder.path("page001.bmp").c_str());
    CHECK(pagesIn(feeder, pageOf(PixelKind::Gray8, 300)) ==
          "\npage002.bmp: 8 bit, 300 dpi: the page\npage003.bmp: 8 bit, 300 dpi: the page");
}
