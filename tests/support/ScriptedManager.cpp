#include "ScriptedManager.h"

#include <utility>

#include "ModuleCalls.h"
#include "TestDsmEntry.h"

namespace {

ScriptedManager* current = nullptr;

// What a successful operation does to the TWAIN state: from, to.
const std::map<Operation, std::pair<int, int>> moves = {
    {operation::openDsm, {2, 3}}, {operation::closeDsm, {3, 2}}, {operation::openDs, {3, 4}},
    {operation::closeDs, {4, 3}}, {operation::enableDs, {4, 5}}, {operation::disableDs, {5, 4}},
};

std::optional<Answer> takeFirst(std::deque<Answer>& queue) {
    if (queue.empty()) return std::nullopt;
    const Answer first = queue.front();
    queue.pop_front();
    return first;
}

// A window with a title is another than the one that is usual in the test.
std::string windowText(HWND window) {
    char title[64] = "";
    if (window == GetDesktopWindow()) return " of the desktop";
    if (!IsWindow(window)) return " of no window";
    return GetWindowTextA(window, title, sizeof title) != 0 ? " of " + std::string(title) : "";
}

}  // namespace

extern "C" __declspec(dllexport) TW_UINT16
    __cdecl TestDsmEntry(pTW_IDENTITY origin, pTW_IDENTITY destination, TW_UINT32 group,
                         TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) {
    if (current == nullptr) return TWRC_FAILURE;
    return current->call(origin, destination, operation::of(group, argumentType, message, data), data);
}

Answer succeed() {
    return {};
}
Answer failWith(TW_UINT16 conditionCode) {
    return {TWRC_FAILURE, conditionCode, {}, {}};
}
Answer returnCode(TW_UINT16 code) {
    return {code, TWCC_SUCCESS, {}, {}};
}
Answer give(ContainerImage container) {
    return {TWRC_SUCCESS, TWCC_SUCCESS, std::move(container), {}};
}

Answer pending(TW_UINT16 count) {
    return fill<TW_PENDINGXFERS>([count](TW_PENDINGXFERS& transfers) { transfers.Count = count; });
}

ScriptedManager::ScriptedManager() {
    current = this;
}

ScriptedManager::~ScriptedManager() {
    current = nullptr;
}

void ScriptedManager::forgetAnswers() {
    byLine_.clear();
    standing_.clear();
    queued_.clear();
}

TW_UINT16 ScriptedManager::call(pTW_IDENTITY origin, pTW_IDENTITY destination, const Operation& operation,
                                TW_MEMREF data) {
    const std::string text = record(origin, destination, operation, data);
    const auto move = moves.find(operation);
    TW_UINT16 result = TWRC_SUCCESS;
    if (const auto answer = scripted(operation, text))
        result = apply(*answer, data);
    else if (move != moves.end() && move->second.first != state_)
        result = fail(TWCC_SEQERROR);
    else
        result = answerPlainly(operation, data);
    const bool isDone = result == TWRC_SUCCESS || result == TWRC_CHECKSTATUS;
    if (isDone && move != moves.end()) state_ = move->second.second;
    return result;
}

// A call with the wrong ends is worth seeing in the record: the manager's own business goes to no source, the
// rest to the module's identity of the source.
std::string ScriptedManager::record(pTW_IDENTITY origin, pTW_IDENTITY destination, const Operation& operation,
                                    TW_MEMREF data) {
    std::string text = operation::text(operation, data);
    const bool isOpening = operation.argumentType == DAT_PARENT;
    const bool isManagers = isOpening || operation.argumentType == DAT_IDENTITY;
    if (origin == nullptr || isManagers != (destination == nullptr)) text += " with wrong ends";
    if (origin != nullptr) application_ = *origin;
    if (isOpening) text += windowText(*static_cast<HWND*>(data));
    if (operation.argumentType == DAT_USERINTERFACE) {
        userInterface_ = *static_cast<TW_USERINTERFACE*>(data);
        text += windowText(static_cast<HWND>(userInterface_.hParent));
    }
    calls_.push_back(text);
    journal.push_back(text);
    return text;
}

std::optional<Answer> ScriptedManager::scripted(const Operation& operation, const std::string& text) {
    if (const auto said = byLine_.find(text); said != byLine_.end()) return said->second;
    const auto standing = standing_.find(operation);
    std::optional<Answer> answer = takeFirst(queued_[operation]);
    if (!answer && standing != standing_.end()) answer = standing->second;
    std::optional<Answer> end = takeFirst(ends_[text]);
    if (end && answer) end->act = answer->act;
    return end ? end : answer;
}

TW_UINT16 ScriptedManager::apply(const Answer& answer, TW_MEMREF data) {
    if (answer.container) {
        auto& capability = *static_cast<TW_CAPABILITY*>(data);
        capability.ConType = answer.container->conType;
        capability.hContainer = answer.container->allocate();
        ModuleCalls::adopt(capability.hContainer);
    }
    if (answer.act) answer.act(data);
    return answer.returnCode == TWRC_FAILURE ? fail(answer.conditionCode) : answer.returnCode;
}

TW_UINT16 ScriptedManager::answerPlainly(const Operation& operation, TW_MEMREF data) {
    const bool isMove = moves.count(operation) != 0;
    switch (operation.argumentType) {
        case DAT_STATUS:
            if (sourceHasStatus_) break;
            *static_cast<TW_STATUS*>(data) = {std::exchange(conditionCode_, TW_UINT16{TWCC_SUCCESS}), 0};
            return TWRC_SUCCESS;
        case DAT_PARENT:
            return TWRC_SUCCESS;
        case DAT_IDENTITY:
            if (isMove) break;
            if (operation.message == MSG_GETNEXT) return TWRC_ENDOFLIST;
            *static_cast<pTW_IDENTITY>(data) = defaultSource_;
            return TWRC_SUCCESS;
    }
    if (source_) return askSource(operation, data);
    if (isMove || operation.argumentType == DAT_PENDINGXFERS) return TWRC_SUCCESS;
    if (operation.argumentType == DAT_EVENT) return TWRC_NOTDSEVENT;
    if (operation.argumentType != DAT_CAPABILITY) return fail(TWCC_SEQERROR);
    return operation.message == MSG_SET ? +TWRC_SUCCESS : fail(TWCC_BADCAP);
}

TW_UINT16 ScriptedManager::askSource(const Operation& operation, TW_MEMREF data) {
    const TW_UINT16 result = source_(operation.group, operation.argumentType, operation.message, data);
    sourceHasStatus_ = result == TWRC_FAILURE;
    const bool getsContainer = operation.argumentType == DAT_CAPABILITY && operation.message != MSG_SET;
    if (getsContainer && result == TWRC_SUCCESS)
        ModuleCalls::adopt(static_cast<TW_CAPABILITY*>(data)->hContainer);
    if (operation.argumentType == DAT_IMAGENATIVEXFER && result == TWRC_XFERDONE)
        ModuleCalls::adopt(*static_cast<HGLOBAL*>(data));
    return result;
}

TW_UINT16 ScriptedManager::fail(TW_UINT16 conditionCode) {
    conditionCode_ = conditionCode;
    sourceHasStatus_ = false;
    return TWRC_FAILURE;
}
