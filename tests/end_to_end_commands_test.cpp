// smscan's other uses, end to end: lists, what the source offers, choosing a source, and what is said to
// those who ask for the impossible.
#include <doctest.h>

#include <fstream>
#include <sstream>

#include "ScanFolder.h"

namespace {

const std::string scanGray = "--resolution 50 --mode gray --output p.bmp ";
const std::string grayLine = "p.bmp  413 x 585 pixels, 8 bit, 50 dpi\n";

}  // namespace

TEST_CASE("what is printed and how it ends, with nothing else in the folder") {
    const std::string caps = " smscan --caps shows what the source offers.", presto = scanGray + "--presto";
    const std::string none = "There is no source \"nonsense\". There are:\n!   KAVRO Virtual Scanner";
    const std::string unknown = "not offered by the source (condition code 13).";
    const std::string jam =
        "Page 1: paper jam (condition code 20). Clear the paper path, put the pages left back and scan them.";
    const std::string cancelled = "Page 1: cancelled at the source.";
    ScanFolder folder;
    const struct {
        std::string options, settings;
        int exitCode;
        std::string message;
    } rows[] = {
        {"--list", "Manufacturer=Another;ProductName=Scanner 7", 4,
         "No source found. The TWAIN manager \"C:\\windows\\TWAIN_32.DLL\" was loaded and asked. It lists no "
         "source of the maker KAVRO, but its default source is \"Scanner 7\" of another maker. smscan "
         "without --source scans from it."},
        {"--source nonsense", "", 4, none},
        {"--default nonsense", "", 4, none},
        {"--nonsense", "", 2, "Unknown option \"--nonsense\".\n! smscan --help lists the options."},
        {"--resolution 5000", "", 2, "The source offers X resolution from 50 to 1200 dpi, not 5000." + caps},
        {"--area 0,0,20,2", "", 2,
         "The source scans up to 11.70 x 17.00 inches (29.7 x 43.2 cm); --area reaches to 20.00 x 2.00 "
         "inches. smscan --caps shows what the source offers."},
        {"--output nowhere/p.bmp", "", 6,
         "Cannot write \"nowhere/p.bmp\": there is no folder \"" + folder.path("nowhere") +
             "\". Make it, or choose another --output."},
        {"--output .\\", "", 6, "Cannot write \".\\\": it is a folder. Choose another --output."},
        {"--output . --pages 2", "", 6, "Cannot write \".\": it is a folder. Choose another --output."},
        {"--output p.webp", "", 2,
         "--output \"p.webp\": there is no file format \".webp\" here. There are .bmp .dib, .png, .tif "
         ".tiff, "
         ".jpg .jpeg, .pdf; --format writes one of them under any name."},
        {"--output p.png --multipage", "", 2, "--multipage: a png file holds one page. Choose tiff or pdf."},
        {"--output p.bmp --start 2", "", 2, "--start: there is no %d for a number in --output \"p.bmp\"."},
        {"--output - --pages 2", "", 2,
         "--output - takes one page, or all of them with --multipage and --format tiff or pdf."},
        // A source that can't scan, or doesn't offer what is wanted.
        {"", "OpenFault=offline", 1,
         "Cannot open the source \"KAVRO Virtual Scanner\": failure of unknown cause (condition code 1). "
         "Look whether the scanner is switched on and connected, and try again."},
        {"", "OpenFault=brightness", 1,
         "The source opens, but can't be used: the scanner doesn't work (condition code 5). Look whether it "
         "is switched on and connected, and try again."},
        {"", "Pages=0", 1, "The feeder is empty. Put the pages in and try again."},
        {"--mech file", "RefusedMechanisms=File", 2,
         "The source doesn't offer --mech file, but native, memory, block." + caps},
        {"--mech block", "RefusedMechanisms=Memory", 2,
         "The source doesn't offer --mech block, but native, file." + caps},
        {"", "RefusedMechanisms=Native,File,Memory", 1,
         "The source takes none of the ways in which pages can come: strips in memory, a bitmap in memory, a "
         "file."},
        {"--mech block", "Planar=1", 2,
         "Page 1: pages with 24 bits per pixel in planes can't be pulled block by block without loss. Use "
         "--mech memory. No page was scanned."},
        {"", "UIControllable=0", 2, "The source scans from its own window only. With --ui it is shown."},
        {"--timeout 1", "UIControllable=0;RefusedCapabilities=CAP_UICONTROLLABLE", 1,
         "The source waits in a window of its own, though it was told to do without. With --ui it can be "
         "used. "
         "No page was scanned."},
        {"--feeder", "Feeder=none", 2, "The source has no feeder." + caps},
        {"--mode gray --depth 7", "", 2, "The source doesn't offer --depth 7, but 4, 8, 16." + caps},
        {"--scale 9", "", 2, "The source offers X scale from 0.25 to 4, not 9." + caps},
        {"--gamma 2", "RefusedCapabilities=ICAP_GAMMA", 1, "The source refuses --gamma 2: " + unknown},
        {"--resolution 75", "ReadOnlyCapabilities=ICAP_XRESOLUTION", 1,
         "The source refuses X resolution 75 dpi: the source doesn't allow this operation (condition code "
         "14)."},
        {"--mode color", "PixelTypes=BW,Gray;PixelType=BW", 2,
         "The source doesn't offer --mode color, but bw, gray." + caps},
        // The one-shot scan shows the source's window when a setting is refused; nobody is there to use it.
        {"--presto --timeout 1", "ReadOnlyCapabilities=ICAP_PIXELTYPE", 1,
         "The source did nothing for 1 seconds. Perhaps it waits in its window, which it shows when it "
         "refuses a setting; with --ui there is no limit."},
        {presto, "JamAtPage=1;StripRows=100;FaultAfterStrip=2", 1, jam},
        {presto, "RefusedMechanisms=Memory;JamAtPage=1", 1, jam},
        {presto, "RefusedMechanisms=Memory,File;JamAtPage=1", 1, jam},
        {presto, "RefusedMechanisms=Memory;FailAtPage=1;FailConditionCode=22", 6,
         "Page 1: the source can't write the file (condition code 22). Look for room on the disk."},
        {presto, "CancelAtPage=1", 5, cancelled},
        {presto, "RefusedMechanisms=Memory,File;CancelAtPage=1", 5, cancelled},
        {presto, "UnknownLength=1", 1,
         "The one-shot scan can't write this page: its size isn't known, or it has a type or depth that it "
         "doesn't know. Scan without --presto."},
        {presto, "RefusedMechanisms=Native,File,Memory", 1,
         "The source \"KAVRO Virtual Scanner\" can be opened, but refuses the one-shot scan. Scan without "
         "--presto to learn more."}};
    for (const auto& row : rows) {
        const std::string printed = folder.smscan(row.options, row.settings);
        // Before it the scanner may complain about its settings.
        CHECK(printed.substr(printed.find("! smscan: ") + 10) ==
              row.message + "\nexit " + std::to_string(row.exitCode));
        CHECK(folder.files() == "");
    }
    CHECK(folder.smscan("--list", "ProductName=Scanner 7") == " 1  Scanner 7 (default)\nexit 0");
    CHECK(folder.smscan("-l --json", "ProductName=M\xFC") ==
          "{\"number\":1,\"source\":\"M\xC3\xBC\",\"default\":true}\nexit 0");
    CHECK(folder.smscan("--default virtual") == "KAVRO Virtual Scanner is the default source.\nexit 0");
    CHECK(folder.smscan("--default \"KAVRO Virtual Scanner\"") ==
          "KAVRO Virtual Scanner is the default source.\nexit 0");
    CHECK(folder.smscan("-qm BW -r 50 -op.bmp", "RefusedMechanisms=Memory") == "exit 0");
    CHECK(
        folder.smscan(scanGray + "--force --area 1,1,3,3", "LengthError=-20") ==
        "p.bmp  100 x 100 pixels, 8 bit, 50 dpi\n! Note: --area asks for 100 x 100 pixels, the source made "
        "it 100 x 80.\n! Note: page 1 has 100 lines, though the source announced 80; all are kept.\nexit 0");
    CHECK(folder.smscan(scanGray + "--force --progress --source 1", "StripRows=147") ==
          grayLine +
              "! page 1: 0 %\n! page 1: 25 %\n! page 1: 50 %\n! page 1: 75 %\n! page 1: 100 %\nexit 0");
}

