// One call from scanner to file, end to end: smscan --presto and the small hosts in C, by each way the image
// can take; and the windows that a scan can show, with their buttons pressed.
#include <SourceWindow.h>
#include <doctest.h>

#include "ForeignDialog.h"
#include "PageFile.h"
#include "ScanFolder.h"

using vscan::PixelKind;

namespace {

// What the source refuses, so that the module comes down to memory, file and native transfer.
const char* const routes[] = {"RefusedMechanisms=", "RefusedMechanisms=Memory",
                              "RefusedMechanisms=Memory,File"};

}  // namespace

TEST_CASE("the one-shot scan writes the page, in every mode by every mechanism") {
    const struct {
        const char* mode;
        PixelKind kind;
        const char* bits;
    } rows[] = {{"bw", PixelKind::Bw1, "1 bit"},
                {"gray", PixelKind::Gray8, "8 bit"},
                {"color", PixelKind::Rgb24, "24 bit"}};
    for (const auto& row : rows) {
        for (const char* route : routes) {
            CAPTURE(row.bits);
            CAPTURE(std::string(route));
            ScanFolder folder;
            CHECK(folder.smscan({"--presto", "--mode", row.mode, "--resolution", "61", "--output", "p.bmp"},
                                {route}) ==
                  Lines{std::string("p.bmp  504 x 713 pixels, ") + row.bits + ", 61 dpi", "exit 0"});
            CHECK(folder.files() == Lines{"p.bmp"});
            CHECK(comparePixels(folder.path("p.bmp"), vscan::renderPage(pageOf(row.kind, 61))) == "the page");
        }
    }
}

TEST_CASE(
    "the one-shot scan takes what the user set in the source's window when it refuses the host's mode") {
    const struct {
        const char* depth;
        PixelKind kind;
    } rows[] = {{"4", PixelKind::Palette4}, {"8", PixelKind::Palette8}};
    for (const auto& row : rows) {
        for (const char* route : routes) {
            CAPTURE(std::string(row.depth));
            CAPTURE(std::string(route));
            ScanFolder folder;
            ForeignDialog window(vscan::SourceWindow::scanButton);
            const Lines printed =
                folder.run("smscan.exe", {"--presto", "--resolution", "61", "--output", "p.bmp"},
                           {route, "PixelType=Palette", std::string("BitDepth=") + row.depth,
                            "ReadOnlyCapabilities=ICAP_PIXELTYPE"},
                           std::ref(window));
            CHECK(printed ==
                  Lines{std::string("p.bmp  504 x 713 pixels, ") + row.depth + " bit, 61 dpi", "exit 0"});
            CHECK(window.seen().size() == 1);
            CHECK(comparePixels(folder.path("p.bmp"), vscan::renderPage(pageOf(row.kind, 61))) == "the page");
        }
    }
}

TEST_CASE("the one-shot scan's tones") {
    vscan::PageRequest toned = pageOf(PixelKind::Gray8, 50);
    toned.tone.brightness = 300;
    toned.tone.contrast = -200;
    toned.tone.highlight = 230;
    toned.tone.shadow = 20;
    ScanFolder folder;
    CHECK(folder.smscan({"--presto", "--resolution", "50", "--brightness", "30", "--contrast", "-20",
                         "--highlight", "230", "--shadow", "20", "--output", "p.bmp"}) ==
          Lines{"p.bmp  413 x 585 pixels, 8 bit, 50 dpi", "exit 0"});
    CHECK(comparePixels(folder.path("p.bmp"), vscan::renderPage(toned)) == "the page");
}

TEST_CASE("a one-shot scan that ends badly says so and leaves no file") {
    const std::string unknown =
        "! smscan: The one-shot scan can't write this page: its size isn't known, or it has a type or depth "
        "that it doesn't know. Scan without --presto.";
    const struct {
        Words settings;
        Lines printed;
    } rows[] = {
        {{"JamAtPage=1", "StripRows=100", "FaultAfterStrip=2"},
         {"! smscan: Page 1: paper jam (condition code 20). Clear the paper path, put the pages left back "
          "and "
          "scan them.",
          "exit 1"}},
        {{"CancelAtPage=1"}, {"! smscan: Page 1: cancelled at the source.", "exit 5"}},
        {{"UnknownLength=1"}, {unknown, "exit 1"}},
    };
    for (const auto& row : rows) {
        for (const char* route : routes) {
            CAPTURE(row.settings);
            CAPTURE(std::string(route));
            ScanFolder folder;
            CHECK(folder.smscan({"--presto", "--resolution", "50"}, row.settings + Lines{route}) ==
                  row.printed);
            CHECK(folder.files() == Lines{});
        }
    }
    ScanFolder folder;
    CHECK(folder.smscan({"--presto"}, {"TransferMechanism=Memory", "RefusedMechanisms=Native,File,Memory"})
              .back() == "exit 1");
    CHECK(folder.files() == Lines{});
}

