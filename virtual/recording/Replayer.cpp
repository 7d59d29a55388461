#include "recording/Replayer.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <new>
#include <tuple>

#include "capabilities/GlobalMemory.h"
#include "recording/HostMemory.h"
#include "recording/RecordShapes.h"
#include "recording/RecordingText.h"
#include "settings/CapabilityText.h"
#include "source/HostRecord.h"
#include "source/SourceIdentity.h"

namespace vscan {

using recording::Answer;
using recording::BlockKind;
using recording::Bytes;
using recording::Question;
using recording::Triplet;

namespace {

std::map<UINT_PTR, Replayer*>& timerOwners() {
    static std::map<UINT_PTR, Replayer*> owners;
    return owners;
}

bool succeeded(const Answer& answer) {
    return answer.returnCode == TWRC_SUCCESS || answer.returnCode == TWRC_CHECKSTATUS;
}

bool endsTransfers(const Triplet& triplet) {
    return triplet.group == DG_CONTROL && triplet.argumentType == DAT_PENDINGXFERS &&
           triplet.message != MSG_GET;
}

// How far a recorded question is from the host's: 0, the same; nothing: it asks for something else.
std::optional<int> distance(const Triplet& triplet, const Question& one, const Question& other) {
    const bool same = one.data == other.data && one.block == other.block;
    if (same) return 0;
    if (triplet.is(DG_CONTROL, DAT_SETUPFILEXFER, MSG_SET)) return 1;
    if (!changesSettings(triplet) || triplet.message == MSG_RESET) {
        const bool otherCapability = triplet.group == DG_CONTROL && triplet.argumentType == DAT_CAPABILITY &&
                                     subjectOf(triplet, one) != subjectOf(triplet, other);
        return otherCapability ? std::nullopt : std::optional<int>(1);
    }
    AcceptedSettings first, second;
    enter(first, triplet, one);
    enter(second, triplet, other);
    const bool sameValue = first.begin()->first == second.begin()->first &&
                           sameItem(first.begin()->second, second.begin()->second);
    return sameValue ? std::optional<int>(1) : std::nullopt;
}

}  // namespace

Replayer::Replayer(const VirtualScannerSettings& settings, Notify notify)
    : settings_(settings), notify_(std::move(notify)), pixels_(settings.replay) {
    const auto complain = [&](const char* reason) {
        complaint_ = "Replay \"" + settings.replay + "\": " + reason;
    };
    try {
        std::ifstream file(settings.replay, std::ios::binary);
        if (!file) throw recording::RecordingError("the file can't be read");
        index_.emplace(recording::readRecording({std::istreambuf_iterator<char>(file), {}}));
        if (!index_->identity()) complain("no source was opened in it");
    } catch (const recording::RecordingError& error) {
        complain(error.what());
    } catch (const std::bad_alloc&) {
        complain("there is not enough memory for it");
    }
}

Replayer::~Replayer() {
    stopTimers();
}

Replayer::Reply Replayer::refusal(int conditionCode, Grade grade) {
    Reply reply;
    reply.answer.returnCode = TWRC_FAILURE;
    reply.conditionCode = static_cast<TW_UINT16>(conditionCode);
    reply.grade = grade;
    return reply;
}

TW_UINT16 Replayer::call(const Triplet& triplet, TW_MEMREF data) {
    if (triplet.is(DG_CONTROL, DAT_STATUS, MSG_GET)) {
        auto* status = hostRecord<TW_STATUS>(data, MSG_GET);
        if (!status) return TWRC_FAILURE;
        *status = {std::exchange(conditionCode_, TW_UINT16{TWCC_SUCCESS}), 0};
        return TWRC_SUCCESS;
    }
    if (triplet.is(DG_CONTROL, DAT_EVENT, MSG_PROCESSEVENT)) {
        auto* event = hostRecord<TW_EVENT>(data, MSG_GET);
        if (!event || now_.state < 5) return TWRC_FAILURE;
        event->TWMessage = MSG_NULL;
        return TWRC_NOTDSEVENT;
    }
    const Question question = recording::questionOf(triplet, data);
    const Reply reply = answer(triplet, question, data);
    conditionCode_ =
        reply.conditionCode.value_or(reply.answer.returnCode == TWRC_FAILURE ? TWCC_BUMMER : TWCC_SUCCESS);
    follow(triplet, question, reply, data);
    return reply.answer.returnCode;
}

Replayer::Reply Replayer::answer(const Triplet& triplet, const Question& question, TW_MEMREF data) {
    if (triplet.is(DG_CONTROL, DAT_IDENTITY, MSG_GET)) {
        Reply reply;
        TW_IDENTITY own{};
        describeSource(settings_, own);  // a recording that can't be read has a name, too
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&own);
        reply.answer.data.assign(bytes, bytes + sizeof own);
        if (index_ && index_->identity()) reply.answer.data = *index_->identity();
        return reply;
    }
    if (triplet.is(DG_CONTROL, DAT_IDENTITY, MSG_CLOSEDS)) {
        if (now_.state == 3) return refusal(TWCC_SEQERROR, Grade::Exact);
        return {};  // whatever the recording lacks
    }
    if (!complaint_.empty()) return refusal(TWCC_OPERATIONERROR, Grade::Exact);
    const bool opens = triplet.is(DG_CONTROL, DAT_IDENTITY, MSG_OPENDS);
    if (opens && now_.state != 3) return refusal(TWCC_MAXCONNECTIONS, Grade::Exact);
    if (!opens && now_.state == 3) return refusal(TWCC_SEQERROR, Grade::Exact);
    Reply reply;
    if (recording::isTransfer(triplet)) {
        reply = transfer(triplet, data);
    } else if (RecordedOperation* found = best(triplet, question)) {
        reply = recorded(*found, question);
    } else {
        reply = derived(triplet, question);
    }
    count(reply.grade, triplet, question);
    return reply;
}

