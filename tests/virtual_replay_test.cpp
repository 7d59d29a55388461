// Recordings: what the reader takes and refuses, and what the virtual scanner makes of one that a host asks
// for more than it tells. (Whole scans are recorded and replayed end to end.)
#include <clocale>
#include <cstddef>
#include <filesystem>
#include <fstream>

#include "recording/ContainerBytes.h"
#include "recording/RecordShapes.h"
#include "recording/RecordingText.h"
#include "virtual_host.h"

namespace {

template <class Record>
std::string hexOf(const Record& record) {
    return hex(reinterpret_cast<const std::uint8_t*>(&record), sizeof record);
}

// A scanner with two strips of two rows a page, resolutions from 50 to 200, and three modes; the first
// of two gray pages was scanned.
std::string smallRecording() {
    TW_IDENTITY own{};
    std::strcpy(own.ProductName, "Recorded");
    const std::string resolutions = hexOf(TW_RANGE{TWTY_FIX32, 50, 200, 1, 75, 75});
    // Two rows of four bytes from there on, without the host's buffer.
    const auto strip = [](TW_UINT32 top) {
        return hexOf(TW_IMAGEMEMXFER{0, 4, 4, 2, 0, top, 8, {}}).substr(0, 52);
    };
    return "scan-recording 1\n"
           "> 1 s3 1/0003/0401 @1 # a comment\n< 1 rc=0 data=" +
           hexOf(own) +
           " unknown=5\n"
           "> 2 s4 1/0001/0001 data=1811ffff00000000 @2\n"
           "< 2 rc=0 data=1811060000000000 block=" +
           resolutions +
           "\n"
           "> 3 s4 1/0001/0001 data=0101ffff00000000 @2\n"
           "< 3 rc=0 data=0101040000000000 block=0400030000000200000002000000000001000200\n"
           "> 4 s4 1/0001/0001 data=0811ffff00000000 @2\n< 4 rc=1\n"
           "> 5 s4 1/0008/0001 @2\n< 5 rc=0 data=0d000000\n"
           "> 12 s4 1/0001/0002 data=0310ffff00000000\n< 12 rc=0 data=0310050000000000 block=060001000000\n"
           "> 13 s4 1/0001/0002 data=0310ffff00000000\n< 13 rc=0 data=0310050000000000 block=060000000000\n"
           "> 6 s4 1/0001/0006 data=0101050000000000 block=040001000000 @2\n< 6 rc=0\n"
           "> 7 s4 1/0009/0502 data=0000000000000000 @3\n! 7 0101 @3\n< 7 rc=0\n"
           "> 8 s6 2/0103/0001 @4\n< 8 rc=0 data=" +
           strip(0) +
           " px=8 crc=0 ms=1\n"
           "> 9 s7 2/0103/0001 @4\n< 9 rc=6 data=" +
           strip(2) +
           " px=8 crc=0\n"
           "> 10 s7 1/0005/0701 @5\n< 10 rc=0 data=010000000000\n"
           "> 11 s6 1/0009/0501 data=0000000000000000 @6\n";
}

class RecordingFile {
public:
    explicit RecordingFile(const std::string& text) { std::ofstream(path, std::ios::binary) << text; }
    ~RecordingFile() { std::filesystem::remove(path); }
    const std::string path =
        (std::filesystem::temp_directory_path() / ("r" + std::to_string(GetCurrentProcessId()))).string();
};

// What the reader says, or how many operations it found.
std::string readingOf(const std::string& text) {
    try {
        return std::to_string(recording::readRecording(text).operations.size()) + " operations";
    } catch (const recording::RecordingError& error) {
        return error.what();
    }
}

}  // namespace

TEST_CASE("a recording is read line by line, and the first line that can't be read is named") {
    const std::string rows[][2] = {
        {"", "line 1: the file is cut off here"},
        {"BM\n", "line 1: no recording begins like this (\"scan-recording 1\")"},
        {"scan-recording 2\n", "line 1: this version of recordings is not known: 2"},
        {"scan-recording 1\r\n\n# remark\n> 1 s4 1/0001/0001 future=1 @2.5 # names\r\n", "1 operations"},
        {"scan-recording 1\n> 1 s4 1/0001/0001", "line 2: the file is cut off here"},
        {"scan-recording 1\n? 1\n", "line 2: begins with \"?\", not with >, < or !"},
        {"scan-recording 1\n> 1 s9 1/1/1\n", "line 2: \"9\" is too large"},
        {"scan-recording 1\n> 1 s4 1/10001/1\n", "line 2: \"10001\" is too large"},
        {"scan-recording 1\n> 1 s4 1/1\n", "line 2: \"1/1\" is no GROUP/TYPE/MESSAGE"},
        {"scan-recording 1\n> 1 s4 1/1/1 data=123\n", "line 2: half a byte is missing"},
        {"scan-recording 1\n> 1 s4 1/1/1 @-1\n", "line 2: \"-1\" is no time"},
        {"scan-recording 1\n> 1 s4 1/1/1\n> 1 s4 1/1/1\n", "line 3: an operation has this number already"},
        {"scan-recording 1\n< 1 rc=0\n", "line 2: there is no operation 1"},
        {"scan-recording 1\n> 1 s4 1/1/1\n< 1\n", "line 3: lacks rc="},
        {"scan-recording 1\n! 0 0101\n", "line 2: a notice comes before any operation"}};
    for (const auto& [text, reading] : rows)
        CHECK(readingOf(text) == reading);
}

