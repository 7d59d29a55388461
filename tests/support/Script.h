// Stories that also say what the manager answers: "CLOSEDS [1]" fails with condition code 1, "CLOSEDS
// [cancel]" and "CLOSEDS [check]" end with that return code.
#pragma once

#include "Story.h"

// Tells the manager, and gives the story without the answers.
inline std::string scripted(ScriptedManager& manager, const std::string& row) {
    std::string story;
    for (const std::string& line : splitRow(row)) {
        const size_t end = std::min(line.find(" ["), line.size());
        const std::string call = line.substr(0, end), code = line.substr(std::min(end + 2, line.size()));
        if (code == "cancel]" || code == "check]")
            manager.answerNext(call, returnCode(code == "check]" ? TWRC_CHECKSTATUS : TWRC_CANCEL));
        else if (!code.empty())
            manager.answerNext(call, failWith(static_cast<TW_UINT16>(std::stoi(code))));
        story += call + "; ";
    }
    return story;
}