RecordedOperation* Replayer::best(const Triplet& triplet, const Question& question) {
    RecordedOperation* found = nullptr;
    std::tuple<int, std::size_t, bool, bool, bool, bool, unsigned> least;
    for (RecordedOperation& candidate : index_->operations()) {
        if (!(candidate.operation.triplet == triplet)) continue;
        const auto away = distance(triplet, candidate.operation.question, question);
        if (!away) continue;
        const Moment& then = candidate.moment;
        // Another page's end could announce pages for ever.
        if (endsTransfers(triplet) && then.page != now_.page) continue;
        const auto score = std::make_tuple(
            *away, index_->differences(*candidate.settings, accepted_).size(), then.state != now_.state,
            then.page != now_.page, then.session != now_.session, then.batch != now_.batch, candidate.uses);
        if (found && !(score < least)) continue;
        found = &candidate;
        least = score;
    }
    return found;
}

Replayer::Reply Replayer::recorded(RecordedOperation& found, const Question& question) {
    ++found.uses;
    Reply reply;
    reply.answer = *found.operation.answer;
    reply.conditionCode = found.conditionCode;
    reply.from = &found;
    const bool sameSettings = index_->differences(*found.settings, accepted_).empty();
    reply.grade = sameSettings ? Grade::Exact : Grade::OtherSettings;
    if (!sameSettings && bringUpToDate(reply.answer, found, question)) reply.grade = Grade::Derived;
    if (settings_.replayDelays) Sleep(static_cast<DWORD>(std::min(reply.answer.milliseconds, 60000.0)));
    return reply;
}

// Puts the value that the host has set into an answer from before or after another one.
bool Replayer::bringUpToDate(Answer& answer, const RecordedOperation& from, const Question& question) const {
    const Triplet& triplet = from.operation.triplet;
    const bool asks = triplet.message == MSG_GET || triplet.message == MSG_GETCURRENT;
    const bool isLayout = triplet.group == DG_IMAGE && triplet.argumentType == DAT_IMAGELAYOUT;
    const bool isCapability = triplet.group == DG_CONTROL && triplet.argumentType == DAT_CAPABILITY;
    if (!asks || !succeeded(answer) || (!isLayout && !isCapability)) return false;
    const std::uint32_t subject = subjectOf(triplet, question);
    const recording::Item* wanted = index_->inForce(accepted_, subject);
    const recording::Item* told = index_->inForce(*from.settings, subject);
    if (!wanted || (told && sameItem(*wanted, *told))) return false;
    if (isLayout) {
        if (answer.data.size() < wanted->bytes.size()) return false;
        std::copy(wanted->bytes.begin(), wanted->bytes.end(), answer.data.begin());
        return true;
    }
    TW_UINT16 kind = 0;
    if (answer.data.size() >= 4) std::memcpy(&kind, answer.data.data() + 2, sizeof kind);
    recording::Container container{kind, answer.block.bytes};
    if (!container.setCurrent(*wanted)) return false;
    answer.block.bytes = container.bytes;
    return true;
}

void Replayer::write(const Triplet& triplet, const Answer& answer, TW_MEMREF data) {
    Bytes bytes = answer.data;
    auto* target = static_cast<std::uint8_t*>(data);
    if (!bytes.empty() && bytes.size() <= recording::recordSize(triplet) &&
        hostRecord<std::uint8_t>(data, MSG_GET, bytes.size())) {
        const bool isControl = triplet.group == DG_CONTROL;
        // Numbers that the manager gives, and names and handles of the host's own.
        std::size_t from = isControl && triplet.argumentType == DAT_IDENTITY ? sizeof(TW_UINT32) : 0;
        if (isControl && triplet.argumentType == DAT_SETUPFILEXFER && !fileName_.empty() &&
            triplet.message == MSG_GET && bytes.size() > fileName_.size())
            std::memcpy(bytes.data(), fileName_.c_str(), fileName_.size() + 1);
        from = std::min(from, bytes.size());
        std::copy(bytes.begin() + static_cast<std::ptrdiff_t>(from), bytes.end(), target + from);
        if (isControl && triplet.argumentType == DAT_CAPABILITY && bytes.size() == sizeof(TW_CAPABILITY)) {
            const Bytes& block = answer.block.bytes;
            HGLOBAL handle = nullptr;
            if (answer.block.kind == BlockKind::Present && !block.empty())
                handle = makeGlobal(
                    block.size(), [&](std::uint8_t* place) { std::copy(block.begin(), block.end(), place); });
            // A block without room can't be locked, as the recorded one could not.
            if (answer.block.kind == BlockKind::Bad) handle = GlobalAlloc(GMEM_MOVEABLE, 0);
            reinterpret_cast<TW_CAPABILITY*>(target)->hContainer = handle;
        }
    }
    const recording::Change& change = answer.change;
    if (!change.bytes.empty() && recording::isVendorRecord(triplet) && change.offset < 0x10000 &&
        hostRecord<std::uint8_t>(target + change.offset, MSG_GET, change.bytes.size()))
        std::copy(change.bytes.begin(), change.bytes.end(), target + change.offset);
}

