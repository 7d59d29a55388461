// A scanner is recorded, replayed without it, and the replay recorded: everything must be the same.
#include <doctest.h>

#include <fstream>
#include <iterator>
#include <regex>

#include "ScanFolder.h"

namespace {

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Without times, and without the count of window messages, which is never the same.
std::string journalOf(const std::string& path) {
    return std::regex_replace(contentOf(path), std::regex(" (@|ms=|events=)[0-9.]+"), "");
}

// What the replay itself told, and the rest.
std::string remarksOf(const std::string& output, std::string& rest) {
    std::istringstream lines(output);
    std::string remarks;
    rest.clear();
    for (std::string line; std::getline(lines, line);) {
        const bool isRemark = line.rfind("! virtual scanner: replay: ", 0) == 0;
        (isRemark ? remarks : rest) += (isRemark ? line.substr(27) : line) + "\n";
    }
    return std::regex_replace(remarks, std::regex("[0-9]+ exact"), "N exact");
}

const std::string allExact = "N exact, 0 under other settings, 0 derived, 0 missing\n";

}  // namespace

TEST_CASE("record, replay, record again: the same, whatever the scanner does") {
    const std::string rows[][2] = {
        // settings, options
        {"Pages=2", "--mech native"},
        {"Pages=2;Delay=1", "--mech file"},
        {"Pages=3;RowPadding=0;StripRows=50", "--mech memory"},
        {"Pages=2", "--mech block"},
        {"Pages=3;JamAtPage=2;FaultAfterStrip=2", "--mech memory"},
        {"Pages=2;JamAtPage=2", "--mech native"},
        {"Pages=2;CancelAtPage=2", "--mech file"},
        {"FailAtPage=1;FailConditionCode=0", "--mech memory"},
        {"StripFaults=ExtraRows,ExtraBytes,WideColumns", "--mech memory"},
        {"StripFaults=ShortLast;StripColumns=100", "--mech memory"},
        {"StripFaults=ZeroBytesPerRow", "--mech memory"},
        {"OddContainers=array", "--mech native"},
        {"OddContainers=truncated", "--mech native"},
        {"OddContainers=count;Pages=2", "--mech memory"},
        {"OddContainers=nohandle", "--mech native"},
        {"Planar=1;UnknownLength=1", "--mech memory --mode color"},
        {"UnknownPendingCount=1;Pages=2", "--mech native"},
        {"EmptyFeeder=close;Pages=1;Feeder=off;RefusedCapabilities=ICAP_UNITS,ICAP_PIXELFLAVOR", ""},
        {"OpenFault=brightness;Protocol=1.5", "--brightness 10"},
        {"OpenFault=offline", ""},
        {"Units=Centimeters;Pages=2", "--survey"},
    };
    for (const auto& [settings, options] : rows) {
        CAPTURE(settings);
        CAPTURE(options);
        const std::string scan = " -r 50 --mode gray --pages all --output p%d.bmp " + options;
        ScanFolder original, replay;
        const std::string shown = original.smscan("--record a.rec" + scan, settings);
        const std::string again = replay.smscan("--record a.rec" + scan, "Replay=" + original.path("a.rec"));
        std::string told;
        const std::string remarks = remarksOf(again, told);
        // One for each time that the source was opened and closed.
        const size_t sessions = settings == "OpenFault=offline" ? 0 : options == "--survey" ? 2 : 1;
        CHECK(remarks == (sessions == 2 ? allExact + allExact : sessions == 1 ? allExact : ""));
        CHECK(told == shown + "\n");
        CHECK(replay.files() == original.files());
        CHECK(journalOf(replay.path("a.rec")) == journalOf(original.path("a.rec")));
        for (const char* name : {"a.rec.pixels", "p1.bmp", "p2.bmp"})
            CHECK(contentOf(replay.path(name)) == contentOf(original.path(name)));
    }
}

TEST_CASE("a page that somebody started in the source's window comes by itself in the replay") {
    ScanFolder original, replay;
    const std::string scan = "--record a.rec --ui --resolution 50 --mode gray --output p%d.bmp";
    const auto pressScan = [](const PROCESS_INFORMATION&) {
        const HWND window = FindWindowA(nullptr, "Window Recorded");
        if (window && IsWindowVisible(window)) PostMessageA(window, WM_COMMAND, IDOK, 0);
    };
    const std::string shown = original.smscan(scan, "ProductName=Window Recorded", pressScan);
    std::string told;
    CHECK(remarksOf(replay.smscan(scan, "Replay=" + original.path("a.rec")), told) == allExact);
    CHECK(told == shown + "\n");
    CHECK(journalOf(replay.path("a.rec")) == journalOf(original.path("a.rec")));
    CHECK(contentOf(replay.path("p1.bmp")) == contentOf(original.path("p1.bmp")));
}

