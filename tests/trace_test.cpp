// The diagnostic trace as a viewer sees it, and what it costs where there is none.
#include <doctest.h>

#include <algorithm>
#include <memory>
#include <regex>

#include "Stage.h"
#include "Trace.h"

namespace {

std::string switchValue(const SavedFile& file, const char* key) {
    char value[32] = "";
    GetPrivateProfileStringA("Debug", key, "(none)", value, sizeof value, file.path().c_str());
    return value;
}

// Path and number of the first line with this text.
std::string placeOf(const RecordingViewer& viewer, const std::string& text) {
    const std::string ending = ": [SM] " + text;
    for (const std::string& line : viewer.rawLines()) {
        const size_t at = line.find(ending);
        if (at != std::string::npos && at + ending.size() == line.size())
            return line.substr(line.find(' ') + 1, at - line.find(' ') - 1);
    }
    return "no such line: " + text;
}

// Lets a test see what the module does between "Coming" and "Leaving" of one call.
int callCapNegotiate(Stage& stage) {
    TW_CAPABILITY capability = {ICAP_UNITS, TWON_DONTCARE16, nullptr};
    return stage.module.CapNegotiate(MSG_GET, &capability);
}

}  // namespace

TEST_CASE("a line names level, path, number and text") {
    Stage stage;
    stage.module.EnableDS(FALSE, FALSE);
    const std::regex form("(Trace|Warning) sm/[A-Za-z]+\\.(cpp|h) [0-9]+: \\[SM\\] .*|    ");
    for (const std::string& line : stage.viewer.rawLines()) {
        CAPTURE(line);
        CHECK(std::regex_match(line, form));
    }
    CHECK(placeOf(stage.viewer, "Coming TScanModule::EnableDS").rfind("sm/Session.cpp ", 0) == 0);
    CHECK(placeOf(stage.viewer, "Sequence error in TScanModule::EnableDS").rfind("sm/Session.cpp ", 0) == 0);
    CHECK(placeOf(stage.viewer, "Coming TScanModule::LoadTWAIN").rfind("sm/TwainLoader.cpp ", 0) == 0);
}

TEST_CASE("a line names its method's place, also where methods share code") {
    Stage stage;
    stage.module.SetADFEnable(TRUE);
    stage.module.SetAutoFeedEnable(TRUE);
    stage.module.SetPixelType(SM_PIXEL_BW);
    std::set<std::string> places;
    for (const char* method : {"SetADFEnable", "SetAutoFeedEnable", "SetPixelType"}) {
        const std::string refusal =
            placeOf(stage.viewer, std::string("Sequence error in TScanModule::") + method);
        const std::string entry = placeOf(stage.viewer, std::string("Coming TScanModule::") + method);
        CAPTURE(refusal);
        CHECK(refusal.substr(0, refusal.find(' ')) == entry.substr(0, entry.find(' ')));
        CHECK(std::abs(std::stoi(refusal.substr(refusal.find(' '))) -
                       std::stoi(entry.substr(entry.find(' ')))) < 20);
        places.insert(refusal);
    }
    CHECK(places.size() == 3);
}

TEST_CASE("each call from the host is set apart, nested ones are not") {
    Stage stage;
    stage.forget();
    stage.module.IsTWAINAvailable();
    stage.module.CloseDS();
    const Lines lines = stage.viewer.lines();
    Lines before;
    for (size_t i = 3; i < lines.size(); ++i) {
        const bool isSetApart = lines[i - 1] == "    " && lines[i - 2] == "    " && lines[i - 3] == "    ";
        if (isSetApart && lines[i] != "    ") before.push_back(lines[i]);
    }
    CHECK(before ==
          Lines{"Trace: Coming TScanModule::IsTWAINAvailable", "Trace: Coming TScanModule::CloseDS"});
    CHECK(std::count(lines.begin(), lines.end(), "    ") == 6);
}

TEST_CASE("the switches work at once") {
    Stage stage;
    stage.forget();
    SUBCASE("trace lines off") {
        stage.switches.set("Trace", "0");
        stage.module.EnableDS(FALSE, FALSE);
        CHECK(stage.viewer.lines() == Lines{"Warning: Sequence error in TScanModule::EnableDS"});
        stage.viewer.forget();
        stage.switches.set("Trace", "1");
        stage.module.EnableDS(FALSE, FALSE);
        CHECK(stage.viewer.traces().size() > 2);
    }
    SUBCASE("warnings off") {
        stage.switches.set("Warning", "0");
        stage.module.EnableDS(FALSE, FALSE);
        CHECK(stage.viewer.warnings() == Lines{});
        CHECK(stage.viewer.traces().size() > 2);
        stage.switches.set("Warning", "7");
        stage.module.EnableDS(FALSE, FALSE);
        CHECK(stage.viewer.warnings() == Lines{"Sequence error in TScanModule::EnableDS"});
    }
    SUBCASE("a missing key is off") {
        stage.switches.set("Warning", nullptr);
        stage.switches.set("Trace", nullptr);
        stage.module.EnableDS(FALSE, FALSE);
        CHECK(stage.viewer.rawLines() == Lines{});
    }
}

