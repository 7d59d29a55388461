#include "recording/RecordingIndex.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "recording/RecordShapes.h"
#include "recording/RecordingText.h"

namespace vscan {

using recording::Answer;
using recording::Bytes;
using recording::Operation;
using recording::Triplet;

namespace {

bool isEvent(const Triplet& triplet) {
    return triplet.is(DG_CONTROL, DAT_EVENT, MSG_PROCESSEVENT);
}
bool isStatus(const Triplet& triplet) {
    return triplet.is(DG_CONTROL, DAT_STATUS, MSG_GET);
}
bool causesNotices(const Triplet& triplet) {
    return triplet.is(DG_CONTROL, DAT_USERINTERFACE, MSG_ENABLEDS) ||
           (triplet.group == DG_CONTROL && triplet.argumentType == DAT_PENDINGXFERS &&
            triplet.message != MSG_GET);
}

bool succeeded(const Answer& answer) {
    return answer.returnCode == TWRC_SUCCESS || answer.returnCode == TWRC_CHECKSTATUS;
}

}  // namespace

void Moment::advance(const Triplet& triplet, const Answer& answer) {
    state = recording::stateAfter(state, triplet, answer.returnCode, answer.data);
    if (!succeeded(answer)) return;
    if (triplet.is(DG_CONTROL, DAT_IDENTITY, MSG_OPENDS)) {
        ++session;
        batch = 0;
        page = 1;
    }
    if (triplet.is(DG_CONTROL, DAT_USERINTERFACE, MSG_ENABLEDS)) {
        ++batch;
        page = 1;
    }
    if (triplet.is(DG_CONTROL, DAT_PENDINGXFERS, MSG_ENDXFER)) ++page;
    // A window that stays brings the next batch.
    if (triplet.argumentType == DAT_PENDINGXFERS && state == 5) {
        ++batch;
        page = 1;
    }
}

RecordingIndex::RecordingIndex(recording::Recording recording) {
    Moment moment;
    // Each change keeps all settings before it; without a limit a hostile file could ask for any memory.
    constexpr std::size_t mostKept = 1000000;
    std::size_t kept = 0;
    auto settings = std::make_shared<const AcceptedSettings>();
    for (Operation& operation : recording.operations) {
        const Triplet triplet = operation.triplet;
        if (isEvent(triplet)) {
            collectNotices(operation);
            moment.state = operation.state;
            continue;
        }
        if (isStatus(triplet)) {
            // The reason of what failed just before.
            const bool hasFailed =
                !operations_.empty() && operations_.back().operation.answer->returnCode == TWRC_FAILURE;
            TW_UINT16 code = 0;
            if (hasFailed && operation.answer && operation.answer->data.size() >= sizeof code) {
                std::memcpy(&code, operation.answer->data.data(), sizeof code);
                if (!operations_.back().conditionCode) operations_.back().conditionCode = code;
            }
            continue;
        }
        // The source never came back from it: nobody knows what it would have said.
        if (!operation.answer) continue;
        moment.state = operation.state;
        operations_.push_back({std::move(operation), moment, settings, {}, {}, 0});
        RecordedOperation& recorded = operations_.back();
        const Answer& answer = *recorded.operation.answer;
        if (causesNotices(triplet)) cause_ = operations_.size();
        collectNotices(recorded.operation);
        learnInitialValue(recorded);
        moment.advance(triplet, answer);
        if (triplet.is(DG_CONTROL, DAT_IDENTITY, MSG_OPENDS) && succeeded(answer))
            settings = std::make_shared<const AcceptedSettings>();
        if (changesSettings(triplet) && succeeded(answer)) {
            AcceptedSettings changed = *settings;
            enter(changed, triplet, recorded.operation.question);
            kept += changed.size();
            if (kept > mostKept)
                throw recording::RecordingError("operation " + std::to_string(recorded.operation.number) +
                                                ": more settings than any scan changes");
            settings = std::make_shared<const AcceptedSettings>(std::move(changed));
        }
    }
}

// Notices stand in lines of their own, or were the answer to a host's event. They belong to the operation
// that made the source send them, not to what the host happened to ask in between.
void RecordingIndex::collectNotices(Operation& operation) {
    if (cause_ == 0) return;
    RecordedOperation& cause = operations_[cause_ - 1];
    const double end = cause.operation.at + cause.operation.answer->milliseconds;
    const bool follows = cause_ == operations_.size();
    const auto add = [&](TW_UINT16 message, bool inside, double at) {
        cause.notices.push_back({message, inside, std::max(0.0, at - end)});
    };
    if (isEvent(operation.triplet)) {
        TW_UINT16 message = 0;
        constexpr std::size_t messageAt = offsetof(TW_EVENT, TWMessage);
        if (operation.answer && operation.answer->data.size() >= messageAt + sizeof message)
            std::memcpy(&message, operation.answer->data.data() + messageAt, sizeof message);
        // A source that notifies inside gets it to the host with the first event.
        if (message != 0) add(message, follows && operation.events == 0, operation.at);
    }
    for (const recording::Notice& notice : operation.notices)
        add(notice.message, notice.inside && follows, notice.at);
}

void RecordingIndex::learnInitialValue(const RecordedOperation& recorded) {
    const Triplet& triplet = recorded.operation.triplet;
    const Answer& answer = *recorded.operation.answer;
    if (!succeeded(answer) || (triplet.message != MSG_GET && triplet.message != MSG_GETCURRENT)) return;
    const bool isLayout = triplet.is(DG_IMAGE, DAT_IMAGELAYOUT, MSG_GET);
    if (!isLayout && (triplet.group != DG_CONTROL || triplet.argumentType != DAT_CAPABILITY)) return;
    const std::uint32_t subject = subjectOf(triplet, recorded.operation.question);
    if (recorded.settings->count(subject)) return;
    std::optional<recording::Item> item;
    if (isLayout) {
        const Bytes& data = answer.data;
        if (data.size() >= sizeof(TW_FRAME)) item = {0xFFFF, {data.begin(), data.begin() + sizeof(TW_FRAME)}};
    } else {
        TW_UINT16 kind = 0;
        if (answer.data.size() >= 4) std::memcpy(&kind, answer.data.data() + 2, sizeof kind);
        item = recording::Container{kind, answer.block.bytes}.current();
    }
    if (!item) return;
    // Settings act on each other: what was asked before any of them counts most.
    if (recorded.settings->empty())
        initial_.insert_or_assign(subject, *item);
    else
        initial_.emplace(subject, *item);
}

const recording::Item* RecordingIndex::initially(std::uint32_t subject) const {
    const auto found = initial_.find(subject);
    return found == initial_.end() ? nullptr : &found->second;
}

const recording::Item* RecordingIndex::inForce(const AcceptedSettings& settings,
                                               std::uint32_t subject) const {
    const auto found = settings.find(subject);
    return found == settings.end() ? initially(subject) : &found->second;
}

std::vector<std::uint32_t> RecordingIndex::differences(const AcceptedSettings& one,
                                                       const AcceptedSettings& other) const {
    std::vector<std::uint32_t> subjects;
    if (&one == &other) return subjects;
    const auto compare = [&](std::uint32_t subject) {
        const recording::Item* a = inForce(one, subject);
        const recording::Item* b = inForce(other, subject);
        if (!a || !b || !sameItem(*a, *b)) subjects.push_back(subject);
    };
    for (const auto& [subject, item] : one)
        compare(subject);
    for (const auto& [subject, item] : other)
        if (!one.count(subject)) compare(subject);
    return subjects;
}

const recording::Bytes* RecordingIndex::identity() const {
    for (const RecordedOperation& recorded : operations_) {
        const Operation& operation = recorded.operation;
        if (operation.triplet.is(DG_CONTROL, DAT_IDENTITY, MSG_OPENDS) &&
            operation.answer->data.size() == sizeof(TW_IDENTITY))
            return &operation.answer->data;
    }
    return nullptr;
}

}  // namespace vscan