TEST_CASE("a surveyed scanner answers hosts that were not recorded, and delivers no wrong page") {
    ScanFolder folder;
    const std::string area = " --area 0,0,1,1.5";
    folder.smscan("--record a.rec --survey --survey-modes --resolution 50 --mode gray --output a.bmp" + area);
    folder.smscan("--resolution 150 --mode bw --output bw.bmp" + area);
    const std::string replay = "Replay=" + folder.path("a.rec");
    std::string caps;
    CHECK(remarksOf(folder.smscan("--caps", replay), caps) == allExact);
    CHECK(caps == folder.smscan("--caps") + "\n");

    const struct {
        std::string options, settings, page, remarks;
    } rows[] = {
        {"--resolution 50 --mode gray --timeout 60 --brightness 0" + area, "", "a.bmp", ""},
        {"--resolution 150 --mode bw" + area, "", "bw.bmp", ""},
        {"--resolution 100 --mode gray" + area, "", "",
         "no page was recorded with ICAP_XRESOLUTION 100, but one with ICAP_XRESOLUTION 75; ReplayImages=any "
         "delivers it\n"},
        {"--resolution 50 --mode gray --area 0,0,1,1", "", "",
         "no page was recorded with the area 0,0,1,1, but one with the area 0,0,1,1.5; ReplayImages=any "
         "delivers "
         "it\n"},
        {"--resolution 50 --mode gray --area 0,0,1,1", ";ReplayImages=any", "a.bmp",
         "no page was recorded with the area 0,0,1,1, but one with the area 0,0,1,1.5; it is delivered\n"},
        {"--resolution 50 --mode gray --mech native" + area, "", "",
         "no page was recorded in this way of transfer\n"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.options);
        std::string told;
        const std::string remarks =
            remarksOf(folder.smscan(row.options + " --force --output b.bmp", replay + row.settings), told);
        CHECK(remarks.substr(0, remarks.find("N exact")) == row.remarks);
        CHECK(told.substr(told.rfind("exit")) == (row.page.empty() ? "exit 1\n" : "exit 0\n"));
        if (!row.page.empty()) CHECK(contentOf(folder.path("b.bmp")) == contentOf(folder.path(row.page)));
    }
}

TEST_CASE("pixels that are not those recorded are not delivered") {
    ScanFolder folder;
    const std::string scan = "--resolution 50 --mode gray --mech memory --force --output p.bmp";
    folder.smscan("--record a.rec " + scan);
    // What was written, not what the host's buffer had room for.
    CHECK(contentOf(folder.path("a.rec.pixels")).size() == 416 * 585);
    std::fstream(folder.path("a.rec.pixels"), std::ios::in | std::ios::out | std::ios::binary).seekp(5)
        << 'x';
    std::string told;
    const std::string remarks = remarksOf(folder.smscan(scan, "Replay=" + folder.path("a.rec")), told);
    CHECK(remarks.rfind("the recording's pixels are missing or damaged: ", 0) == 0);
    CHECK(told.substr(told.rfind("exit")) == "exit 1\n");
}

TEST_CASE("a recording tells nothing of the host and its files, nor of the pages when they are left out") {
    ScanFolder folder;
    const std::string scan =
        "--resolution 50 --mode gray --force --mech file --output " + folder.path("tax.bmp");
    folder.smscan("--record keep.rec " + scan);
    folder.smscan("--record a.rec --pixels blank " + scan);
    folder.smscan("--record b.rec --pixels blank " + scan, "Replay=" + folder.path("a.rec"));
    folder.smscan("--record c.rec --pixels hash " + scan);
    CHECK(folder.files() == "a.rec b.rec c.rec keep.rec keep.rec.pixels tax.bmp");
    CHECK(journalOf(folder.path("b.rec")) == journalOf(folder.path("a.rec")));
    // Only a checksum tells whether it was the same page.
    const std::string kept = journalOf(folder.path("keep.rec"));
    CHECK(journalOf(folder.path("c.rec")) == std::regex_replace(kept, std::regex(" at=[0-9]+"), ""));
    CHECK(journalOf(folder.path("a.rec")) != journalOf(folder.path("c.rec")));
    for (const char* hidden : {"746178", "3a5c", "736d7363616e"})  // "tax", ":\\", "smscan"
        CHECK(kept.find(hidden, 20) == std::string::npos);
}
