// One call of the module as one list of lines, for rows that state all of it: its bracket in the trace, what
// it asked of the manager, its warnings, what is wrong with its memory, and what the test says of the result.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "Stage.h"

// The session that a row starts in.
enum class Session { NoManager, Closed, Open, Enabled };

class CallRecord {
public:
    // Lines of a row may hold '@' for the method's full name and '#' for the capability's.
    CallRecord(std::string method, TW_UINT16 capability = 0)
        : method_("TScanModule::" + method), capability_(operation::capabilityName(capability)) {}

    // What the row expects, complete: warnings start with "! ".
    Lines expected(const Lines& row) const {
        Lines lines = {"Coming " + method_};
        for (const std::string& line : row)
            lines.push_back(filled(line));
        lines.push_back("Leaving " + method_);
        return lines;
    }

    // What happened. `call` returns lines of its own for the result and the outputs.
    static Lines of(Stage& stage, const std::function<Lines()>& call) {
        stage.forget();
        const Lines results = call();
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

private:
    std::string filled(const std::string& line) const {
        std::string text;
        for (char letter : line) {
            if (letter == '@') {
                text += method_;
            } else if (letter == '#') {
                text += capability_;
            } else {
                text += letter;
            }
        }
        return text;
    }

    std::string method_;
    std::string capability_;
};

// A stage whose session is where the row wants it; without a manager until its end if need be.
class SessionStage {
public:
    explicit SessionStage(Session session) {
        if (session == Session::NoManager) missing_.emplace(ManagerFile::Kind::Missing);
        stage_.emplace();
        stage_->bringTo(session == Session::Open ? 4 : session == Session::Enabled ? 5 : 2);
    }
    Stage& operator*() { return *stage_; }
    Stage* operator->() { return &*stage_; }

private:
    std::optional<ManagerFile> missing_;
    std::optional<Stage> stage_;
};

inline std::string resultLine(int result) {
    return "result " + std::to_string(result);
}

// What each method that needs a manager says without one.
inline const Lines withoutManager = {"! LoadLibrary fails in TScanModule::LoadTWAIN",
                                     "! TWAIN is not available in @", "result -1"};
inline const Lines withoutSource = {"! Sequence error in @", "result 11"};
