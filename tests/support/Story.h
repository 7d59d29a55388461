// The journal of a stage against a row of the language of CallRecord.h; '@' is the method's full name.
#pragma once

#include "CallRecord.h"
#include "Journal.h"

inline Lines storyOf(const std::string& row, const std::string& method = "") {
    Lines lines;
    for (const std::string& line : splitRow(row))
        lines += splitRow(spelledOut(line));
    for (std::string& line : lines)
        if (const size_t at = line.find('@'); at != std::string::npos)
            line.replace(at, 1, "TScanModule::" + method);
    return lines;
}

// What happened since the stage last forgot, with what is wrong with the module's memory; then it forgets.
inline void checkStory(Stage& stage, const std::string& row, const std::string& method = "") {
    CAPTURE(row);
    CHECK(journal() + stage.windows.memoryComplaints() == storyOf(row, method));
    stage.forget();
}

// The Trace lines as nested calls: "OpenDS(OpenDSM() 'a note' CloseDSM())", without the tests for a manager
// and without what a note adds about its method.
inline std::string outline(const Stage& stage) {
    std::string text;
    Lines open;
    for (std::string line : stage.viewer.traces()) {
        if (line.find("TScanModule::IsTWAIN") != std::string::npos) continue;
        const std::string space = text.empty() || text.back() == '(' ? "" : " ";
        const std::string name = line.substr(line.find(' ') + 1);
        if (line.rfind("Coming ", 0) == 0) {
            open.push_back(name);
            text += space + name + "(";
        } else if (!open.empty() && line == "Leaving " + open.back()) {
            open.pop_back();
            text += ")";
        } else {
            const size_t in = open.empty() ? std::string::npos : line.find(" in " + open.back());
            text += space + "'" + line.substr(0, in) + "'";
        }
    }
    for (size_t at; (at = text.find("TScanModule::")) != std::string::npos;)
        text.erase(at, 13);
    return text;
}
