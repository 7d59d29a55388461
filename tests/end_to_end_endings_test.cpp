// A scan comes to an end, whatever the source does: hangs, crashes, shows a box that nobody sees. Pages that
// are complete stay, and nothing else; the next scan works.
#include <doctest.h>

#include <fstream>

#include "PageFile.h"
#include "WindowsFiles.h"

namespace {

const std::string scanGray = "--resolution 50 --mode gray --output p%d.bmp --timeout 1 ";
const vscan::PageRequest gray = pageOf(vscan::PixelKind::Gray8, 50);
const std::string secondOfThree = "Pages=3;FailAtPage=2;StripRows=100;FaultAfterStrip=2;FailBy=";
const std::string only = "FailAtPage=1;StripRows=100;FaultAfterStrip=2;FailBy=";

}  // namespace

TEST_CASE("a source that never comes back, or ends or crashes its host, or waits in a box") {
    const std::string kept = "Pages that are complete are kept.";
    const std::string crash = "The source or its driver crashed (exception c0000005 in sane.ds, during ";
    const std::string hang = "The source hangs: it didn't come back from ";
    const std::string hung = " for 3 seconds. " + kept + " --timeout changes how long is waited.";
    const std::string unknownDepth =
        "The one-shot scan can't write this page: its size isn't known, or it has a type or depth that it "
        "doesn't know. Scan without --presto.";
    const struct {
        std::string options, settings;
        int pages;
        std::string message;
    } rows[] = {{"", "OpenFault=hang", 0, hang + "smOpenDS" + hung},
                {"--presto", "OpenFault=crash", 0, crash + "smPrestoScan). " + kept},
                {"--caps", "OpenFault=crash", 0, crash + "smOpenDS). " + kept},
                {"--pages all", secondOfThree + "hang", 1, hang + "smIsDSEvent" + hung},
                {"--pages all --mech native", "Pages=2;FailAtPage=2;FailBy=crash", 1,
                 crash + "smIsDSEvent). " + kept},
                {"--pages all --mech block", secondOfThree + "crash", 1, crash + "smReadBlock). " + kept},
                {"--presto", only + "hang", 0, hang + "smIsDSEvent" + hung},
                {"--presto", only + "crash", 0, crash + "smIsDSEvent). " + kept},
                {"--pages all", secondOfThree + "exit", 1,
                 "The source or its driver ended the program, during smIsDSEvent. " + kept},
                {"--presto", "Window=0;PixelType=Gray;BitDepth=4;ReadOnlyCapabilities=ICAP_PIXELTYPE", 0,
                 unknownDepth}};
    for (const auto& row : rows) {
        CAPTURE(row.options);
        CAPTURE(row.settings);
        const std::string line = row.pages == 1 ? "p1.bmp  413 x 585 pixels, 8 bit, 50 dpi\n" : "";
        const std::string page = row.pages == 1 ? "\np1.bmp: 8 bit, 50 dpi: the page" : "";
        CHECK(scanned(scanGray + row.options, row.settings, gray) ==
              line + "! smscan: " + row.message + "\nexit 1" + page);
    }
}

TEST_CASE("a file that has the name of an unfinished page is somebody's, and stays") {
    ScanFolder folder;
    std::ofstream(folder.path("p1.part.bmp")) << "somebody's";
    for (const char* const settings : {"Pages=1", "JamAtPage=1", "FailAtPage=1;FailBy=crash"}) {
        folder.smscan(scanGray, settings);
        CHECK(readFile(folder.path("p1.part.bmp")) == "somebody's");
        CHECK(folder.files() == "p1.bmp p1.part.bmp");
    }
}

TEST_CASE("a file of many pages has its name and those that were complete, though the process is ended") {
    for (const char* const fault : {"hang", "crash"}) {
        CAPTURE(fault);
        ScanFolder folder;
        folder.smscan("--resolution 50 --mode gray --output all.pdf --pages all --timeout 1",
                      secondOfThree + fault);
        CHECK(folder.files() == "all.pdf");
        CHECK(readFile(folder.path("all.pdf")).find("/Count 1 ") != std::string::npos);
    }
}
