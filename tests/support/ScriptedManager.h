// The TWAIN source manager of a test: records every operation of the module as a line of text and answers as
// the test says. Unscripted, it is a manager with one plain source: it opens, enables and closes, accepts
// every MSG_SET, knows no capability and has no image. useSource() puts another source in its place.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "ContainerImage.h"
#include "Lines.h"
#include "Operation.h"

// What a source's own entry takes.
using SourceEntry =
    std::function<TW_UINT16(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data)>;

// What one operation gets. A failure's condition code waits for the next status request.
struct Answer {
    TW_UINT16 returnCode = TWRC_SUCCESS;
    TW_UINT16 conditionCode = TWCC_SUCCESS;
    std::optional<ContainerImage> container;
    std::function<void(TW_MEMREF)> act;  // reads or fills the operation's record
};

Answer succeed();
Answer failWith(TW_UINT16 conditionCode);
Answer returnCode(TW_UINT16 code);
Answer give(ContainerImage container);
// Ends with this code after act has filled a record of type Record.
template <class Record>
Answer fill(std::function<void(Record&)> act, TW_UINT16 code = TWRC_SUCCESS) {
    return {code, TWCC_SUCCESS, {}, [act](TW_MEMREF data) { act(*static_cast<Record*>(data)); }};
}
template <class Record>
Answer copy(const Record& record, TW_UINT16 code = TWRC_SUCCESS) {
    return fill<Record>([record](Record& target) { target = record; }, code);
}
// So many images remain.
Answer pending(TW_UINT16 count);

class ScriptedManager {
public:
    ScriptedManager();
    ~ScriptedManager();
    ScriptedManager(const ScriptedManager&) = delete;
    ScriptedManager& operator=(const ScriptedManager&) = delete;

    // A standing answer; answers of answerNext() come first, in their order, one per call.
    void answer(const Operation& operation, Answer answer) { standing_[operation] = std::move(answer); }
    void answerNext(const Operation& operation, Answer answer) {
        queued_[operation].push_back(std::move(answer));
    }
    // To the operation with this line in the record, ahead of the others.
    void answerLine(const std::string& line, Answer answer) { byLine_[line] = std::move(answer); }
    // The next call that is recorded with this text does what was said of it, but ends like this.
    void endNext(const std::string& text, Answer end) { ends_[text].push_back(std::move(end)); }
    void forgetAnswers();
    // Whatever isn't scripted goes to this source from now on.
    void useSource(SourceEntry source) { source_ = std::move(source); }

    // One text for each call; it names a parent window that isn't the usual one.
    Lines calls() const { return calls_; }
    void forgetCalls() { calls_.clear(); }

    // The TWAIN state that the module has brought manager and source into: 2 to 5.
    int state() const { return state_; }
    const TW_IDENTITY& application() const { return application_; }
    TW_IDENTITY& defaultSource() { return defaultSource_; }
    const TW_USERINTERFACE& userInterface() const { return userInterface_; }

    TW_UINT16 call(pTW_IDENTITY origin, pTW_IDENTITY destination, const Operation& operation, TW_MEMREF data);

private:
    std::string record(pTW_IDENTITY origin, pTW_IDENTITY destination, const Operation& operation,
                       TW_MEMREF data);
    std::optional<Answer> scripted(const Operation& operation, const std::string& text);
    TW_UINT16 apply(const Answer& answer, TW_MEMREF data);
    TW_UINT16 answerPlainly(const Operation& operation, TW_MEMREF data);
    TW_UINT16 askSource(const Operation& operation, TW_MEMREF data);
    TW_UINT16 fail(TW_UINT16 conditionCode);

    Lines calls_;
    std::map<std::string, Answer> byLine_;
    std::map<Operation, Answer> standing_;
    std::map<Operation, std::deque<Answer>> queued_;
    std::map<std::string, std::deque<Answer>> ends_;
    int state_ = 2;
    TW_UINT16 conditionCode_ = TWCC_SUCCESS;
    TW_IDENTITY application_{};
    TW_IDENTITY defaultSource_ = {
        0, {}, 1, 5, DG_CONTROL | DG_IMAGE, "KAVRO", "Plain Family", "Plain Source"};
    TW_USERINTERFACE userInterface_{};
    SourceEntry source_;
    bool sourceHasStatus_ = false;  // the last failure was the other source's own
};
