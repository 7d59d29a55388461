#include "ScriptedManager.h"

#include <cstring>
#include <utility>

#include "ModuleCalls.h"
#include "TestDsmEntry.h"

namespace {

ScriptedManager* current = nullptr;

// What a successful operation does to the TWAIN state.
struct Move {
    int from;
    int to;
};

const std::map<Operation, Move> moves = {
    {operation::openDsm, {2, 3}}, {operation::closeDsm, {3, 2}}, {operation::openDs, {3, 4}},
    {operation::closeDs, {4, 3}}, {operation::enableDs, {4, 5}}, {operation::disableDs, {5, 4}},
};

const Move* moveOf(const Operation& operation) {
    const auto found = moves.find(operation);
    return found != moves.end() ? &found->second : nullptr;
}

// A call with the wrong ends is worth seeing in the record: the manager's own business goes to no source, the
// rest to the module's identity of the source.
std::string endsText(const Operation& operation, pTW_IDENTITY origin, pTW_IDENTITY destination) {
    const bool managersOwn = operation.argumentType == DAT_PARENT || operation.argumentType == DAT_IDENTITY;
    std::string text;
    if (origin == nullptr) text += " without an application";
    if (managersOwn && destination != nullptr) text += " to a source";
    if (!managersOwn && destination == nullptr) text += " to no source";
    return text;
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
    defaultSource_.ProtocolMajor = 1;
    defaultSource_.ProtocolMinor = 5;
    defaultSource_.SupportedGroups = DG_CONTROL | DG_IMAGE;
    std::strcpy(defaultSource_.Manufacturer, "KAVRO");
    std::strcpy(defaultSource_.ProductFamily, "Plain Family");
    std::strcpy(defaultSource_.ProductName, "Plain Source");
}

ScriptedManager::~ScriptedManager() {
    current = nullptr;
}

void ScriptedManager::answer(const Operation& operation, Answer answer) {
    standing_[operation] = std::move(answer);
}

void ScriptedManager::answerNext(const Operation& operation, Answer answer) {
    queued_[operation].push_back(std::move(answer));
}

void ScriptedManager::forgetAnswers() {
    byLine_.clear();
    standing_.clear();
    queued_.clear();
}

Lines ScriptedManager::takeCalls() {
    return std::exchange(calls_, {});
}

TW_UINT16 ScriptedManager::call(pTW_IDENTITY origin, pTW_IDENTITY destination, const Operation& operation,
                                TW_MEMREF data) {
    calls_.push_back(operation::text(operation, data) + endsText(operation, origin, destination));
    journal.push_back(calls_.back());
    remember(operation, origin, data);
    const auto said = byLine_.find(calls_.back());
    if (said != byLine_.end()) return apply(said->second, operation, data);
    Answer answer;
    if (scripted(operation, answer)) return apply(answer, operation, data);
    return answerPlainly(operation, data);
}

void ScriptedManager::remember(const Operation& operation, pTW_IDENTITY origin, TW_MEMREF data) {
    if (origin != nullptr) application_ = *origin;
    if (data == nullptr) return;
    if (operation.argumentType == DAT_PARENT) parent_ = *static_cast<HWND*>(data);
    if (operation.argumentType == DAT_USERINTERFACE) userInterface_ = *static_cast<TW_USERINTERFACE*>(data);
    if (operation.argumentType == DAT_EVENT)
        eventMessage_ = static_cast<const MSG*>(static_cast<TW_EVENT*>(data)->pEvent);
}

bool ScriptedManager::scripted(const Operation& operation, Answer& answer) {
    Operation anyCapability = operation;
    anyCapability.capability = 0;
    for (const Operation& key : {operation, anyCapability}) {
        auto& queue = queued_[key];
        if (!queue.empty()) {
            answer = std::move(queue.front());
            queue.pop_front();
            return true;
        }
        const auto standing = standing_.find(key);
        if (standing != standing_.end()) {
            answer = standing->second;
            return true;
        }
    }
    return false;
}

TW_UINT16 ScriptedManager::apply(const Answer& answer, const Operation& operation, TW_MEMREF data) {
    if (answer.container) {
        auto& capability = *static_cast<TW_CAPABILITY*>(data);
        capability.ConType = answer.container->conType;
        capability.hContainer = answer.container->allocate();
        ModuleCalls::adopt(capability.hContainer);
    }
    if (answer.act) answer.act(data);
    if (answer.returnCode == TWRC_FAILURE) return fail(answer.conditionCode);
    if (answer.returnCode == TWRC_SUCCESS || answer.returnCode == TWRC_CHECKSTATUS) moveState(operation);
    return answer.returnCode;
}

TW_UINT16 ScriptedManager::answerPlainly(const Operation& operation, TW_MEMREF data) {
    if (operation.argumentType == DAT_STATUS && !sourceHasStatus_) return giveStatus(data);
    if (operation.argumentType == DAT_EVENT && !notifications_.empty()) return answerEvent(data);
    const Move* move = moveOf(operation);
    if (move != nullptr && move->from != state_) return fail(TWCC_SEQERROR);
    if (operation.argumentType == DAT_IDENTITY && move == nullptr) return giveIdentity(operation, data);
    const bool forSource = source_ && operation.argumentType != DAT_PARENT;
    const TW_UINT16 result = forSource ? askSource(operation, data) : answerPlainSource(operation);
    if (result != TWRC_FAILURE) moveState(operation);
    return result;
}

TW_UINT16 ScriptedManager::giveIdentity(const Operation& operation, TW_MEMREF data) {
    if (operation.message == MSG_GETNEXT) return TWRC_ENDOFLIST;
    *static_cast<pTW_IDENTITY>(data) = defaultSource_;
    return TWRC_SUCCESS;
}

TW_UINT16 ScriptedManager::answerPlainSource(const Operation& operation) {
    if (moveOf(operation) != nullptr) return TWRC_SUCCESS;
    switch (operation.argumentType) {
        case DAT_CAPABILITY:
            return operation.message == MSG_SET ? +TWRC_SUCCESS : fail(TWCC_BADCAP);
        case DAT_PENDINGXFERS:
            return TWRC_SUCCESS;
        case DAT_EVENT:
            return TWRC_NOTDSEVENT;
        default:
            return fail(TWCC_SEQERROR);
    }
}

TW_UINT16 ScriptedManager::answerEvent(TW_MEMREF data) {
    static_cast<TW_EVENT*>(data)->TWMessage = notifications_.front();
    notifications_.pop_front();
    return TWRC_DSEVENT;
}

void ScriptedManager::moveState(const Operation& operation) {
    if (const Move* move = moveOf(operation)) state_ = move->to;
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

TW_UINT16 ScriptedManager::giveStatus(TW_MEMREF data) {
    *static_cast<TW_STATUS*>(data) = {conditionCode_, 0};
    conditionCode_ = TWCC_SUCCESS;
    return TWRC_SUCCESS;
}
