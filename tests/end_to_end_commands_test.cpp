// smscan's other uses, end to end: lists, what the source offers, choosing a source, and what is said to
// those who ask for the impossible.
#include <doctest.h>

#include <fstream>

#include "ScanFolder.h"

namespace {

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

const std::string scanGray = "--resolution 50 --mode gray --output p.bmp ";
const std::string grayLine = "p.bmp  413 x 585 pixels, 8 bit, 50 dpi\n";

}  // namespace

TEST_CASE("what is printed and how it ends, with nothing else in the folder") {
    const std::string help = "\n! smscan --help lists the options.\nexit 2";
    const std::string caps = " smscan --caps shows what the source offers.\nexit 2";
    const std::string none =
        "! smscan: There is no source \"nonsense\". There are:\n!   KAVRO Virtual Scanner\nexit 4";
    ScanFolder folder;
    const struct {
        std::string options, settings, printed;
    } rows[] = {
        {"--list", "ProductName=Scanner 7", "Scanner 7 (default)\nexit 0"},
        {"--list", "Manufacturer=Another;ProductName=Scanner 7",
         "! smscan: No source found. The TWAIN manager \"C:\\windows\\TWAIN_32.DLL\" was loaded and asked. "
         "It "
         "lists no source of the maker KAVRO, but its default source is \"Scanner 7\" of another maker. "
         "smscan "
         "without --source scans from it.\nexit 4"},
        {"--source nonsense", "", none},
        {"--default nonsense", "", none},
        {"--default \"KAVRO Virtual Scanner\"", "", "KAVRO Virtual Scanner is the default source.\nexit 0"},
        {"--nonsense", "", "! smscan: Unknown option \"--nonsense\"." + help},
        {"--resolution 5000", "",
         "! smscan: The source offers X resolution from 50 to 1200 dpi, not 5000." + caps},
        {"--area 0,0,20,2", "",
         "! smscan: The source scans up to 11.70 x 17.00 inches (29.7 x 43.2 cm); --area reaches to 20.00 x "
         "2.00 inches." +
             caps},
        {"--output nowhere/p.bmp", "",
         "! smscan: Cannot write \"nowhere/p.bmp\": there is no folder \"" + folder.path("nowhere") +
             "\". Make it, or choose another --output.\nexit 6"},
        {"--output .\\", "",
         "! smscan: Cannot write \".\\\": it is a folder. Choose another --output.\nexit 6"}};
    for (const auto& row : rows) {
        CHECK(folder.smscan(row.options, row.settings) == row.printed);
        CHECK(folder.files() == "");
    }
    CHECK(folder.smscan(scanGray + "--area 1,1,3,3", "LengthError=-20") ==
          "p.bmp  100 x 100 pixels, 8 bit, 50 dpi\n! Note: --area asks for 100 x 100 pixels, the source made "
          "it "
          "100 x 80.\nexit 0");
    CHECK(folder.smscan(scanGray + "--progress --source \"KAVRO Virtual Scanner\"", "StripRows=147") ==
          grayLine +
              "! page 1: 0 %\n! page 1: 25 %\n! page 1: 50 %\n! page 1: 75 %\n! page 1: 100 %\nexit 0");
}

TEST_CASE("lines among others: what the source offers, help, settings that the scanner doesn't know") {
    ScanFolder folder;
    const std::string settings =
        "PixelTypes=BW,Gray;PixelType=Gray;MaxResolution=600;RefusedCapabilities=ICAP_GAMMA;"
        "ProductName=A \"Small\" One";
    const struct {
        std::string options, settings;
        std::vector<std::string> parts;
    } rows[] = {
        {"--caps",
         settings,
         {"A \"Small\" One\n", "\n  mode               gray                 bw, gray\n",
          "\n  max-area           11.7 x 17 in\n", "\n  x-resolution       150 dpi              50 to 600\n",
          "\n  brightness         0                    -100 to 100\n",
          "\n  gamma              -  not known to the source (condition code 6)\n",
          "\n  feeder             on\n", "\n  firmware           261\n"}},
        {"--caps --json",
         settings,
         {"{\n  \"source\": \"A \\\"Small\\\" One\",\n", "\"firmware\": {\"current\": 261}\n"}},
        {"--help", "OpenFault=offline", {"smscan scans pages", "\n  6  a file can't be written\n"}},
        {"--version", "", {"smscan "}},
        {scanGray,
         "Pags=3;Paper=huge",
         {grayLine, "\n! virtual scanner: environment VSCAN_Pags: there is no setting \"Pags\"\n"}}};
    for (const auto& row : rows) {
        const std::string printed = folder.smscan(row.options, row.settings);
        CHECK(printed.substr(0, row.parts[0].size()) == row.parts[0]);
        for (const std::string& part : row.parts)
            CHECK_MESSAGE(has(printed, part), printed);
        CHECK(printed.substr(printed.rfind('\n')) == "\nexit 0");
    }
}

TEST_CASE("a page that was there stays as it is when the scan fails") {
    ScanFolder folder;
    const std::string path = folder.path("p.bmp");
    std::ofstream(path) << "an older page";
    SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY);
    CHECK(folder.smscan(scanGray) ==
          "! smscan: Cannot write \"p.bmp\": the file is there and is read-only.\nexit 6");
    SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    CHECK(has(folder.smscan(scanGray, "JamAtPage=1"), "\nexit 1"));
    CHECK(folder.files() == "p.bmp");
    std::string kept;
    std::getline(std::ifstream(path), kept);
    CHECK(kept == "an older page");
}
