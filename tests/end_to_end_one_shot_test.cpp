// One call from scanner to file, end to end: smscan --presto and the small hosts in C, by each way the image
// can take; and the windows that a scan can show, with their buttons pressed.
#include <doctest.h>
#include <source/SourceWindow.h>

#include "ForeignDialog.h"
#include "PageFile.h"
#include "ScanFolder.h"

using vscan::PixelKind;
using vscan::SourceWindow;

namespace {

// What the source refuses, so that the module comes down to memory, file and native transfer.
const std::string routes[] = {"RefusedMechanisms=;", "RefusedMechanisms=Memory;",
                              "RefusedMechanisms=Memory,File;"};
const std::string scanGray = "--resolution 50 --mode gray --output p.bmp ";
const std::string grayLine = "p.bmp  413 x 585 pixels, 8 bit, 50 dpi\n";

// The file of a memory transfer has no resolution.
std::string look(const std::string& bits, const std::string& route = routes[0]) {
    return bits + (route == routes[0] ? " bit, 0 dpi: the page" : " bit, 62 dpi: the page");
}

}  // namespace

TEST_CASE("the one-shot scan writes the page, in every pixel type by every mechanism") {
    const struct {
        std::string options;
        std::string settings;
        PixelKind kind;
        std::string bits;
        size_t windows;
    } rows[] = {
        {"--mode bw", "", PixelKind::Bw1, "1", 0},
        {"--mode gray", "", PixelKind::Gray8, "8", 0},
        {"--mode color", "", PixelKind::Rgb24, "24", 0},
        // It takes what the user set in the source's window when that refuses the host's mode.
        {"", "PixelType=Palette;BitDepth=4;ReadOnlyCapabilities=ICAP_PIXELTYPE", PixelKind::Palette4, "4", 1},
        {"", "PixelType=Palette;BitDepth=8;ReadOnlyCapabilities=ICAP_PIXELTYPE", PixelKind::Palette8, "8", 1},
    };
    for (const auto& row : rows) {
        for (const std::string& route : routes) {
            CAPTURE(row.bits);
            CAPTURE(route);
            ScanFolder folder;
            ForeignDialog window(SourceWindow::scanButton);
            CHECK(folder.smscan("--presto --resolution 62 --output p.bmp " + row.options,
                                route + row.settings, std::ref(window)) ==
                  "p.bmp  513 x 725 pixels, " + row.bits + " bit, 62 dpi\nexit 0");
            CHECK(window.count() == row.windows);
            CHECK(folder.files() == "p.bmp");
            CHECK(comparePage(folder.path("p.bmp"), pageOf(row.kind, 62)) == look(row.bits, route));
        }
    }
}

TEST_CASE("the one-shot scan's tones") {
    ScanFolder folder;
    CHECK(folder.smscan(scanGray + "--presto" + toneOptions) == grayLine + "exit 0");
    CHECK(comparePage(folder.path("p.bmp"), tonedPage(50)) == look("8"));
}

TEST_CASE("a one-shot scan that ends badly says so and leaves no file") {
    const struct {
        std::string settings;
        std::string printed;
    } rows[] = {
        {"JamAtPage=1;StripRows=100;FaultAfterStrip=2",
         "! smscan: Page 1: paper jam (condition code 20). Clear the paper path, put the pages left back and "
         "scan them.\nexit 1"},
        {"CancelAtPage=1", "! smscan: Page 1: cancelled at the source.\nexit 5"},
        {"UnknownLength=1",
         "! smscan: The one-shot scan can't write this page: its size isn't known, or it has a type or depth "
         "that it doesn't know. Scan without --presto.\nexit 1"},
    };
    ScanFolder folder;
    for (const auto& row : rows) {
        for (const std::string& route : routes) {
            CAPTURE(row.settings);
            CAPTURE(route);
            CHECK(folder.smscan(scanGray + "--presto", route + row.settings) == row.printed);
            CHECK(folder.files() == "");
        }
    }
    const std::string none =
        folder.smscan("--presto", "TransferMechanism=Memory;RefusedMechanisms=Native,File,Memory");
    CHECK(none.substr(none.rfind('\n')) == "\nexit 1");
    CHECK(folder.files() == "");
    // What can't be removed is named.
    CHECK(folder.smscan("--presto --mode color --output p.bmp", "Planar=1;StripColumns=100") ==
          "! smscan: The page's file can't be made or written. What came of it is left in \"" +
              folder.path("p.part.bmp") + "\".\nexit 6");
    CHECK(folder.files() == "p.part.bmp");
}

