// smscan and a virtual scanner that misbehaves: what the user is told, the exit code, and what is left in the
// folder: pages that are complete, and nothing half-made.
#include <doctest.h>

#include "PageFile.h"
#include "ScanFolder.h"

using vscan::PixelKind;

namespace {

const char* const anyMechanism = "native file memory block";

struct Misbehaviour {
    Words settings;
    std::string mechanisms;  // those that show it so
    Lines printed;
    Lines files;
};

Lines mechanismsIn(const std::string& list) {
    Lines names;
    for (size_t start = 0; start < list.size();) {
        const size_t end = std::min(list.find(' ', start), list.size());
        names.push_back(list.substr(start, end - start));
        start = end + 1;
    }
    return names;
}

// Scans all that is in the feeder.
void check(const Misbehaviour& row) {
    for (const std::string& mechanism : mechanismsIn(row.mechanisms)) {
        CAPTURE(row.settings);
        CAPTURE(mechanism);
        ScanFolder folder;
        CHECK(folder.smscan({"--resolution", "50", "--mode", "gray", "--pages", "all", "--output", "p%d.bmp",
                             "--mech", mechanism},
                            row.settings) == row.printed);
        CHECK(folder.files() == row.files);
        for (size_t i = 0; i < row.files.size(); ++i)
            CHECK(comparePage(folder.path(row.files[i]),
                              pageOf(PixelKind::Gray8, 50, static_cast<int>(i) + 1)) ==
                  "8 bit, 50 dpi: the page");
    }
}

const std::string first = "p1.bmp  413 x 585 pixels, 8 bit, 50 dpi";
const std::string second = "p2.bmp  413 x 585 pixels, 8 bit, 50 dpi";
const std::string third = "p3.bmp  413 x 585 pixels, 8 bit, 50 dpi";
const std::string jamAdvice = "Clear the paper path, put the pages left back and scan them.";
const std::string powerAdvice = "Look whether it is switched on and connected, and try again.";

}  // namespace

TEST_CASE("pages before a failure are kept, and its reason is told") {
    const Misbehaviour rows[] = {
        {{"Pages=3", "JamAtPage=2"},
         "native file memory",
         {first, "! smscan: Page 2: paper jam (condition code 20). " + jamAdvice + " 1 page kept.", "exit 1"},
         {"p1.bmp"}},
        {{"Pages=3", "JamAtPage=3"},
         "memory",
         {first, second, "! smscan: Page 3: paper jam (condition code 20). " + jamAdvice + " 2 pages kept.",
          "exit 1"},
         {"p1.bmp", "p2.bmp"}},
        {{"Pages=3", "JamAtPage=1"},
         "memory",
         {"! smscan: Page 1: paper jam (condition code 20). " + jamAdvice + " No page was scanned.",
          "exit 1"},
         {}},
        {{"Pages=3", "JamAtPage=2", "FaultAfterStrip=2"},
         "block",
         {first,
          "! smscan: Page 2: the source cancelled or failed at line 314; pulled block by block it gives no "
          "reason. 1 page kept.",
          "exit 1"},
         {"p1.bmp"}},
        {{"FailAtPage=1", "FaultAfterStrip=3"},
         "native memory",
         {"! smscan: Page 1: the scanner doesn't work (condition code 5). " + powerAdvice +
              " No page was scanned.",
          "exit 1"},
         {}},
        {{"Pages=2", "FailAtPage=2", "FailConditionCode=2"},
         "memory",
         {first,
          "! smscan: Page 2: not enough memory (condition code 2). Scan at a lower resolution or a smaller "
          "area. 1 page kept.",
          "exit 1"},
         {"p1.bmp"}},
    };
    for (const Misbehaviour& row : rows)
        check(row);
}

TEST_CASE("a cancel at the source ends the scan after the pages before") {
    check({{"Pages=3", "CancelAtPage=2"},
           "native file memory",
           {first, "! smscan: Page 2: cancelled at the source. 1 page kept.", "exit 5"},
           {"p1.bmp"}});
    check({{"CancelAtPage=1", "FaultAfterStrip=2"},
           "memory",
           {"! smscan: Page 1: cancelled at the source. No page was scanned.", "exit 5"},
           {}});
}

TEST_CASE("a failure with condition code 0 is no success") {
    const Words settings = {"FailAtPage=1", "FailConditionCode=0"};
    check({settings,
           "native",
           {"! smscan: Page 1: the source failed and gave no reason. No page was scanned.", "exit 1"},
           {}});
    check({settings,
           "file",
           {"! smscan: Page 1: The source says that the page is done, but it wrote no BMP file. No page was "
            "scanned.",
            "exit 1"},
           {}});
    check({settings,
           "memory",
           {"! smscan: Page 1: the source says that the page is done, but delivered nothing of it. No page "
            "was scanned.",
            "exit 1"},
           {}});
}

