// smscan and a virtual scanner that misbehaves: what the user is told, the exit code, and what is left in the
// folder: pages that are complete, and nothing half-made.
#include <doctest.h>

#include <sstream>

#include "PageFile.h"
#include "ScanFolder.h"

using vscan::PixelKind;

namespace {

const std::string scanGray = "--resolution 50 --mode gray --output p%d.bmp ";

}  // namespace

TEST_CASE("all pages of the feeder; those before a failure are kept, and its reason is told") {
    const std::string any = "native file memory block";
    const std::string jam =
        "paper jam (condition code 20). Clear the paper path, put the pages left back and scan them.";
    const std::string fault =
        "the scanner doesn't work (condition code 5). Look whether it is switched on and connected, and try "
        "again.";
    const struct {
        std::string mechanisms;  // those that show it so
        std::string settings;
        int pages;
        int exitCode;
        std::string reason;
    } rows[] = {
        {any, "Pages=3", 3, 0, ""},
        {"native file memory", "Pages=3;JamAtPage=2", 1, 1, jam},
        {"memory", "Pages=3;JamAtPage=3", 2, 1, jam},
        {"memory", "Pages=3;JamAtPage=1", 0, 1, jam},
        {"block", "Pages=3;JamAtPage=2;FaultAfterStrip=2", 1, 1,
         "the source cancelled or failed at line 314; pulled block by block it gives no reason."},
        {"native memory", "FailAtPage=1;FaultAfterStrip=3", 0, 1, fault},
        {"memory", "Pages=2;FailAtPage=2;FailConditionCode=2", 1, 1,
         "not enough memory (condition code 2). Scan at a lower resolution or a smaller area."},
        {"native file memory", "Pages=3;CancelAtPage=2", 1, 5, "cancelled at the source."},
        {"memory", "CancelAtPage=1;FaultAfterStrip=2", 0, 5, "cancelled at the source."},
        // A failure with condition code 0 is no success.
        {"native", "FailAtPage=1;FailConditionCode=0", 0, 1, "the source failed and gave no reason."},
        {"file", "FailAtPage=1;FailConditionCode=0", 0, 1,
         "The source says that the page is done, but it wrote no BMP file."},
        {"memory", "FailAtPage=1;FailConditionCode=0", 0, 1,
         "the source says that the page is done, but delivered nothing of it."},
        // A wrong count of pending pages costs at most the pages that were denied.
        {any, "Pages=3;PendingCountError=1", 3, 0, ""},
        {any, "Pages=3;PendingCountError=-1", 2, 0, ""},
        {"native memory", "Pages=2;UnknownPendingCount=1", 2, 0, ""},
    };
    const char* const kept[] = {" No page was scanned.\n", " 1 page kept.\n", " 2 pages kept.\n"};
    for (const auto& row : rows) {
        std::istringstream mechanisms(row.mechanisms);
        for (std::string mechanism; mechanisms >> mechanism;) {
            CAPTURE(row.settings);
            CAPTURE(mechanism);
            ScanFolder folder;
            const std::string printed =
                folder.smscan(scanGray + "--pages all --mech " + mechanism, row.settings);
            std::string expected;
            std::string files;
            for (int page = 1; page <= row.pages; ++page) {
                const std::string name = "p" + std::to_string(page) + ".bmp";
                expected += name + "  413 x 585 pixels, 8 bit, 50 dpi\n";
                files += (page > 1 ? " " : "") + name;
                CHECK(comparePage(folder.path(name), pageOf(PixelKind::Gray8, 50, page)) ==
                      "8 bit, 50 dpi: the page");
            }
            const std::string number = std::to_string(row.pages + 1);
            if (row.exitCode != 0)
                expected += "! smscan: Page " + number + ": " + row.reason + kept[row.pages];
            CHECK(printed == expected + "exit " + std::to_string(row.exitCode));
            CHECK(folder.files() == files);
        }
    }
}

