// One call of the module as one list of lines, for rows that state all of it: its bracket in the trace, what
// it asked of the manager, its warnings, what is wrong with its memory, and what the test says of the result.
#pragma once

#include <doctest.h>

#include <functional>
#include <optional>
#include <sstream>

#include "Stage.h"

// Words that a row may use for a line, or for a few.
inline std::string spelledOut(const std::string& line) {
    if (line == "!refused") return "! CapNegotiate returns failure in @";
    if (line == "!container") return "! Invalid container type in @";
    if (line == "!failure") return "! DSM_Entry returns failure in @";
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

// The lines of a row, which stand between semicolons; '@' is the method's full name, '#' the capability's.
inline Lines expectedRecord(const std::string& row, const std::string& method, TW_UINT16 capability = 0) {
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

// What happened. `call` says its result and outputs as a row does.
inline Lines recordOf(Stage& stage, const std::function<std::string()>& call) {
    stage.forget();
    const Lines results = splitRow(call());
    const Lines traces = stage.viewer.traces();
    Lines lines = {traces.empty() ? "no trace" : traces.front()};
    lines += stage.manager.calls();
    for (const std::string& warning : stage.viewer.warnings())
        lines.push_back("! " + warning);
    lines += stage.windows.memoryComplaints();
    lines += results;
    lines.push_back(traces.empty() ? "no trace" : traces.back());
    return lines;
}

inline std::string resultText(int result) {
    return "result " + std::to_string(result);
}
// Without a value where the row leaves it alone.
template <class Value>
std::string resultText(int result, Value value) {
    std::ostringstream text;
    text << "result " << result << "; value " << value;
    return text.str();
}

// A stage in the TWAIN state that a row starts from: 1 (no manager until its end), 2, 4 or 5.
class StageIn {
public:
    explicit StageIn(int state) {
        if (state == 1) missing_.emplace(ManagerFile::Kind::Missing);
        stage_.emplace();
        stage_->bringTo(state == 1 ? 2 : state);
    }
    Stage& operator*() { return *stage_; }
    Stage* operator->() { return &*stage_; }

private:
    std::optional<ManagerFile> missing_;
    std::optional<Stage> stage_;
};
