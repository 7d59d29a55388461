// smscan and a virtual scanner that misbehaves: what the user is told, the exit code, and what is left in the
// folder: pages that are complete, and nothing half-made.
#include <doctest.h>

#include "PageFile.h"

namespace {

const std::string scanGray = "--resolution 50 --mode gray --output p%d.bmp ";
const vscan::PageRequest gray = pageOf(vscan::PixelKind::Gray8, 50);

}  // namespace

TEST_CASE("all pages of the feeder; those before a failure are kept, and its reason is told") {
    const std::string jam =
        "paper jam (condition code 20). Clear the paper path, put the pages left back and scan them.";
    const std::string cancelled = "cancelled at the source.";
    const std::string nothing = "the source says that the page is done, but delivered nothing of it.";
    const struct {
        std::string mechanism, settings;
        int pages, exitCode;
        std::string reason;
    } rows[] = {
        {"native", "Feeder=off;Pages=3", 3, 0, ""},
        {"native", "Pages=2;JamAtPage=2", 1, 1, jam},
        {"file", "Pages=2;JamAtPage=2", 1, 1, jam},
        {"memory", "Pages=3;JamAtPage=3;FaultAfterStrip=2", 2, 1, jam},
        {"block", "Pages=3;JamAtPage=2;FaultAfterStrip=2", 1, 1,
         "the source cancelled or failed at line 314; pulled block by block it gives no reason."},
        {"native", "FailAtPage=1", 0, 1,
         "the scanner doesn't work (condition code 5). Look whether it is switched on and connected, and "
         "try again."},
        {"native", "CancelAtPage=1", 0, 5, cancelled},
        {"file", "Pages=3;CancelAtPage=2", 1, 5, cancelled},
        {"memory", "CancelAtPage=1;FaultAfterStrip=2", 0, 5, cancelled},
        // A failure with condition code 0 is no success.
        {"native", "FailAtPage=1;FailConditionCode=0", 0, 1, "the source failed and gave no reason."},
        {"file", "FailAtPage=1;FailConditionCode=0", 0, 1,
         "The source says that the page is done, but it wrote no BMP file."},
        {"memory", "FailAtPage=1;FailConditionCode=0", 0, 1, nothing},
        {"memory", "StripFaults=ZeroBytesPerRow", 0, 1, nothing},
        {"memory", "StripFaults=ZeroBytesPerRow,ExtraBytes,ShortLast", 0, 1, nothing},
        // A wrong count of pending pages costs at most the pages that were denied.
        {"file", "Pages=2;PendingCountError=1", 2, 0, ""},
        {"memory", "Pages=2;PendingCountError=1", 2, 0, ""},
        {"block", "Pages=2;PendingCountError=1", 2, 0, ""},
        {"block", "Pages=3;PendingCountError=-1", 2, 0, ""}};
    const char* const kept[] = {" No page was scanned.\n", " 1 page kept.\n", " 2 pages kept.\n"};
    for (const auto& row : rows) {
        CAPTURE(row.settings);
        CAPTURE(row.mechanism);
        std::string expected, pages;
        for (int page = 1; page <= row.pages; ++page) {
            const std::string name = "p" + std::to_string(page) + ".bmp";
            expected += name + "  413 x 585 pixels, 8 bit, 50 dpi\n";
            pages += "\n" + name + ": 8 bit, 50 dpi: the page";
        }
        if (row.exitCode != 0)
            expected +=
                "! smscan: Page " + std::to_string(row.pages + 1) + ": " + row.reason + kept[row.pages];
        CHECK(scanned(scanGray + "--pages all --mech " + row.mechanism, row.settings, gray) ==
              expected + "exit " + std::to_string(row.exitCode) + pages);
    }
}

TEST_CASE("a page that ends early is kept as far as it came, and lies about its strips do no harm") {
    const std::string rows[][4] = {
        {"FailAtPage=1;FailConditionCode=0;FaultAfterStrip=2", "", "314 of 585", "the page, 314 rows"},
        {"LengthError=30", "", "585 of 615", "the page"},
        {"LengthError=30", "--mech native", "585 of 615", "the page"},
        {"LengthError=30", "--mech file", "585 of 615", "the page"},
        {"StripRows=100;StripFaults=ShortLast", "", "542 of 585", "the page, 542 rows"},
        {"StripFaults=Oversized", "", "628", "the page, 628 rows"},
        {"StripFaults=ExtraRows,ExtraBytes,WideColumns", "", "628", "the page, 628 rows"},
        // Pulled blocks have no numbers to compare, so there the lies show.
        {"StripFaults=Oversized", "--mech block", "632", "another pixel at 0,157"}};
    for (const auto& [settings, options, lines, content] : rows) {
        CAPTURE(settings);
        const std::string early = "! smscan: Page 1 ended early, at line " + lines +
                                  "; it is kept as far as it came. 1 page kept.\nexit 1";
        const std::string longer =
            "! Note: page 1 has " + lines + " lines, though the source announced 585; all are kept.\nexit 0";
        CHECK(scanned(scanGray + options, settings, gray) ==
              "p1.bmp  413 x " + lines.substr(0, 3) + " pixels, 8 bit, 50 dpi\n" +
                  (lines.size() > 3 ? early : longer) + "\np1.bmp: 8 bit, 50 dpi: " + content);
    }
}
