// One call of the module as one text, for rows that state all of it: its bracket in the trace; what it asked
// of the manager, told the host and warned of, in order; what is wrong with its memory; its result and
// outputs.
#pragma once

#include <doctest.h>

#include <functional>
#include <iomanip>
#include <optional>
#include <sstream>

#include "Stage.h"

// Words that a row may use for a line, or for a few.
inline std::string spelledOut(const std::string& line) {
    if (line == "!refused") return "! CapNegotiate returns failure in @; STATUS";
    if (line == "!container") return "! Invalid container type in @";
    if (line == "!failure") return "! DSM_Entry returns failure in @; STATUS";
    if (line == "!parent") return "! Invalid parent window handle in @";
    if (line == "!sequence") return "! Sequence error in @; result 11";
    if (line == "!manager")
        return "! LoadLibrary fails in TScanModule::LoadTWAIN; ! TWAIN is not available in @; result -1";
    if (line == "unit") return "GETCURRENT ICAP_UNITS";
    return line;
}

inline Lines splitRow(const std::string& row) {
    Lines lines;
    std::istringstream rest(row);
    for (std::string line; std::getline(rest >> std::ws, line, ';');)
        lines.push_back(line);
    return lines;
}

// The text with each of a mark replaced.
inline std::string filled(std::string text, char mark, const std::string& words) {
    for (size_t at = 0; (at = text.find(mark, at)) != std::string::npos; at += words.size())
        text.replace(at, 1, words);
    return text;
}

// The lines of a row, which stand between semicolons; '@' is the method's full name, '#' the capability's.
inline Lines expectedRecord(const std::string& row, const std::string& method, TW_UINT16 capability) {
    std::string record = "Coming @";
    for (const std::string& line : splitRow(row))
        record += "; " + spelledOut(line);
    record = filled(record + "; Leaving @", '@', "TScanModule::" + method);
    return splitRow(filled(record, '#', operation::capabilityName(capability)));
}

// `call` gives its result and outputs as a row has them.
inline void checkCall(Stage& stage, const std::string& row, const std::string& method,
                      const std::function<std::string()>& call, TW_UINT16 capability = 0) {
    CAPTURE(row);
    stage.forget();
    const Lines results = splitRow(call());
    const Lines traces = stage.viewer.traces();
    REQUIRE(traces.size() >= 2);
    CHECK(Lines{traces.front()} + stage.happened() + results + Lines{traces.back()} ==
          expectedRecord(row, method, capability));
}

template <class... Value>
std::string resultText(int result, Value... value) {
    std::ostringstream text;
    text << "result " << result << (sizeof...(value) > 0 ? "; value" : "") << std::setprecision(9);
    ((text << " " << value), ...);
    return text.str();
}

// Calls a getter, whose outputs may hold something before; what is behind the last has to stay.
template <class Value>
std::function<std::string(Module&)> reader(int (WINAPI* Module::*get)(Value*), Value before = 777) {
    return [=](Module& module) {
        Value values[] = {before, 555};
        const int result = (module.*get)(values);
        return values[1] == 555 ? resultText(result, values[0]) : "wrote past its output";
    };
}
template <class Value>
std::function<std::string(Module&)> reader(int (WINAPI* Module::*get)(Value*, Value*, Value*)) {
    return [=](Module& module) {
        Value v[] = {7, 555, 8, 555, 9, 555};
        const int result = (module.*get)(v, v + 2, v + 4);
        const bool isKept = v[1] == 555 && v[3] == 555 && v[5] == 555;
        return isKept ? resultText(result, v[0], v[2], v[4]) : "wrote past its output";
    };
}

// A stage in the TWAIN state that a row starts from: 1 (no manager until its end), 2, 4 or 5.
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

// A stage for each row in turn: the same one, with nothing scripted, as long as the state fits.
class Stages {
public:
    Stage& in(int state) {
        if (!stage_ || state != state_) stage_.emplace(state);
        state_ = state;
        Stage& stage = **stage_;
        stage.manager.forgetAnswers();
        stage.windows.forgetMemory();
        return stage;
    }

private:
    std::optional<StageIn> stage_;
    int state_ = 0;
};

// A row of a getter: what the source says to MSG_GETCURRENT and MSG_GET.
struct Reading {
    int state;
    Answer current, get;
    std::string record;
};

inline void checkReading(Stage& stage, const Reading& row, const std::function<std::string(Module&)>& read,
                         const std::string& method, TW_UINT16 capability) {
    stage.manager.answer(operation::getCurrent(capability), row.current);
    stage.manager.answer(operation::get(capability), row.get);
    checkCall(
        stage, row.record, method, [&] { return read(stage.module); }, capability);
}

template <class Rows>
void checkReadings(const Rows& rows, const std::function<std::string(Module&)>& read,
                   const std::string& method, TW_UINT16 capability) {
    Stages stages;
    for (const Reading& row : rows)
        checkReading(stages.in(row.state), row, read, method, capability);
}