TEST_CASE("a page that ends early is kept as far as it came, and not called done") {
    const struct {
        Words settings;
        const char* lines;
        const char* height;
        const char* content;
    } rows[] = {
        {{"FailAtPage=1", "FailConditionCode=0", "FaultAfterStrip=2"},
         "314 of 585",
         "314",
         "the page's first 314 rows"},
        {{"LengthError=30"}, "585 of 615", "585", "the page"},
        {{"StripRows=100", "StripFaults=ShortLast"}, "542 of 585", "542", "the page's first 542 rows"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.settings);
        ScanFolder folder;
        CHECK(folder.smscan({"--resolution", "50", "--mode", "gray", "--output", "p.bmp"}, row.settings) ==
              Lines{std::string("p.bmp  413 x ") + row.height + " pixels, 8 bit, 50 dpi",
                    std::string("! smscan: Page 1 ended early, at line ") + row.lines +
                        "; it is kept as far as it came. 1 page kept.",
                    "exit 1"});
        CHECK(comparePage(folder.path("p.bmp"), pageOf(PixelKind::Gray8, 50)) ==
              std::string("8 bit, 50 dpi: ") + row.content);
        CHECK(folder.files() == Lines{"p.bmp"});
    }
}

TEST_CASE("a wrong count of pending pages costs at most the pages that were denied") {
    check({{"Pages=3", "PendingCountError=1"},
           anyMechanism,
           {first, second, third, "exit 0"},
           {"p1.bmp", "p2.bmp", "p3.bmp"}});
    check(
        {{"Pages=3", "PendingCountError=-1"}, anyMechanism, {first, second, "exit 0"}, {"p1.bmp", "p2.bmp"}});
    check({{"Pages=2", "UnknownPendingCount=1"},
           anyMechanism,
           {first, second, "exit 0"},
           {"p1.bmp", "p2.bmp"}});
}

TEST_CASE("strips that claim more than there is do no harm") {
    for (const std::string fault :
         {"ZeroBytesPerRow", "ExtraRows", "ExtraBytes", "WideColumns", "Oversized",
          "ExtraRows,ExtraBytes,WideColumns", "ZeroBytesPerRow,ExtraBytes,ShortLast"}) {
        for (const std::string mechanism : {"memory", "block"}) {
            CAPTURE(fault);
            CAPTURE(mechanism);
            ScanFolder folder;
            const Lines printed = folder.smscan(
                {"--resolution", "50", "--mode", "gray", "--output", "p.bmp", "--mech", mechanism},
                {"StripFaults=" + fault});
            // Either it can be made sense of or it is refused.
            if (printed.back() == "exit 0") {
                CHECK(folder.files() == Lines{"p.bmp"});
                // Pulled blocks have no numbers to compare, so there the lies show in the page.
                const vscan::Picture page = vscan::renderPage(pageOf(PixelKind::Gray8, 50));
                if (mechanism == "memory")
                    CHECK(comparePixels(folder.path("p.bmp"), page).substr(0, 8) == "the page");
            } else {
                CHECK(printed.back() == "exit 1");
                CHECK(printed.front().substr(0, 17) == "! smscan: Page 1:");
                CHECK(folder.files() == Lines{});
            }
        }
    }
}

TEST_CASE("a source that can't scan, or doesn't offer what is wanted, is named with what can be done") {
    const std::string refused =
        "! smscan: Cannot open the source \"KAVRO Virtual Scanner\": failure of unknown "
        "cause (condition code 1). Look whether the scanner is switched on and "
        "connected, and try again.";
    const struct {
        Words settings;
        Words options;
        Lines printed;
    } rows[] = {
        {{"OpenFault=offline"}, {}, {refused, "exit 1"}},
        {{"OpenFault=busy"}, {}, {refused, "exit 1"}},
        {{"OpenFault=busy"}, {"--presto"}, {refused, "exit 1"}},
        {{"OpenFault=brightness"},
         {},
         {"! smscan: The source opens, but can't be used: the scanner doesn't work (condition code 5). " +
              powerAdvice,
          "exit 1"}},
        {{"Pages=0"}, {}, {"! smscan: The feeder is empty. Put the pages in and try again.", "exit 1"}},
        {{"RefusedMechanisms=Memory"},
         {},
         {"! smscan: The source doesn't offer --mech memory. Try another one.", "exit 1"}},
        {{"RefusedMechanisms=File"},
         {"--mech", "file"},
         {"! smscan: The source doesn't offer --mech file. Try another one.", "exit 1"}},
        {{"RefusedCapabilities=ICAP_GAMMA"},
         {"--gamma", "2"},
         {"! smscan: The source refuses --gamma 2: not known to the source (condition code 6).", "exit 1"}},
        {{"ReadOnlyCapabilities=ICAP_XRESOLUTION"},
         {"--resolution", "75"},
         {"! smscan: The source refuses X resolution 75 dpi: not known to the source (condition code 6).",
          "exit 1"}},
        {{"PixelTypes=BW,Gray", "PixelType=BW"},
         {"--mode", "color"},
         {"! smscan: The source doesn't offer --mode color, but bw, gray. smscan --caps shows what the "
          "source "
          "offers.",
          "exit 2"}},
    };
    for (const auto& row : rows) {
        CAPTURE(row.settings);
        CAPTURE(row.options);
        ScanFolder folder;
        CHECK(folder.smscan(row.options, row.settings) == row.printed);
        CHECK(folder.files() == Lines{});
    }
}

TEST_CASE("a source that does nothing is given up") {
    ScanFolder folder;
    // The one-shot scan shows the source's window when a setting is refused; nobody is there to use it.
    CHECK(
        folder.smscan({"--presto", "--timeout", "2"}, {"ReadOnlyCapabilities=ICAP_PIXELTYPE"}) ==
        Lines{
            "! smscan: The source did nothing for 2 seconds. Perhaps it waits in its window, which it shows "
            "when it refuses a setting; with --ui there is no limit.",
            "exit 1"});
    CHECK(folder.files() == Lines{});
}
