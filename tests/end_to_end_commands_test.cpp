// smscan's other uses, end to end: lists, what the source offers, choosing a source, and what is said to
// those who ask for the impossible.
#include <doctest.h>

#include <algorithm>
#include <fstream>

#include "JsonText.h"
#include "ScanFolder.h"

TEST_CASE("the sources are listed, the default one marked") {
    ScanFolder folder;
    CHECK(folder.smscan({"--list"}) == Lines{"KAVRO Virtual Scanner (default)", "exit 0"});
    CHECK(folder.smscan({"--list"}, {"ProductName=Scanner 7"}) == Lines{"Scanner 7 (default)", "exit 0"});
    CHECK(folder.smscan({"--list"}, {"Manufacturer=Another", "ProductName=Scanner 7"}) ==
          Lines{"! smscan: No source found. The TWAIN manager \"C:\\windows\\TWAIN_32.DLL\" was loaded and "
                "asked. It lists no source of the maker KAVRO, but its default source is \"Scanner 7\" of "
                "another maker. smscan without --source scans from it.",
                "exit 4"});
}

TEST_CASE("a source is chosen by its name") {
    ScanFolder folder;
    const Words scan = {"--resolution", "50", "--mode", "bw", "--output", "p.bmp", "--source"};
    CHECK(folder.smscan(scan + Words{"KAVRO Virtual Scanner"}) ==
          Lines{"p.bmp  413 x 585 pixels, 1 bit, 50 dpi", "exit 0"});
    const Lines unknown = {
        "! smscan: There is no source \"nonsense\". There are:", "!   KAVRO Virtual Scanner", "exit 4"};
    CHECK(folder.smscan(scan + Words{"nonsense"}) == unknown);
    CHECK(folder.smscan({"--default", "nonsense"}) == unknown);
    CHECK(folder.smscan({"--default", "KAVRO Virtual Scanner"}) ==
          Lines{"KAVRO Virtual Scanner is the default source.", "exit 0"});
}

TEST_CASE("what the source offers, as a table and as JSON") {
    ScanFolder folder;
    const Words settings = {"PixelTypes=BW,Gray", "PixelType=Gray", "MaxResolution=600",
                            "RefusedCapabilities=ICAP_GAMMA", "ProductName=A \"Small\" One"};
    const Lines table = folder.smscan({"--caps"}, settings);
    CHECK(table.size() == 32);
    CHECK(table.front() == "A \"Small\" One");
    CHECK(table.back() == "exit 0");
    for (const char* line :
         {"  mode               gray                 bw, gray",
          "  x-resolution       150 dpi              50 to 600", "  max-area           11.7 x 17 in",
          "  brightness         0                    -100 to 100",
          "  gamma              -  not known to the source (condition code 6)", "  feeder             on",
          "  firmware           261"})
        CHECK(std::count(table.begin(), table.end(), line) == 1);

    const Lines json = folder.smscan({"--caps", "--json"}, settings);
    CHECK(json.back() == "exit 0");
    std::string text;
    for (size_t i = 0; i + 1 < json.size(); ++i)
        text += json[i] + "\n";
    const Lines values = flattenedJson(text);
    // As many capabilities as the table has lines between its title and its end.
    size_t capabilities = 0;
    std::string last;
    for (const std::string& value : values) {
        const std::string name = value.substr(0, value.find('.', value.find('.') + 1));
        if (value.substr(0, 13) == "capabilities." && name != last) ++capabilities;
        last = name;
    }
    CHECK(capabilities == table.size() - 2);
    for (const char* value : {"source=\"A \"Small\" One\"", "capabilities.mode.current=\"gray\"",
                              "capabilities.mode.choices.0=\"bw\"", "capabilities.mode.choices.1=\"gray\"",
                              "capabilities.x-resolution.current=150", "capabilities.x-resolution.max=600",
                              "capabilities.max-area.width=11.7",
                              "capabilities.gamma.problem=\"not known to the source (condition code 6)\""})
        CHECK(std::count(values.begin(), values.end(), value) == 1);
}

