// The choice of a source: what a manager's list gives, and what the module then opens.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "CallRecord.h"

using Sources = std::vector<TW_IDENTITY>;

inline TW_IDENTITY source(const std::string& name, const std::string& maker = "KAVRO") {
    TW_IDENTITY identity = {};
    identity.Id = 7;
    name.copy(identity.ProductName, sizeof identity.ProductName);
    maker.copy(identity.Manufacturer, sizeof identity.Manufacturer);
    return identity;
}

inline void list(ScriptedManager& manager, const Sources& sources) {
    for (size_t i = 0; i < sources.size(); ++i)
        manager.answerNext(i == 0 ? operation::getFirst : operation::getNext, copy(sources[i]));
}

inline std::string chosenName(Module& module) {
    char name[34] = "untouched";
    module.GetDSProductName(name);
    return std::string("chosen ") + name;
}

// The record of a call, completed with the choice that it left. Asked afterwards, as asking leaves a trace.
inline Lines withChoice(Stage& stage, Lines record) {
    record.insert(record.end() - 1, chosenName(stage.module));
    return record;
}

// How the next session opens its source, which tells whether one was chosen.
inline Lines openingCalls(Stage& stage) {
    stage.manager.forgetCalls();
    stage.module.OpenDS(stage.host.window(), nullptr);
    Lines calls = stage.manager.calls();
    calls.resize(std::find(calls.begin(), calls.end(), "OPENDS") - calls.begin());
    return calls;
}

inline const Lines nothing;
inline const Lines opensChosen = {"OPENDSM"};
inline const Lines opensDefault = {"OPENDSM", "GETDEFAULT"};
inline const std::string openFailure = "! DSM_Entry returns failure in TScanModule::OpenDSM";
inline const std::string openRefused = "! Sequence error in TScanModule::OpenDSM";

// A list that never ends, of one answer; cut off in the end, so that a test fails instead of hanging.
class EndlessList {
public:
    EndlessList(ScriptedManager& manager, Answer answer) {
        const auto act = answer.act;
        answer.act = [this, &manager, act](TW_MEMREF data) {
            if (act) act(data);
            if (++answers_ == limit) manager.answer(operation::getNext, returnCode(TWRC_ENDOFLIST));
        };
        manager.answer(operation::getNext, answer);
    }
    EndlessList(const EndlessList&) = delete;
    EndlessList& operator=(const EndlessList&) = delete;

    bool wasLeft() const { return answers_ > 0 && answers_ < limit; }

private:
    static constexpr int limit = 10000;
    int answers_ = 0;
};
