// The windows that a scan can show, with their buttons pressed; what the one-shot scan leaves.
#include <doctest.h>
#include <source/SourceWindow.h>

#include "ForeignDialog.h"
#include "PageFile.h"

using vscan::PixelKind;
using vscan::SourceWindow;

namespace {

const std::string scanGray = "--resolution 50 --mode gray --output p.bmp ";
const vscan::PageRequest gray = pageOf(PixelKind::Gray8, 50);
const std::string grayLine = "p.bmp  413 x 585 pixels, 8 bit, 50 dpi\n";

// What pagesIn shows: the file that the module writes has no resolution, smscan puts it in.
std::string page(PixelKind kind, const std::string& dpi = "0") {
    return "\np.bmp: " + std::to_string(vscan::bitsPerPixel(kind)) + " bit, " + dpi + " dpi: the page";
}

}  // namespace

TEST_CASE("a file of the one-shot scan that the module leaves open goes all the same") {
    ScanFolder folder;
    CHECK(
        folder.smscan("--presto --mode color --resolution 50 --output p.bmp", "Planar=1;StripColumns=100") ==
        "! smscan: The page's file can't be made or written.\nexit 6");
    CHECK(folder.files() == "");
}

TEST_CASE(
    "boxes: a depth that the one-shot scan doesn't know ends it; whether there are more pages is no "
    "question") {
    ForeignDialog windows(IDOK);
    const std::string gray4 = "PixelType=Gray;BitDepth=4;ReadOnlyCapabilities=ICAP_PIXELTYPE";
    const std::string end = scanned(scanGray + "--presto --ui", gray4, gray, std::ref(windows));
    CHECK(end.substr(end.rfind('\n')) == "\nexit 1");  // and no file behind it
    CHECK(windows.count() == 2);                       // the source's window, then the box
    CHECK(windows.seen.find("\n[Error] Tipo de p\xEDxel no v\xE1lido\n") != std::string::npos);
    // The source says that there is more, but the feeder is empty.
    CHECK(scanned(scanGray + "--presto --pages 2", "PendingCountError=1", gray) ==
          grayLine +
              "! Note: a one-shot scan is one page. Run it again for the next one, or scan without "
              "--presto.\nexit 0" +
              page(PixelKind::Gray8, "50"));
}

TEST_CASE("the source's window: Scan brings the page, Cancel ends the scan") {
    const std::string unseen =
        "! Note: there is no display, so nobody sees the window that this waits for. With Wine: "
        "scripts/wine.sh --prefix screen, on a desktop or with xvfb-run.\n";
    ForeignDialog scan(SourceWindow::scanButton), cancel(SourceWindow::cancelButton);
    CHECK(scanned(scanGray + "--ui", "", gray, std::ref(scan)) ==
          grayLine + unseen + "exit 0" + page(PixelKind::Gray8, "50"));
    CHECK(scan.count() == 1);
    CHECK(scanned(scanGray + "--ui", "", gray, std::ref(cancel)) ==
          unseen + "! smscan: The source's window was closed. No page was scanned.\nexit 5");
}
