// The parts of smtrace that need no window: what a line says, the calls, what is shown of it.
#include <doctest.h>

#include "smtrace/LineFilter.h"
#include "smtrace/LineText.h"
#include "smtrace/Options.h"
#include "windows/Anchors.h"

using namespace smtrace;

namespace {

// "level kind depth [method] text"
std::string told(const std::string& raw) {
    const TraceLine line = parseLine(raw);
    return std::to_string(static_cast<int>(line.level)) + std::to_string(static_cast<int>(line.kind)) + " [" +
           std::string(line.place) + "] [" + std::string(line.method) + "] " + std::string(line.text);
}

std::string call(const char* method) {
    return std::string("Trace a.cpp 1: [SM] Coming ") + method;
}
std::string end(const char* method) {
    return std::string("Trace a.cpp 1: [SM] Leaving ") + method;
}
const std::string separator = "    ";
const std::string warning = "Warning a.cpp 2: [SM] Sequence error in B";

// The depths of the lines that were kept, each with * before it where a call from the host begins.
std::string depths(const LineStore& store) {
    std::string text;
    for (size_t i = 0; const auto line = store.line(i); ++i)
        text += (line->beginsCall ? " *" : " ") + std::to_string(line->depth);
    return text;
}

}  // namespace

TEST_CASE("a line is taken apart into level, place, text and what it means for the nesting") {
    const std::pair<std::string, std::string> rows[] = {
        {"Trace sm/link/Link.cpp 20: [SM] Coming TScanModule::LoadTWAIN",
         "01 [sm/link/Link.cpp 20] [TScanModule::LoadTWAIN] Coming TScanModule::LoadTWAIN"},
        {"Trace a.cpp 1: [SM] Leaving X", "02 [a.cpp 1] [X] Leaving X"},
        {"Warning a.cpp 1: [SM] Coming home", "10 [a.cpp 1] [] Coming home"},
        {"Fatal a.cpp 1: [SM] x: [SM] y", "20 [a.cpp 1] [] x: [SM] y"},
        {"    ", "33 [] []     "},
        {"     ", "30 [] []      "},
        {"Trace a.cpp 1: [SM]     <<<<< Start Scan Module Diagnostic >>>>>",
         "04 [a.cpp 1] []     <<<<< Start Scan Module Diagnostic >>>>>"},
        {"Traces: [SM] ", "30 [] [] Traces: [SM] "},
        {"", "30 [] [] "},
    };
    for (const auto& [raw, expected] : rows)
        CHECK(told(raw) == expected);
}

TEST_CASE(
    "calls nest for each sender; one that doesn't say that it ends, ends with its caller or the next call") {
    LineStore store;
    auto add = [&, time = Time{1000}](uint32_t sender, std::initializer_list<std::string> lines) mutable {
        for (const std::string& line : lines)
            store.add(line, sender, time += 1000);
    };
    add(1, {separator, separator, call("A"), call("B"), warning});
    add(2, {call("A"), warning, end("A")});
    add(1, {end("A"), warning, call("C"), separator, call("A"), end("Z"), end("A"), call("C")});
    add(1, {"Trace a.cpp 1: [SM] <<<<< Start ", call("C")});
    CHECK(depths(store) == " *0 1 2 0 1 0 0 0 0 *0 1 0 0 0 0");
    CHECK(store.line(1)->sinceLast == 1000);

    std::string figures;
    for (const MethodStatistics& each : store.statistics())
        figures += each.method + " " + std::to_string(each.calls) + " " + std::to_string(each.returns) + " " +
                   std::to_string(each.inside) + " " + std::to_string(each.longest) + "; ";
    CHECK(figures == "A 3 3 10000 6000; B 1 0 0 0; C 3 0 0 0; ");
    CHECK(statisticsText(store.statistics()).find("       3      10.0      3.333       6.000  A\n") !=
          std::string::npos);

    store.dropBefore(3);
    CHECK_FALSE(store.line(2));
    CHECK(store.line(3)->depth == 0);
    CHECK(store.count(Level::Warning) == 3);
}

TEST_CASE("what is shown follows the filter, finds around the end, and keeps up with what comes") {
    LineStore store;
    FilteredLines lines(store);
    for (const std::string& raw : {call("Alpha"), warning, end("Alpha"), call("Beta")})
        store.add(raw, 1, 1);
    lines.update();
    CHECK(lines.find("ALPHA", 1) == 2);
    CHECK(lines.find("alpha", 3) == 0);
    CHECK_FALSE(lines.find("gamma", 0));

    LineFilter filter;
    filter.levels[static_cast<size_t>(Level::Warning)] = false;
    filter.text = "alpha";
    lines.setFilter(filter);
    CHECK(lines.size() == 2);
    CHECK(lines.line(1)->raw == end("Alpha"));
    store.add(call("alphabet"), 1, 2);
    store.add(call("Beta"), 1, 3);
    CHECK(lines.update());
    CHECK_FALSE(lines.update());
    CHECK(lines.size() == 3);
    store.clear();
    store.add(call("Alpha"), 1, 4);  // comes between the two
    lines.forget();
    lines.update();
    CHECK(lines.size() == 1);
}

TEST_CASE("a log has one line of UTF-8 for each, indented, with time, process, level and place") {
    LineStore store;
    for (const std::string& raw : {call("A"), separator, std::string("Fatal sm/x.cpp 85: [SM] \xFC")})
        store.add(raw, 77, 1'000'000 + 1500 * store.end());
    CHECK(logText(*store.line(0)) == "    +0.000     77 Trace   Coming A  (a.cpp 1)\n");
    CHECK(logText(*store.line(1)) == "\n    +1.500     77 Fatal   \xC3\xBC  (sm/x.cpp 85)\n");
    store.add("Warning a.cpp 1: [SM] x", 77, 1'009'000);
    CHECK(shownText(*store.line(0)) == L"\x2192 A");
}

TEST_CASE("options stand before the command, whose words arrive as they were") {
    const Options options = parseOptions(
        {L"--log", L"a b.txt", L"--statistics", L"host.exe", L"--console", L"c d", L"", L"q\"\\\" \\"});
    CHECK(options.log == L"a b.txt");
    CHECK(options.statistics);
    CHECK_FALSE(options.console);
    CHECK(options.command == L"host.exe --console \"c d\" \"\" \"q\\\"\\\\\\\" \\\\\"");
    CHECK(parseOptions({}).showsWindow());
    CHECK(parseOptions({L"--console", L"--", L"-x"}).command == L"-x");
    const std::vector<std::wstring> wrong[] = {{L"--loud"}, {L"--log"}, {L"--log", L""}, {L"host.exe"}};
    for (const auto& words : wrong)
        CHECK_THROWS_AS(parseOptions(words), UsageError);
}

TEST_CASE("controls keep their distance to the edges they are anchored to") {
    const auto moved = [](unsigned edges) {
        const RECT at = gui::anchored({10, 20, 30, 40}, edges, {100, 100}, {107, 95});
        return std::vector<LONG>{at.left, at.top, at.right, at.bottom};
    };
    CHECK(moved(gui::Left | gui::Top) == std::vector<LONG>{10, 20, 30, 40});
    CHECK(moved(gui::Right | gui::Top) == std::vector<LONG>{17, 20, 37, 40});
    CHECK(moved(gui::Whole) == std::vector<LONG>{10, 20, 37, 35});
    CHECK(moved(gui::Left | gui::Bottom) == std::vector<LONG>{10, 15, 30, 35});
}