TEST_CASE("a depth that the one-shot scan doesn't know is shown in a box, and ends it") {
    ScanFolder folder;
    ForeignDialog windows(IDOK);
    const std::string printed =
        folder.smscan(scanGray + "--presto --ui",
                      "PixelType=Gray;BitDepth=4;ReadOnlyCapabilities=ICAP_PIXELTYPE", std::ref(windows));
    CHECK(printed.substr(printed.rfind('\n')) == "\nexit 1");
    CHECK(windows.count() == 2);  // the source's window, then the box
    CHECK(windows.seen().find("\n[Error] Tipo de p\xEDxel no v\xE1lido\n") != std::string::npos);
    CHECK(folder.files() == "");
}

TEST_CASE("the question for more pages, when the source has more and the feeder is empty") {
    for (const int answer : {IDYES, IDNO}) {
        ScanFolder folder;
        ForeignDialog box(answer);
        CHECK(folder.smscan(scanGray + "--presto --pages 2", "PendingCountError=1", std::ref(box)) ==
              grayLine +
                  "! Note: a one-shot scan is one page. Run it again for the next one, or scan without "
                  "--presto.\nexit 0");
        CHECK(box.seen() ==
              "[smscan] \xBF"
              "Explorar m\xE1s p\xE1ginas?\n");
        CHECK(comparePage(folder.path("p.bmp"), pageOf(PixelKind::Gray8, 50)) == look("8"));
    }
}

TEST_CASE("the source's window: Scan brings the page, Cancel ends the scan") {
    ScanFolder folder;
    ForeignDialog scan(SourceWindow::scanButton);
    CHECK(folder.smscan(scanGray + "--ui", "", std::ref(scan)) == grayLine + "exit 0");
    CHECK(scan.count() == 1);
    CHECK(comparePage(folder.path("p.bmp"), pageOf(PixelKind::Gray8, 50)) == "8 bit, 50 dpi: the page");

    ForeignDialog cancel(SourceWindow::cancelButton);
    CHECK(folder.smscan(scanGray + "--ui", "", std::ref(cancel)) ==
          "! smscan: The source's window was closed. No page was scanned.\nexit 5");
    CHECK(folder.files() == "p.bmp");  // the one that was there
}

TEST_CASE("the small hosts in C") {
    ScanFolder folder;
    CHECK(folder.run("oneshot.exe", "page.bmp color 60") == "exit 0");
    CHECK(comparePage(folder.path("page.bmp"), pageOf(PixelKind::Rgb24, 60)) == look("24"));
    CHECK(folder.run("oneshot.exe", "page.bmp bw 70") == "exit 0");  // over the old one
    CHECK(comparePage(folder.path("page.bmp"), pageOf(PixelKind::Bw1, 70)) == look("1"));
    CHECK(folder.run("oneshot.exe", "page.bmp", "JamAtPage=1") == "! The scan ended with code 20.\nexit 1");
    CHECK(folder.files() == "");
    const char* const noReason =
        "RefusedMechanisms=Memory;TransferMechanism=File;FailAtPage=1;FailConditionCode=0";
    CHECK(folder.run("oneshot.exe", "page.bmp", noReason) == "! The source gave no image.\nexit 1");
    CHECK(folder.run("oneshot.exe", "") == "! usage: oneshot FILE.BMP [bw|gray|color] [DPI]\nexit 2");
    CHECK(folder.run("oneshot.exe", "page.bmp", "OpenFault=busy") == "! The scan can't start.\nexit 1");

    // Header, then 1754 rows of 1240 pixels.
    CHECK(folder.run("simplest.exe", "") ==
          "A page of " + std::to_string(40 + 1754 * 1240 * 3) + " bytes.\nexit 0");
}
