// smscan's other uses, end to end: lists, what the source offers, choosing a source, and what is said to
// those who ask for the impossible.
#include <doctest.h>

#include <algorithm>
#include <fstream>
#include <regex>
#include <sstream>

#include "ScanFolder.h"

namespace {

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::string lastLine(const std::string& text) {
    return text.substr(text.rfind('\n') + 1);
}

}  // namespace

TEST_CASE("the sources are listed, the default one marked, and one is chosen by its name") {
    ScanFolder folder;
    CHECK(folder.smscan("--list") == "KAVRO Virtual Scanner (default)\nexit 0");
    CHECK(folder.smscan("--list", "ProductName=Scanner 7") == "Scanner 7 (default)\nexit 0");
    CHECK(folder.smscan("--list", "Manufacturer=Another;ProductName=Scanner 7") ==
          "! smscan: No source found. The TWAIN manager \"C:\\windows\\TWAIN_32.DLL\" was loaded and asked. "
          "It lists no source of the maker KAVRO, but its default source is \"Scanner 7\" of another maker. "
          "smscan without --source scans from it.\nexit 4");
    CHECK(folder.smscan("--resolution 50 --mode bw --output p.bmp --source \"KAVRO Virtual Scanner\"") ==
          "p.bmp  413 x 585 pixels, 1 bit, 50 dpi\nexit 0");
    for (const std::string option : {"--source", "--default"})
        CHECK(folder.smscan(option + " nonsense") ==
              "! smscan: There is no source \"nonsense\". There are:\n!   KAVRO Virtual Scanner\nexit 4");
    CHECK(folder.smscan("--default \"KAVRO Virtual Scanner\"") ==
          "KAVRO Virtual Scanner is the default source.\nexit 0");
}

TEST_CASE("what the source offers, as a table and as JSON") {
    ScanFolder folder;
    const std::string settings =
        "PixelTypes=BW,Gray;PixelType=Gray;MaxResolution=600;RefusedCapabilities=ICAP_GAMMA;"
        "ProductName=A \"Small\" One";
    const std::string table = folder.smscan("--caps", settings);
    CHECK(table.substr(0, 14) == "A \"Small\" One\n");
    CHECK(lastLine(table) == "exit 0");
    for (const std::string line :
         {"mode               gray                 bw, gray", "max-area           11.7 x 17 in",
          "x-resolution       150 dpi              50 to 600",
          "brightness         0                    -100 to 100",
          "gamma              -  not known to the source (condition code 6)", "feeder             on",
          "firmware           261"})
        CHECK(has(table, "\n  " + line + "\n"));

    const std::string printed = folder.smscan("--caps --json", settings);
    CHECK(lastLine(printed) == "exit 0");
    const std::string json = printed.substr(0, printed.rfind('\n'));
    CAPTURE(json);
    CHECK(has(json, "{\n  \"source\": \"A \\\"Small\\\" One\",\n  \"capabilities\": {\n    \"family\": {"));
    CHECK(has(json, "    \"firmware\": {\"current\": 261}\n  }\n}"));
    for (const std::string entry :
         {R"json("mode": {"current": "gray", "choices": ["bw", "gray"]})json",
          R"json("x-resolution": {"current": 150, "min": 50, "max": 600, "unit": "dpi"})json",
          R"json("max-area": {"width": 11.7, "height": 17, "unit": "in"})json",
          R"json("gamma": {"problem": "not known to the source (condition code 6)"})json"})
        CHECK(has(json, "\n    " + entry + ",\n"));
    // Every line of the table between its title and its end is there, and is JSON.
    const std::regex entry(
        R"json(    "[a-z0-9-]+": \{("[a-z]+": ("[^"]+"|-?[0-9.]+|\[("[^"]+"(, )?)+\])(, (?="))?)+\},?)json");
    std::istringstream lines(json);
    int entries = 0;
    for (std::string line; std::getline(lines, line);)
        entries += std::regex_match(line, entry);
    CHECK(entries == std::count(table.begin(), table.end(), '\n') - 1);
}

TEST_CASE("help and version need no source") {
    ScanFolder folder;
    const std::string help = folder.smscan("--help", "OpenFault=offline");
    CHECK(help.substr(0, 18) == "smscan scans pages");
    CHECK(has(help, "\n  0  done\n"));
    CHECK(has(help, "\n  6  a file can't be written\n"));
    CHECK(lastLine(help) == "exit 0");
    const std::string version = folder.smscan("--version");
    CHECK(version.substr(0, 7) == "smscan ");
    CHECK(lastLine(version) == "exit 0");
}

TEST_CASE("what can't be is refused with what can, and nothing is written") {
    ScanFolder folder;
    const std::string help = "\n! smscan --help lists the options.\nexit 2";
    const std::string caps = " smscan --caps shows what the source offers.\nexit 2";
    const std::string rows[][2] = {
        {"--nonsense", "Unknown option \"--nonsense\"." + help},
        {"--shadow 256", "--shadow takes a whole number from 0 to 255, not \"256\"." + help},
        {"--resolution 5000", "The source offers X resolution from 50 to 1200 dpi, not 5000." + caps},
        {"--area 0,0,20,2",
         "The source scans up to 11.70 x 17.00 inches (29.7 x 43.2 cm); --area reaches to 20.00 x 2.00 "
         "inches." +
             caps},
        {"--output p%d%d.bmp",
         "--output \"p%d%d.bmp\": only one %d or %0Nd for the page's number, and %% for a per cent sign, may "
         "stand there.\nexit 2"},
        {"--output nowhere/p.bmp", "Cannot write \"nowhere/p.bmp\": there is no folder \"" +
                                       folder.path("nowhere") +
                                       "\". Make it, or choose another --output.\nexit 6"},
    };
    for (const auto& row : rows) {
        CHECK(folder.smscan(row[0]) == "! smscan: " + row[1]);
        CHECK(folder.files() == "");
    }
    CHECK(lastLine(folder.smscan("--output .\\")) == "exit 6");
}

TEST_CASE("a page that was there stays as it is when the scan fails") {
    ScanFolder folder;
    const std::string path = folder.path("p.bmp");
    std::ofstream(path) << "an older page";
    SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY);
    CHECK(folder.smscan("--output p.bmp") ==
          "! smscan: Cannot write \"p.bmp\": the file is there and is read-only.\nexit 6");
    SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    CHECK(lastLine(folder.smscan("--output p.bmp", "JamAtPage=1")) == "exit 1");
    CHECK(folder.files() == "p.bmp");
    std::string kept;
    std::getline(std::ifstream(path), kept);
    CHECK(kept == "an older page");
}

TEST_CASE("what is told on the way: progress in plain lines, and settings that the scanner doesn't know") {
    ScanFolder folder;
    const std::string options = "--resolution 50 --mode gray --output p.bmp ";
    const std::string page = "p.bmp  413 x 585 pixels, 8 bit, 50 dpi\n";
    CHECK(folder.smscan(options + "--progress", "StripRows=147") ==
          page + "! page 1: 0 %\n! page 1: 25 %\n! page 1: 50 %\n! page 1: 75 %\n! page 1: 100 %\nexit 0");
    const std::string printed = folder.smscan(options, "Pags=3;Paper=huge");
    CHECK(printed.substr(0, page.size()) == page);
    CHECK(has(printed, "\n! virtual scanner: environment VSCAN_Pags: there is no setting \"Pags\"\n"));
    CHECK(lastLine(printed) == "exit 0");
}
