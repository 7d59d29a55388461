// One call of the module as one list of lines, for rows that state all of it:
// its bracket in the trace, what it asked of the manager, its warnings, what is
// wrong with its memory, and its result and outputs.
#pragma once

#include <doctest.h>

#include <functional>
#include <sstream>

#include "Stage.h"

// Words that a row may use for a line, or for a few.
inline std::string spelledOut(const std::string& line) {
    if (line == "!refused") return "! CapNegotiate returns failure in @";
    if (line == "!container") return "! Invalid container type in @";
    if (line == "!failure") return "! DSM_Entry returns failure in @";
    if (line == "!parent") return "! Invalid parent window handle in @";
    if (line == "!sequence") return "! Sequence error in @; result 11";
    if (line == "!manager")
        return "! LoadLibrary fails in TScanModule::LoadTWAIN; ! TWAIN is not available in @; result -1";
    return line;
}

inline Lines splitRow(const std::string& row) {
    Lines lines;
    std::istringstream rest(row);
    for (std::string line; std::getline(rest >> std::ws, line, ';');)
        lines.push_back(line);
    return lines;
}

// The lines of a row, which stand between semicolons; '@' is the method's full
// name, '#' the capability's.
inline Lines expectedRecord(const std::string& row, const std::string& method, TW_UINT16 capability) {
    Lines lines = {"Coming @"};
    for (const std::string& line : splitRow(row))
        lines += splitRow(spelledOut(line));
    lines.push_back("Leaving @");
    for (std::string& line : lines) {
        if (const size_t at = line.find('@'); at != std::string::npos)
            line.replace(at, 1, "TScanModule::" + method);
        if (const size_t at = line.find('#'); at != std::string::npos)
            line.replace(at, 1, operation::capabilityName(capability));
    }
    return lines;
}

// `call` gives its result and outputs as a row has them.
inline void checkCall(Stage& stage, const std::string& row, const std::string& method,
                      const std::function<std::string()>& call, TW_UINT16 capability = 0) {
    CAPTURE(row);
    stage.forget();
    const Lines results = splitRow(call());
    const Lines traces = stage.viewer.traces();
    REQUIRE(traces.size() >= 2);
    Lines record = Lines{traces.front()} + stage.manager.calls();
    for (const std::string& warning : stage.viewer.warnings())
        record.push_back("! " + warning);
    record += stage.windows.memoryComplaints() + results + Lines{traces.back()};
    CHECK(record == expectedRecord(row, method, capability));
}

template <class... Value>
std::string resultText(int result, Value... value) {
    std::ostringstream text;
    text << "result " << result;
    ((text << "; value " << value), ...);
    return text.str();
}

// Calls a getter, whose output may hold something before; the one behind it has to stay.
template <class Value>
std::function<std::string(Module&)> reader(int (WINAPI* Module::*get)(Value*), Value before = 777) {
    return [=](Module& module) {
        Value values[] = {before, 555};
        const int result = (module.*get)(values);
        return values[1] == 555 ? resultText(result, values[0]) : "wrote past its output";
    };
}

// A stage in the TWAIN state that a row starts from: 1 (no manager until its
// end), 2, 4 or 5.
class StageIn {
public:
    explicit StageIn(int state)
        : manager_(state == 1 ? ManagerFile::Kind::Missing : ManagerFile::Kind::Scripted) {
        stage_.bringTo(state == 1 ? 2 : state);
    }
    Stage& operator*() { return stage_; }
    Stage* operator->() { return &stage_; }

private:
    ManagerFile manager_;
    Stage stage_;
};

// A row of a getter: what the source says to MSG_GETCURRENT and MSG_GET.
struct Reading {
    int state;
    Answer current, get;
    std::string record;
};

inline void checkReading(const Reading& row, const std::function<std::string(Module&)>& read,
                         const std::string& method, TW_UINT16 capability) {
    StageIn stage(row.state);
    stage->manager.answer(operation::getCurrent(capability), row.current);
    stage->manager.answer(operation::get(capability), row.get);
    checkCall(
        *stage, row.record, method, [&] { return read(stage->module); }, capability);
}