TEST_CASE("lines among others: what the source offers, help, settings that the scanner doesn't know") {
    const std::string small =
        "PixelTypes=BW,Gray;PixelType=Gray;MaxResolution=600;RefusedCapabilities=ICAP_GAMMA;"
        "ProductName=A \"Small\" One";
    const struct {
        std::string options, settings, parts;
    } rows[] = {
        {"--caps", small,
         "A \"Small\" One\n|\n  mode               gray                 bw, gray\n|"
         "\n  x-resolution       150 dpi              50 to 600\n|"
         "\n  max-area           11.7 x 17 in\n|"
         "\n  brightness         0                    -100 to 100\n|"
         "\n  gamma              -  not offered by the source (condition code 13)\n|"
         "\n  feeder             on\n|\n  firmware           261\n"},
        {"--caps --json", small,
         "{\"source\":\"A \\\"Small\\\" "
         "One\",|\"feeder\":{\"current\":true}|\"firmware\":{\"current\":261}}}"},
        {"--caps", "Manufacturer=Another", "\n  indicators         on\nexit 0"},
        {"--dry-run --depth 4 --mode gray --scale 50% --resolution 75 --flatbed", "",
         "KAVRO Virtual Scanner\n|\n  mode               gray\n  depth              4\n|"
         "\n  x-resolution       75 dpi\n  y-resolution       75 dpi\n  x-scale            0.5\n  y-scale    "
         "        0.5\n|\n  feeder             off\n"},
        {scanGray + "--json", "",
         "{\"file\":\"p.bmp\",\"width\":413,\"height\":585,\"bitsPerPixel\":8,"
         "\"xResolution\":50,\"yResolution\":50}\n"},
        {scanGray, "RefusedMechanisms=Memory",
         grayLine + "! Note: the source doesn't deliver strip by strip, so --mech is native.\n"},
        {"--help", "OpenFault=offline",
         "smscan scans pages|\n  6  a file can't be written\n|\n      smscan -m gray -r 300 -o letter.bmp\n"},
        {"--version", "", "smscan "},
        {"--caps", "Pags=3", "\n! virtual scanner: environment VSCAN_Pags: there is no setting \"Pags\"\n"}};
    for (const auto& row : rows) {
        const std::string printed = ScanFolder().smscan(row.options, row.settings);
        CAPTURE(printed);
        std::istringstream parts(row.parts + "|\nexit 0");
        size_t place = 0;
        for (std::string part; std::getline(parts, part, '|');)
            CHECK((place = printed.find(part, place)) != std::string::npos);
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
    CHECK(
        folder.smscan(scanGray) ==
        "! smscan: Cannot write \"p.bmp\": the file is there already. Choose another --output, or replace it "
        "with --force.\nexit 6");
    CHECK(folder.smscan(scanGray + "--force", "JamAtPage=1").find("\nexit 1") != std::string::npos);
    CHECK(folder.files() == "p.bmp");
    std::string kept;
    std::getline(std::ifstream(path), kept);
    CHECK(kept == "an older page");
}
