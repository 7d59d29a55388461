// Stories that also say how calls of the manager end: "CLOSEDS [1]" fails with condition code 1, "CLOSEDS
// [cancel]" and "CLOSEDS [check]" with that return code. Among equal calls these come first.
#pragma once

#include "Story.h"

// Tells the manager, and gives the story without the ends.
inline std::string scripted(ScriptedManager& manager, const std::string& row) {
    const std::map<std::string, TW_UINT16> codes = {{"cancel]", TWRC_CANCEL}, {"check]", TWRC_CHECKSTATUS}};
    std::string story;
    for (const std::string& line : splitRow(row)) {
        const size_t at = line.find(" [");
        const std::string call = line.substr(0, at), end = at < line.size() ? line.substr(at + 2) : "";
        const auto code = codes.find(end);
        if (code != codes.end())
            manager.endNext(call, returnCode(code->second));
        else if (!end.empty())
            manager.endNext(call, failWith(static_cast<TW_UINT16>(std::stoi(end))));
        story += call + "; ";
    }
    return story;
}
