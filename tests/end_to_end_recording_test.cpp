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