TEST_CASE("help and version need no source") {
    ScanFolder folder;
    const Lines help = folder.smscan({"--help"}, {"OpenFault=offline"});
    CHECK(help.back() == "exit 0");
    CHECK(help.front().substr(0, 18) == "smscan scans pages");
    for (const char* line : {"  0  done", "  5  cancelled", "  6  a file can't be written"})
        CHECK(std::count(help.begin(), help.end(), line) == 1);
    const Lines version = folder.smscan({"--version"});
    CHECK(version.front().substr(0, 7) == "smscan ");
    CHECK(version.back() == "exit 0");
}

TEST_CASE("what can't be is refused with what can, and nothing is written") {
    const struct {
        Words options;
        Lines message;
    } rows[] = {
        {{"--nonsense"}, {"! smscan: Unknown option \"--nonsense\".", "! smscan --help lists the options."}},
        {{"--shadow", "256"},
         {"! smscan: --shadow takes a whole number from 0 to 255, not \"256\".",
          "! smscan --help lists the options."}},
        {{"--resolution", "5000"},
         {"! smscan: The source offers X resolution from 50 to 1200 dpi, not 5000. smscan --caps shows what "
          "the "
          "source offers."}},
        {{"--area", "0,0,20,2"},
         {"! smscan: The source scans up to 11.70 x 17.00 inches (29.7 x 43.2 cm); --area reaches to 20.00 x "
          "2.00 inches. smscan --caps shows what the source offers."}},
        {{"--output", "p%d%d.bmp"},
         {"! smscan: --output \"p%d%d.bmp\": only one %d or %0Nd for the page's number, and %% for a per "
          "cent "
          "sign, may stand there."}},
    };
    for (const auto& row : rows) {
        ScanFolder folder;
        CHECK(folder.smscan(row.options) == row.message + Lines{"exit 2"});
        CHECK(folder.files() == Lines{});
    }
}

TEST_CASE("a page that has no place to go is not scanned") {
    ScanFolder folder;
    CHECK(folder.smscan({"--output", "nowhere/p.bmp"}) ==
          Lines{"! smscan: Cannot write \"nowhere/p.bmp\": there is no folder \"" + folder.path("nowhere") +
                    "\". Make it, or choose another --output.",
                "exit 6"});
    CHECK(folder.smscan({"--output", folder.path("")}).back() == "exit 6");

    // A page that was there before a scan which fails stays as it is.
    std::ofstream(folder.path("p.bmp")) << "an older page";
    SetFileAttributesA(folder.path("p.bmp").c_str(), FILE_ATTRIBUTE_READONLY);
    CHECK(folder.smscan({"--output", "p.bmp"}) ==
          Lines{"! smscan: Cannot write \"p.bmp\": the file is there and is read-only.", "exit 6"});
    SetFileAttributesA(folder.path("p.bmp").c_str(), FILE_ATTRIBUTE_NORMAL);
    CHECK(folder.smscan({"--output", "p.bmp"}, {"JamAtPage=1"}).back() == "exit 1");
    CHECK(folder.files() == Lines{"p.bmp"});
    std::string kept;
    std::getline(std::ifstream(folder.path("p.bmp")), kept);
    CHECK(kept == "an older page");
}

TEST_CASE("progress is told in plain lines where there is no terminal") {
    ScanFolder folder;
    CHECK(folder.smscan({"--progress", "--resolution", "50", "--mode", "gray", "--output", "p.bmp"},
                        {"StripRows=147"}) == Lines{"p.bmp  413 x 585 pixels, 8 bit, 50 dpi", "! page 1: 0 %",
                                                    "! page 1: 25 %", "! page 1: 50 %", "! page 1: 75 %",
                                                    "! page 1: 100 %", "exit 0"});
}

TEST_CASE("a setting of the virtual scanner that is unknown or can't be is reported, and the scan goes on") {
    ScanFolder folder;
    const Words options = {"--resolution", "50", "--mode", "gray", "--output", "p.bmp"};
    const Lines printed = folder.smscan(options, {"Pags=3", "Paper=huge"});
    CHECK(printed.front() == "p.bmp  413 x 585 pixels, 8 bit, 50 dpi");
    CHECK(printed.back() == "exit 0");
    CHECK(std::count(printed.begin(), printed.end(),
                     "! virtual scanner: environment VSCAN_Pags: there is no setting \"Pags\"") > 0);
}
