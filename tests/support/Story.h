// The journal of a stage against a row of the language of CallRecord.h; '@' is the method's full name.
#pragma once

#include "CallRecord.h"

inline Lines storyOf(const std::string& row, const std::string& method = "") {
    Lines lines;
    for (const std::string& line : splitRow(row))
        lines += splitRow(filled(spelledOut(line), '@', "TScanModule::" + method));
    return lines;
}

// What happened since the stage last forgot, with what is wrong with the module's memory; then it forgets.
inline void checkStory(Stage& stage, const std::string& row, const std::string& method = "") {
    CAPTURE(row);
    CHECK(journal + stage.windows.memoryComplaints() == storyOf(row, method));
    stage.forget();
}

// The Trace lines as nested calls: "OpenDS(OpenDSM() 'a note' CloseDSM())", a note without what it adds about
// its method. The whole of it has the warnings too, the tests for a manager, and the separators as "|".
inline std::string outline(const Stage& stage, bool whole = false) {
    std::string text;
    Lines open;
    for (const std::string& full : stage.viewer.lines()) {
        const bool isTrace = full.rfind("Trace: ", 0) == 0;
        if (!whole && (!isTrace || full.find("TScanModule::IsTWAIN") != std::string::npos)) continue;
        const std::string line = isTrace ? full.substr(7) : full, name = line.substr(line.find(' ') + 1);
        if (full == "    ") {
            text += "|";
        } else if (!open.empty() && line == "Leaving " + open.back()) {
            open.pop_back();
            text += ")";
        } else {
            if (!text.empty() && text.back() != '(') text += " ";
            const bool begins = line.rfind("Coming ", 0) == 0;
            const size_t in = open.empty() ? std::string::npos : line.find(" in " + open.back());
            text += begins ? name + "(" : "'" + line.substr(0, in) + "'";
            if (begins) open.push_back(name);
        }
    }
    for (size_t at; (at = text.find("TScanModule::")) != std::string::npos;)
        text.erase(at, 13);
    return text;
}