TEST_CASE("a host that writes numbers with a comma records and replays the same") {
    REQUIRE(std::setlocale(LC_NUMERIC, "German"));
    recording::Operation operation{7, 4, {1, 0xB, 5}, 12.34, 0, {}, {}, {}};
    const std::string line = recording::questionLine(operation, "");
    const std::string reading = readingOf(recording::firstLine() + line);
    std::setlocale(LC_NUMERIC, "C");
    CHECK(line == "> 7 s4 1/000b/0005 @12.3\n");
    CHECK(reading == "1 operations");
}

TEST_CASE("what was not recorded is derived from what was, or refused, and nothing else is made up") {
    const RecordingFile file(smallRecording());
    const std::string gray = "ICAP_PIXELTYPE 1: success; ";
    const Story stories[] = {
        {"", gray + "enable: success; notes: ready ; strip: success; strip: done; end: 1; state: 6"},
        // The second page was announced, but is not there; nor is its end, which could announce a third.
        {"",
         gray + "enable: success; strip: success; strip: done; end: 1; strip: failure 5; end: 0; state: 5"},
        // Asked twice, it was answered twice.
        {"", "CAP_FEEDERLOADED: one BOOL 1; CAP_FEEDERLOADED: one BOOL 0"},
        // A range and a list say what else could be set; then it is in force.
        {"",
         "ICAP_XRESOLUTION 100: success; ICAP_XRESOLUTION: one FIX32 100; ICAP_XRESOLUTION 300: failure 10"},
        {"",
         "ICAP_PIXELTYPE?: enum UINT16 [0 1 2] current 2 default 2; ICAP_PIXELTYPE 0: success; "
         "ICAP_PIXELTYPE: one UINT16 0"},
        {"", "ICAP_GAMMA: failure 13; ICAP_GAMMA 2: failure 13; ICAP_UNITS: failure 13; palette: failure 9"},
        // A page of another resolution or mode is not this page.
        {"",
         gray + "ICAP_XRESOLUTION 100: success; enable: success; strip: failure 5; end: 1; disable: success"},
        {"", "enable: success; strip: failure 5; reset: 0; disable: success; close: success"},
        {"ReplayImages=any", "enable: success; strip: success; strip: done"},
        {"",
         gray + "enable: success; native: failure 5; disable: success; close: success; strip: failure 11"},
    };
    for (const Story& story : stories) {
        CAPTURE(story.steps);
        VirtualHost("Replay=" + file.path + " " + story.settings).check(story.steps);
    }
}

TEST_CASE("a notice that came later comes later") {
    // By the source past its answers, or with the host's fifth event.
    for (const char* later :
         {"! 0 0101 @60\n", "> 20 s5 1/0002/0601 events=4 @60\n< 20 rc=4 data=000000000101\n"}) {
        std::string text = smallRecording();
        const std::string inside = "! 7 0101 @3\n< 7 rc=0\n";
        text.replace(text.find(inside), inside.size(), std::string("< 7 rc=0\n") + later);
        const RecordingFile file(text);
        VirtualHost host("Replay=" + file.path);
        host.check("ICAP_PIXELTYPE 1: success; enable: success; notes: ; state: 5");
        MSG message;
        while (host.notes.empty() && GetMessageA(&message, nullptr, 0, 0))
            DispatchMessageA(&message);
        host.check("notes: ready ; state: 6; strip: success");
    }
}