// What the answer means for what comes next.
void Replayer::follow(const Triplet& triplet, const Question& question, const Reply& reply, TW_MEMREF data) {
    if (!recording::isTransfer(triplet) && reply.answer.returnCode != TWRC_FAILURE &&
        recording::sourceWrites(triplet))
        write(triplet, reply.answer, data);
    if (triplet.is(DG_CONTROL, DAT_IDENTITY, MSG_GET)) return;
    now_.advance(triplet, reply.answer);
    if (endsTransfers(triplet)) image_.reset();
    if (!succeeded(reply.answer)) return;
    if (triplet.is(DG_CONTROL, DAT_IDENTITY, MSG_OPENDS)) accepted_.clear();
    if (changesSettings(triplet)) enter(accepted_, triplet, question);
    if (triplet.is(DG_CONTROL, DAT_SETUPFILEXFER, MSG_SET)) {
        const Bytes name = recording::bytesAt(data, sizeof(TW_STR255));
        const auto* text = reinterpret_cast<const char*>(name.data());
        fileName_.assign(text, strnlen(text, name.size()));
    }
    if (now_.state < 5) {
        stopTimers();
        image_.reset();
    }
    if (triplet.is(DG_CONTROL, DAT_IDENTITY, MSG_CLOSEDS)) tellCounts();
    if (reply.from) scheduleNotices(*reply.from);
}

void Replayer::scheduleNotices(const RecordedOperation& cause) {
    constexpr double soon = 100;
    const std::vector<DelayedNotice> notices = cause.notices;
    for (const DelayedNotice& notice : notices) {
        if (notice.inside) {
            deliver(notice.message);
            continue;
        }
        const double delay = std::min(notice.delay, settings_.replayDelays ? 600000.0 : soon);
        const UINT_PTR timer = SetTimer(nullptr, 0, static_cast<UINT>(delay), &Replayer::onTimer);
        if (timer == 0) continue;
        timers_.push_back({timer, notice.message});
        timerOwners()[timer] = this;
    }
}

void Replayer::deliver(TW_UINT16 message) {
    if (message == MSG_XFERREADY && now_.state == 5) now_.state = 6;
    notify_(message);
}

void CALLBACK Replayer::onTimer(HWND, UINT, UINT_PTR timer, DWORD) {
    KillTimer(nullptr, timer);
    const auto owner = timerOwners().find(timer);
    if (owner == timerOwners().end()) return;
    Replayer& self = *owner->second;
    timerOwners().erase(owner);
    const auto found = std::find_if(self.timers_.begin(), self.timers_.end(),
                                    [&](const auto& entry) { return entry.first == timer; });
    if (found == self.timers_.end()) return;
    const TW_UINT16 message = found->second;
    self.timers_.erase(found);
    if (self.now_.state >= 5) self.deliver(message);
}

void Replayer::stopTimers() {
    for (const auto& [timer, message] : timers_) {
        KillTimer(nullptr, timer);
        timerOwners().erase(timer);
    }
    timers_.clear();
}

void Replayer::count(Grade grade, const Triplet& triplet, const Question& question) {
    ++counts_[static_cast<int>(grade)];
    if (grade != Grade::Missing || recording::isTransfer(triplet)) return;
    char text[96];
    std::snprintf(text, sizeof text, "replay: not recorded: %x/%04x/%04x",
                  static_cast<unsigned>(triplet.group), static_cast<unsigned>(triplet.argumentType),
                  static_cast<unsigned>(triplet.message));
    const bool isCapability = triplet.group == DG_CONTROL && triplet.argumentType == DAT_CAPABILITY;
    remarks_.push_back(
        text + (isCapability ? " " + capabilityName(static_cast<int>(subjectOf(triplet, question))) : ""));
}

void Replayer::tellCounts() {
    char text[128];
    std::snprintf(text, sizeof text, "replay: %u exact, %u under other settings, %u derived, %u missing",
                  counts_[0], counts_[1], counts_[2], counts_[3]);
    remarks_.push_back(text);
    std::fill(std::begin(counts_), std::end(counts_), 0u);
}

}  // namespace vscan
