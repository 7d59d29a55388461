// One call of the module as one text, for rows that state all of it: its bracket in the trace; what it asked
// of the manager, told the host and warned of, in order; what is wrong with its memory; its result and
// outputs. The text also says what the source answers: "GET ICAP_UNITS -> one UINT16 2".
#pragma once

#include <doctest.h>

#include <functional>
#include <optional>
#include <sstream>

#include "Stage.h"
#include "TextCall.h"

// Words that a row may use for a line, or for a few.
inline std::string spelledOut(const std::string& line) {
    if (line == "!refused") return "! CapNegotiate returns failure in @; STATUS";
    if (line == "!container") return "! Invalid container type in @";
    if (line == "!failure") return "! DSM_Entry returns failure in @; STATUS";
    if (line == "!parent") return "! Invalid parent window handle in @";
    if (line == "!sequence") return "! Sequence error in @; result 11";
    if (line == "!manager")
        return "! LoadLibrary fails in TScanModule::LoadTWAIN; ! TWAIN is not available in @; result -1";
    if (line == "kept") return "a block was left locked and not freed";
    if (line.rfind("unit", 0) == 0) return "GETCURRENT ICAP_UNITS" + line.substr(4);
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

// "1:0 2:1": what one side says and what becomes of it for the other.
inline std::vector<std::pair<std::string, std::string>> samplesOf(const std::string& text) {
    std::vector<std::pair<std::string, std::string>> samples;
    std::istringstream words(text);
    for (std::string from, to; std::getline(words >> std::ws, from, ':') && words >> to;)
        samples.emplace_back(from, to);
    return samples;
}

// What stands behind an arrow: a container as containerOf() reads it; "fail 16" or "check" for a return code
// of failure or TWRC_CHECKSTATUS, which may leave a container, too: "fail 6 one BOOL 1".
inline Answer answerOf(const std::string& text) {
    Answer answer;
    std::istringstream words(text);
    std::string word, container = text;
    words >> word;
    if (word == "fail") words >> answer.conditionCode;
    if (word == "fail" || word == "check") {
        answer.returnCode = word == "fail" ? TWRC_FAILURE : TWRC_CHECKSTATUS;
        container.clear();
        std::getline(words >> std::ws, container);
    }
    if (!container.empty()) answer.container = containerOf(container);
    return answer;
}

// Has the source answer what a row says, and gives the record that is due: the row's lines, which stand
// between semicolons, within the method's bracket. '@' is the method's full name, '#' the capability's.
inline Lines prepare(ScriptedManager& manager, const std::string& row, const std::string& method,
                     TW_UINT16 capability) {
    std::string record = "Coming @";
    for (const std::string& line : splitRow(row))
        if (line.rfind("state ", 0) != 0) record += "; " + spelledOut(line);
    record = filled(record + "; Leaving @", '@', "TScanModule::" + method);
    Lines lines = splitRow(filled(record, '#', operation::capabilityName(capability)));
    for (std::string& line : lines) {
        const size_t arrow = line.find(" -> ");
        if (arrow == std::string::npos) continue;
        manager.answerLine(line.substr(0, arrow), answerOf(line.substr(arrow + 4)));
        line.erase(arrow);
    }
    return lines;
}

// What a call gives: "result 0; value 3".
using Call = std::function<std::string(Module&)>;

inline std::string resultText(int result) {
    return "result " + std::to_string(result);
}

inline void checkCall(Stage& stage, const std::string& method, const Call& call, const std::string& record,
                      TW_UINT16 capability = 0) {
    CAPTURE(record);
    stage.forget();
    const Lines expected = prepare(stage.manager, record, method, capability);
    const Lines results = splitRow(call(stage.module));
    const Lines traces = stage.viewer.traces();
    REQUIRE(traces.size() >= 2);
    CHECK(Lines{traces.front()} + stage.happened() + results + Lines{traces.back()} == expected);
}

// `call` as callByText() has it, with the method's name first.
inline void checkCall(Stage& stage, const std::string& call, const std::string& record,
                      TW_UINT16 capability = 0) {
    CAPTURE(call);
    const auto byText = [&](Module& module) { return callByText(module, call); };
    checkCall(stage, call.substr(0, call.find(' ')), byText, record, capability);
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
    // In the state that the row begins with, "state 5; ...": 4 where it names none.
    Stage& forRow(const std::string& row) { return in(row.rfind("state ", 0) == 0 ? row[6] - '0' : 4); }

private:
    std::optional<StageIn> stage_;
    int state_ = 0;
};

// The same call for each row.
template <class Rows>
void checkCalls(const Rows& rows, const std::string& call, TW_UINT16 capability = 0) {
    Stages stages;
    for (const std::string& row : rows)
        checkCall(stages.forRow(row), call, row, capability);
}