TEST_CASE("a Leaving whose Coming was switched off brings the nesting below zero") {
    Stage stage;
    stage.forget();
    stage.switches.set("Trace", "0");
    stage.manager.answer(operation::get(ICAP_UNITS),
                         Answer{TWRC_SUCCESS, 0, {}, [&](TW_MEMREF) { stage.switches.set("Trace", "1"); }});
    callCapNegotiate(stage);
    CHECK(stage.viewer.lines() == Lines{"Trace: Leaving TScanModule::CapNegotiate"});
    stage.viewer.forget();
    // The nesting is -1 now: the next call counts as nested, and what it calls as the outermost.
    stage.module.IsTWAINAvailable();
    const Lines lines = stage.viewer.lines();
    REQUIRE(lines.size() > 5);
    CHECK(Lines(lines.begin(), lines.begin() + 5) == Lines{"Trace: Coming TScanModule::IsTWAINAvailable",
                                                           "    ", "    ", "    ",
                                                           "Trace: Coming TScanModule::IsTWAINLoaded"});
}

TEST_CASE("the switch file is made with both switches on, and left alone once it has a trace switch") {
    struct Row {
        std::string name;
        const char* before;  // null: no file
        const char* trace;
        const char* warning;
        Lines writes;
    };
    const Lines defaults = {"write Debug Trace=1 of DEBUGSM.INI", "write Debug Warning=1 of DEBUGSM.INI"};
    const Row rows[] = {
        {"no file", nullptr, "1", "1", defaults},
        {"a file without the section", "[Other]\r\nTrace=0\r\n", "1", "1", defaults},
        {"a file without the trace switch", "[Debug]\r\nWarning=0\r\n", "1", "1", defaults},
        {"both off", "[Debug]\r\nTrace=0\r\nWarning=0\r\n", "0", "0", {}},
        {"a trace switch alone", "[Debug]\r\nTrace=1\r\n", "1", "(none)", {}},
    };
    for (const bool hasViewer : {false, true}) {
        for (const Row& row : rows) {
            CAPTURE(row.name);
            CAPTURE(hasViewer);
            TraceSwitches switches;
            if (row.before == nullptr)
                switches.file().remove();
            else
                switches.file().write(row.before);
            const auto viewer = hasViewer ? std::make_unique<RecordingViewer>() : nullptr;
            ModuleCalls windows;
            const Module module;
            Lines writes;
            for (const std::string& call : windows.profileCalls)
                if (call.rfind("write", 0) == 0) writes.push_back(call);
            CHECK(writes == row.writes);
            CHECK(switchValue(switches.file(), "Trace") == row.trace);
            CHECK(switchValue(switches.file(), "Warning") == row.warning);
        }
    }
}

TEST_CASE("without a viewer no trace point looks at a file") {
    const TraceSwitches switches;
    ModuleCalls windows;
    ScriptedManager manager;
    const RecordingHost host;
    const Module module;
    CHECK(windows.profileCalls == Lines{"exists DEBUGSM.INI", "read Debug Trace of DEBUGSM.INI"});
    windows.profileCalls.clear();
    CHECK(module.OpenDS(host.window(), nullptr) == 0);
    unsigned short unit = 0;
    module.GetUnit(&unit);
    module.SetADFEnable(TRUE);
    CHECK(module.CloseDS() == 0);
    CHECK(windows.profileCalls == Lines{});
}

TEST_CASE("a viewer without its memory, or one that comes later, gets nothing") {
    const TraceSwitches switches;
    SUBCASE("without memory") {
        const RecordingViewer viewer(RecordingViewer::Memory::Missing);
        const Module module;
        CHECK(module.IsTWAINAvailable() == 1);
        CHECK(viewer.rawLines() == Lines{});
    }
    SUBCASE("later") {
        const Module module;
        const RecordingViewer viewer;
        CHECK(module.IsTWAINAvailable() == 1);
        CHECK(viewer.rawLines() == Lines{});
    }
}

// The lines of the module are all short: the writer itself is tried with a long one.
TEST_CASE("a line is cut to the memory it has") {
    const TraceSwitches switches;
    RecordingViewer viewer;
    trace::setUp();
    for (const size_t length : {900u, 1000u, 1022u, 1023u, 1024u, 3000u}) {
        CAPTURE(length);
        viewer.forget();
        const std::string text(length, 'x');
        trace::write(TraceLevel::Warning, TracePoint{"p", 7}, text.c_str());
        const std::string whole = "Warning p 7: [SM] " + text;
        REQUIRE(viewer.rawLines().size() == 1);
        CHECK(viewer.rawLines().front() == whole.substr(0, RecordingViewer::bufferSize - 1));
        CHECK(viewer.isTailUntouched());
    }
    trace::shutDown();
}

TEST_CASE("a warning never moves the nesting, whatever it says") {
    const TraceSwitches switches;
    RecordingViewer viewer;
    trace::setUp();
    trace::write(TraceLevel::Warning, TracePoint{"p", 1}, "Coming");
    trace::write(TraceLevel::Fatal, TracePoint{"p", 2}, "Leaving");
    trace::write(TraceLevel::Trace, TracePoint{"p", 3}, "Coming");
    trace::write(TraceLevel::Trace, TracePoint{"p", 4}, "Leaving");
    CHECK(viewer.rawLines() == Lines{"Warning p 1: [SM] Coming", "Fatal p 2: [SM] Leaving", "    ", "    ",
                                     "    ", "Trace p 3: [SM] Coming", "Trace p 4: [SM] Leaving"});
    trace::shutDown();
}