TEST_CASE("a page that ends early is kept as far as it came, and not called done") {
    const struct {
        std::string settings;
        std::string lines;
        std::string content;
    } rows[] = {
        {"FailAtPage=1;FailConditionCode=0;FaultAfterStrip=2", "314 of 585", "the page's first 314 rows"},
        {"LengthError=30", "585 of 615", "the page"},
        {"StripRows=100;StripFaults=ShortLast", "542 of 585", "the page's first 542 rows"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.settings);
        ScanFolder folder;
        CHECK(folder.smscan(scanGray, row.settings) ==
              "p1.bmp  413 x " + row.lines.substr(0, 3) +
                  " pixels, 8 bit, 50 dpi\n! smscan: Page 1 ended early, at line " + row.lines +
                  "; it is kept as far as it came. 1 page kept.\nexit 1");
        CHECK(comparePage(folder.path("p1.bmp"), pageOf(PixelKind::Gray8, 50)) ==
              "8 bit, 50 dpi: " + row.content);
        CHECK(folder.files() == "p1.bmp");
    }
}

TEST_CASE("strips that claim more than there is do no harm") {
    for (const std::string fault :
         {"ZeroBytesPerRow", "ExtraBytes", "Oversized", "ExtraRows,ExtraBytes,WideColumns",
          "ZeroBytesPerRow,ExtraBytes,ShortLast"}) {
        for (const std::string mechanism : {"memory", "block"}) {
            CAPTURE(fault);
            CAPTURE(mechanism);
            ScanFolder folder;
            const std::string printed =
                folder.smscan(scanGray + "--mech " + mechanism, "StripFaults=" + fault);
            // Either it can be made sense of or it is refused. Pulled blocks have no numbers to compare, so
            // there the lies show in the page.
            const bool refused = printed.substr(0, 17) == "! smscan: Page 1:";
            CHECK(printed.substr(printed.rfind('\n')) == (refused ? "\nexit 1" : "\nexit 0"));
            CHECK(folder.files() == (refused ? "" : "p1.bmp"));
            const std::string content = comparePage(folder.path("p1.bmp"), pageOf(PixelKind::Gray8, 50));
            CHECK((refused || mechanism == "block" || content.find(": the page") != std::string::npos));
        }
    }
}

TEST_CASE("a source that can't scan, or doesn't offer what is wanted, is named with what can be done") {
    const std::string refused =
        "Cannot open the source \"KAVRO Virtual Scanner\": failure of unknown cause (condition code 1). Look "
        "whether the scanner is switched on and connected, and try again.";
    const std::string defect =
        "The source opens, but can't be used: the scanner doesn't work (condition code 5). Look whether it "
        "is "
        "switched on and connected, and try again.";
    const std::string unknown = "not known to the source (condition code 6).";
    const struct {
        std::string settings;
        std::string options;
        std::string message;
        int exitCode;
    } rows[] = {
        {"OpenFault=offline", "", refused, 1},
        {"OpenFault=busy", "--presto", refused, 1},
        {"OpenFault=brightness", "", defect, 1},
        {"Pages=0", "", "The feeder is empty. Put the pages in and try again.", 1},
        {"RefusedMechanisms=Memory", "", "The source doesn't offer --mech memory. Try another one.", 1},
        {"RefusedMechanisms=File", "--mech file", "The source doesn't offer --mech file. Try another one.",
         1},
        {"RefusedCapabilities=ICAP_GAMMA", "--gamma 2", "The source refuses --gamma 2: " + unknown, 1},
        {"ReadOnlyCapabilities=ICAP_XRESOLUTION", "--resolution 75",
         "The source refuses X resolution 75 dpi: " + unknown, 1},
        {"PixelTypes=BW,Gray;PixelType=BW", "--mode color",
         "The source doesn't offer --mode color, but bw, gray. smscan --caps shows what the source offers.",
         2},
        // The one-shot scan shows the source's window when a setting is refused; nobody is there to use it.
        {"ReadOnlyCapabilities=ICAP_PIXELTYPE", "--presto --timeout 2",
         "The source did nothing for 2 seconds. Perhaps it waits in its window, which it shows when it "
         "refuses a setting; with --ui there is no limit.",
         1},
    };
    for (const auto& row : rows) {
        CAPTURE(row.settings);
        ScanFolder folder;
        CHECK(folder.smscan(row.options, row.settings) ==
              "! smscan: " + row.message + "\nexit " + std::to_string(row.exitCode));
        CHECK(folder.files() == "");
    }
}
