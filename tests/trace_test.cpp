// The diagnostic trace as a viewer sees it, and what it costs where there is none.
#include <memory>
#include <regex>

#include "Story.h"
#include "base/Trace.h"

namespace {

// Path and number of the first line with this text.
std::pair<std::string, int> placeOf(const RecordingViewer& viewer, const std::string& text) {
    std::istringstream line(viewer.rawLines().with(": [SM] " + text).at(0));
    std::string level, path;
    int number = 0;
    line >> level >> path >> number;
    return {path, number};
}

}  // namespace

TEST_CASE("a line names level, path, number and text: its method's place, also where methods share code") {
    Stage stage;
    stage.module.SetADFEnable(TRUE);
    stage.module.SetAutoFeedEnable(TRUE);
    stage.module.SetPixelType(SM_PIXEL_BW);
    const std::regex form("(Trace|Warning) sm/[A-Za-z/]+\\.(cpp|h) [0-9]+: \\[SM\\] .*|    ");
    for (const std::string& line : stage.viewer.rawLines())
        CHECK_MESSAGE(std::regex_match(line, form), line);
    std::set<std::string> places;
    for (const std::string in : {"SetADFEnable", "SetAutoFeedEnable", "SetPixelType"}) {
        const auto [refusalFile, refusalLine] = placeOf(stage.viewer, "Sequence error in TScanModule::" + in);
        const auto [entryFile, entryLine] = placeOf(stage.viewer, "Coming TScanModule::" + in);
        CHECK(refusalFile == entryFile);
        CHECK(std::abs(refusalLine - entryLine) < 20);
        places.insert(refusalFile + std::to_string(refusalLine));
    }
    CHECK(places.size() == 3);
}

TEST_CASE("each call from the host is set apart, nested ones are not") {
    Stage stage;
    stage.forget();
    stage.module.SetADFEnable(TRUE);
    stage.module.CloseDS();
    const std::string available =
        "IsTWAINAvailable(IsTWAINLoaded('IsTWAINLoaded returns TRUE') "
        "IsTWAINLoaded('IsTWAINLoaded returns TRUE') 'IsTWAINAvailable returns TRUE')";
    CHECK(outline(stage, true) == "||| SetADFEnable(" + available +
                                      " 'Warning: Sequence error')||| CloseDS(" + available +
                                      " 'Warning: Sequence error')");

    // A Leaving whose Coming was switched off brings the nesting below zero: the next call counts as nested,
    // and what it calls as the outermost.
    UINT& traceSwitch = (*stage.windows.traceSwitches)["Trace"];
    traceSwitch = 0;
    stage.forget();
    stage.manager.answer(operation::get(ICAP_UNITS), fill<TW_CAPABILITY>([&](auto&) { traceSwitch = 1; }));
    TW_CAPABILITY capability = {ICAP_UNITS, TWON_DONTCARE16, nullptr};
    stage.module.CapNegotiate(MSG_GET, &capability);
    stage.module.IsTWAINAvailable();
    const std::string below = "'Leaving CapNegotiate' IsTWAINAvailable(||| IsTWAINLoaded(";
    CHECK(outline(stage, true).substr(0, below.size()) == below);
}

TEST_CASE("the switch file is made with both switches on, and left alone once it has a trace switch") {
    const std::pair<std::optional<std::string>, std::string> rows[] = {
        // What is there, and both switches afterwards.
        {std::nullopt, "11"},
        {"[Other]\r\nTrace=0\r\n", "11"},
        {"[Debug]\r\nWarning=0\r\n", "11"},
        {"[Debug]\r\nTrace=0\r\nWarning=0\r\n", "00"},
        {"[Debug]\r\nTrace=1\r\n", "1-"},
    };
    for (const auto& [before, after] : rows) {
        TraceSwitches switches;
        switches.set(before);
        const Module module;
        std::string found;
        for (const char* key : {"Trace", "Warning"}) {
            char value[32] = "";
            GetPrivateProfileStringA("Debug", key, "-", value, sizeof value, switches.path().c_str());
            found += value;
        }
        CHECK(found == after);
    }
}

TEST_CASE("without a viewer and its memory at the start no trace point looks at a file or sends a line") {
    const TraceSwitches switches;
    for (const bool hasWindow : {false, true}) {
        const auto early =
            hasWindow ? std::make_unique<RecordingViewer>(RecordingViewer::Memory::Missing) : nullptr;
        ModuleCalls windows;
        ScriptedManager manager;
        const Module module;
        CHECK(windows.profileCalls ==
              Lines{"open " + switches.path(), "read Debug Trace of " + switches.path()});
        windows.profileCalls.clear();
        const RecordingViewer late;
        CHECK(module.IsTWAINAvailable() == 1);
        CHECK(module.CloseDS() == 11);
        CHECK(windows.profileCalls == Lines{});
        CHECK(late.rawLines() == Lines{});
        if (early) CHECK(early->rawLines() == Lines{});
    }
}

// The lines of the module are all short: the writer itself is tried with a long one.
TEST_CASE("a line is cut to the memory it has, a warning never moves the nesting") {
    TraceSwitches switches;
    RecordingViewer viewer;
    trace::setUp();
    const std::string start = "Warning p 7: [SM] ";
    const size_t fitting = RecordingViewer::bufferSize - 1 - start.size();
    for (const size_t length : {fitting, fitting + 1, size_t{3000}}) {
        viewer.forget();
        trace::write(TraceLevel::Warning, TracePoint{"p", 7}, std::string(length, 'x').c_str());
        CHECK(viewer.rawLines() == Lines{start + std::string(fitting, 'x')});
        CHECK(viewer.isTailUntouched());
    }
    viewer.forget();
    trace::write(TraceLevel::Warning, TracePoint{"p", 1}, "Coming");
    trace::write(TraceLevel::Fatal, TracePoint{"p", 2}, "Leaving");
    trace::write(TraceLevel::Trace, TracePoint{"p", 3}, "Coming");
    trace::write(TraceLevel::Trace, TracePoint{"p", 4}, "Leaving");
    CHECK(viewer.rawLines() == Lines{"Warning p 1: [SM] Coming", "Fatal p 2: [SM] Leaving", "    ", "    ",
                                     "    ", "Trace p 3: [SM] Coming", "Trace p 4: [SM] Leaving"});
    // The switches of the levels work at once; fatal lines go with the warnings.
    const std::pair<std::string, Lines> rows[] = {
        {"Trace=0\r\nWarning=7\r\n", {"Warning: text", "Fatal: text"}},
        {"Trace=1\r\nWarning=0\r\n", {"Trace: text"}},
        {"", {}},
    };
    for (const auto& [switchedOn, lines] : rows) {
        switches.set("[Debug]\r\n" + switchedOn);
        viewer.forget();
        for (const TraceLevel level : {TraceLevel::Trace, TraceLevel::Warning, TraceLevel::Fatal})
            trace::write(level, TracePoint{"p", 5}, "text");
        CHECK(viewer.lines() == lines);
    }
    trace::shutDown();
}