TEST_CASE("what the one-shot scan can't remove is named") {
    ScanFolder folder;
    const Lines printed =
        folder.smscan({"--presto", "--mode", "color", "--resolution", "50", "--output", "p.bmp"},
                      {"Planar=1", "StripColumns=100"});
    CHECK(printed ==
          Lines{"! smscan: The page's file can't be made or written. What came of it is left in \"" +
                    folder.path("p.part.bmp") + "\".",
                "exit 6"});
    CHECK(folder.files() == Lines{"p.part.bmp"});
}

TEST_CASE("a depth that the one-shot scan doesn't know is shown in a box, and ends it") {
    ScanFolder folder;
    ForeignDialog windows(IDOK);
    const Lines printed = folder.run(
        "smscan.exe", {"--presto", "--mode", "gray", "--ui", "--resolution", "50"},
        {"PixelType=Gray", "BitDepth=4", "ReadOnlyCapabilities=ICAP_PIXELTYPE"}, std::ref(windows));
    CHECK(printed.back() == "exit 1");
    REQUIRE(windows.seen().size() == 2);  // the source's window, then the box
    CHECK(windows.seen()[1] == "[Error] Tipo de p\xEDxel no v\xE1lido");
    CHECK(folder.files() == Lines{});
}

TEST_CASE("the question for more pages, when the source has more and the feeder is empty") {
    for (const int answer : {IDYES, IDNO}) {
        ScanFolder folder;
        ForeignDialog box(answer);
        CHECK(folder.run("smscan.exe",
                         {"--presto", "--pages", "2", "--resolution", "50", "--output", "p.bmp"},
                         {"PendingCountError=1"}, std::ref(box)) ==
              Lines{"p.bmp  413 x 585 pixels, 8 bit, 50 dpi",
                    "! Note: a one-shot scan is one page. Run it again for the next one, or scan without "
                    "--presto.",
                    "exit 0"});
        CHECK(box.seen() == Lines{"[smscan] \xBF"
                                  "Explorar m\xE1s p\xE1ginas?"});
        CHECK(comparePixels(folder.path("p.bmp"), vscan::renderPage(pageOf(PixelKind::Gray8, 50))) ==
              "the page");
    }
}

TEST_CASE("the source's window: Scan brings the page, Cancel ends the scan") {
    ScanFolder folder;
    const Words options = {"--ui", "--resolution", "50", "--mode", "gray", "--output", "p.bmp"};
    ForeignDialog scan(vscan::SourceWindow::scanButton);
    CHECK(folder.run("smscan.exe", options, {}, std::ref(scan)) ==
          Lines{"p.bmp  413 x 585 pixels, 8 bit, 50 dpi", "exit 0"});
    CHECK(scan.seen().size() == 1);
    CHECK(comparePage(folder.path("p.bmp"), pageOf(PixelKind::Gray8, 50)) == "8 bit, 50 dpi: the page");

    ForeignDialog cancel(vscan::SourceWindow::cancelButton);
    CHECK(folder.run("smscan.exe", options, {}, std::ref(cancel)) ==
          Lines{"! smscan: The source's window was closed. No page was scanned.", "exit 5"});
    CHECK(folder.files() == Lines{"p.bmp"});  // the one that was there
}

TEST_CASE("the small hosts in C") {
    ScanFolder folder;
    CHECK(folder.run("oneshot.exe", {"page.bmp", "color", "60"}) == Lines{"exit 0"});
    CHECK(comparePixels(folder.path("page.bmp"), vscan::renderPage(pageOf(PixelKind::Rgb24, 60))) ==
          "the page");
    CHECK(folder.run("oneshot.exe", {"page.bmp", "bw", "70"}) == Lines{"exit 0"});  // over the old one
    CHECK(comparePixels(folder.path("page.bmp"), vscan::renderPage(pageOf(PixelKind::Bw1, 70))) ==
          "the page");
    CHECK(folder.run("oneshot.exe", {"page.bmp", "gray", "60"}, {"JamAtPage=1"}) ==
          Lines{"! The scan ended with code 20.", "exit 1"});
    CHECK(folder.files() == Lines{});
    CHECK(folder.run("oneshot.exe", {}) ==
          Lines{"! usage: oneshot FILE.BMP [bw|gray|color] [DPI]", "exit 2"});
    CHECK(folder.run("oneshot.exe", {"page.bmp"}, {"OpenFault=busy"}) ==
          Lines{"! The scan can't start.", "exit 1"});

    // Header, then 1754 rows of 1240 pixels.
    CHECK(folder.run("simplest.exe", {}) ==
          Lines{"A page of " + std::to_string(40 + 1754 * 1240 * 3) + " bytes.", "exit 0"});
}