TEST_CASE("strips are cut for a host with a smaller buffer") {
    const RecordingFile file(smallRecording());
    VirtualHost host("Replay=" + file.path);
    host.check("ICAP_PIXELTYPE 1: success; enable: success");
    std::string strips;
    for (int i = 0; i < 5; ++i) {
        std::uint8_t buffer[6] = {};
        TW_IMAGEMEMXFER strip{};
        strip.Memory = {TWMF_APPOWNS | TWMF_POINTER, sizeof buffer, buffer};
        strips += host.image(DAT_IMAGEMEMXFER, MSG_GET, &strip);
        strips += " " + std::to_string(strip.Rows) + " at " + std::to_string(strip.YOffset) + " " +
                  hex(buffer, 6) + "; ";
    }
    CHECK(strips ==
          "success 1 at 0 404040400000; success 1 at 1 404040400000; success 1 at 2 404040400000; "
          "done 1 at 3 404040400000; failure 11 0 at 0 000000000000; ");
}

TEST_CASE("whatever stands in a recording, hosts get answers and can close") {
    const std::string good = smallRecording();
    unsigned dice = 1;
    const auto next = [&](size_t below) {
        dice = dice * 1103515245 + 12345;
        return (dice >> 8) % below;
    };
    int opened = 0;
    for (int round = 0; round < 400; ++round) {
        CAPTURE(round);
        std::string text = good;
        for (size_t faults = next(3) + 1; faults > 0; --faults) {
            // Mostly digits of data, at times whole lines or the end.
            const size_t at = 17 + next(text.size() - 17);
            if (next(8) == 0)
                text.erase(text.find('\n', at) + 1, next(200));
            else if (std::isxdigit(text[at]) && text[at - 1] != '=')
                text[at] = "0123456789abcdef"[next(16)];
            else if (next(20) == 0)
                text.resize(at);
        }
        const RecordingFile file(text);
        VirtualHost host("Replay=" + file.path, 3);
        opened += host.answer("open") == "success";
        for (const char* step : {"ICAP_PIXELTYPE 1", "ICAP_XRESOLUTION?", "ICAP_XRESOLUTION 100", "enable",
                                 "strip", "strip", "end", "reset", "disable", "close"})
            host.answer(step);
        CHECK(host.scanner.state() == 3);
    }
    CHECK(opened > 100);
}

TEST_CASE("a recording that would fill the memory is refused, and the operation named") {
    std::string text = smallRecording();
    for (int i = 0; i < 2000; ++i) {
        char lines[120];
        std::snprintf(lines, sizeof lines,
                      "> %d s4 1/0001/0006 data=%02x%02x050000000000 block=040002000000\n< %d rc=0\n",
                      1000 + i, i & 255, i >> 8, 1000 + i);
        text += lines;
    }
    const RecordingFile file(text);
    VirtualHost host("Replay=" + file.path, 3);
    CHECK(host.answer("open") == "failure 5");
    CHECK(host.scanner.pageComplaint() ==
          "Replay \"" + file.path + "\": operation 2413: more settings than any scan changes");
}

TEST_CASE("nothing of a container goes into a recording that tells of people, devices or memory") {
    const auto text = [](TW_UINT16 capability, TW_UINT16 kind, const std::string& bytes) {
        const recording::Bytes shown =
            recording::presentable(capability, {kind, {bytes.begin(), bytes.end()}});
        return std::string(shown.begin(), shown.end());
    };
    const std::string serial = std::string("\x09\0AB-12\0secret", 14) + std::string(34, 'z');
    const std::string masked = std::string("\x09\0xxx00", 7) + std::string(29, '\0');
    CHECK(text(0x1024, TWON_ONEVALUE, serial) == masked);
    for (const int printed : {0x102a, 0x102b, 0x104e})
        CHECK(text(static_cast<TW_UINT16>(printed), TWON_ONEVALUE, serial) == masked);
    CHECK(text(0x1025, TWON_ONEVALUE, serial).substr(0, 8) == serial.substr(0, 8));
    // The upper half of a 16-bit value, and what a block has behind its end.
    CHECK(text(ICAP_UNITS, TWON_ONEVALUE, std::string("\4\0\1\0\xAD\xDEmore", 10)) ==
          std::string("\4\0\1\0\0\0", 6));
    const std::string small("\4\0\1\0\xAD\xDE\2\0\xAD\xDE\1\0\xAD\xDE\1\0\xAD\xDE\1\0\xAD\xDE", 22);
    CHECK(text(ICAP_BRIGHTNESS, TWON_RANGE, small).find('\xAD') == std::string::npos);

    TW_SETUPFILEXFER file{};
    std::strcpy(file.FileName, "C:\\Users\\somebody\\tax.bmp");
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&file);
    const recording::Bytes shown = recording::presentableQuestion({DG_CONTROL, DAT_SETUPFILEXFER, MSG_SET},
                                                                  {bytes, bytes + sizeof file});
    CHECK(std::string(shown.begin(), shown.begin() + 9) == std::string("page.bmp\0", 9));
    CHECK(std::count(shown.begin() + 8, shown.begin() + 256, 0) == 248);
}
