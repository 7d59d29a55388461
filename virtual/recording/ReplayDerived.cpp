// Answers of a replay that no record gives as they are, and the choice of the page that is delivered.
#include <algorithm>
#include <cstring>
#include <tuple>

#include "recording/RecordShapes.h"
#include "recording/Replayer.h"

namespace vscan {

using recording::Answer;
using recording::BlockKind;
using recording::Bytes;
using recording::Container;
using recording::Question;
using recording::Triplet;

namespace {

constexpr Triplet getCapability{DG_CONTROL, DAT_CAPABILITY, MSG_GET};
constexpr Triplet getCurrentCapability{DG_CONTROL, DAT_CAPABILITY, MSG_GETCURRENT};

Container containerIn(const Answer& answer) {
    Container container{0, answer.block.bytes};
    if (answer.data.size() >= 4) std::memcpy(&container.kind, answer.data.data() + 2, sizeof container.kind);
    return container;
}

// The same answer with a single value.
void becomeOneValue(Answer& answer, const recording::Item& item) {
    const TW_UINT16 kind = TWON_ONEVALUE;
    answer.data.resize(sizeof(TW_CAPABILITY));
    std::memcpy(answer.data.data() + 2, &kind, sizeof kind);
    answer.block = {BlockKind::Present, oneValueOf(item).bytes};
}

}  // namespace

Replayer::Reply Replayer::derived(const Triplet& triplet, const Question& question) {
    Reply reply;
    reply.grade = Grade::Derived;
    const bool isControl = triplet.group == DG_CONTROL;
    if (isControl && triplet.argumentType == DAT_CAPABILITY) return derivedCapability(triplet, question);
    // Giving up and closing work whatever the recording lacks.
    if (isControl && triplet.argumentType == DAT_PENDINGXFERS) {
        reply.answer.data = Bytes(sizeof(TW_PENDINGXFERS));
        return reply;
    }
    if (triplet.is(DG_CONTROL, DAT_USERINTERFACE, MSG_DISABLEDS)) return reply;
    if (triplet.is(DG_CONTROL, DAT_SETUPFILEXFER, MSG_SET)) return reply;
    // Another area or curve than any that was recorded: its pages will be missing.
    if (changesSettings(triplet))
        for (const RecordedOperation& recorded : index_->operations()) {
            const Triplet& known = recorded.operation.triplet;
            if (known.group == triplet.group && known.argumentType == triplet.argumentType &&
                recorded.operation.answer->returnCode != TWRC_FAILURE)
                return reply;
        }
    return refusal(TWCC_BADPROTOCOL, Grade::Missing);
}

Replayer::Reply Replayer::derivedCapability(const Triplet& triplet, const Question& question) {
    if (triplet.message == MSG_SET) return checkedSet(question);
    RecordedOperation* all = best(getCapability, question);
    if (!all) all = best(getCurrentCapability, question);
    if (!all || triplet.message == MSG_QUERYSUPPORT) return refusal(TWCC_CAPUNSUPPORTED, Grade::Missing);
    Reply reply = recorded(*all, question);
    reply.grade = Grade::Derived;
    reply.from = nullptr;
    if (reply.answer.returnCode == TWRC_FAILURE || triplet.message == MSG_GET) return reply;
    const Container container = containerIn(reply.answer);
    const recording::Item* first = index_->initially(subjectOf(triplet, question));
    auto item = container.current();
    if (triplet.message != MSG_GETCURRENT) {
        const auto standard = container.standard();
        if (standard || first) item = standard ? *standard : *first;
    }
    if (item) becomeOneValue(reply.answer, *item);
    return reply;
}

// A value that was never tried is good when the source says that it offers it.
Replayer::Reply Replayer::checkedSet(const Question& question) {
    const RecordedOperation* all = best(getCapability, question);
    if (!all) return refusal(TWCC_CAPUNSUPPORTED, Grade::Missing);
    if (all->operation.answer->returnCode == TWRC_FAILURE)
        return refusal(all->conditionCode.value_or(TWCC_CAPUNSUPPORTED), Grade::Derived);
    const Container offered = containerIn(*all->operation.answer);
    const recording::Item item = proposedItem(question);
    // A single value tells of no others; most are switches.
    if (offered.kind != TWON_ONEVALUE && !offered.offers(item)) return refusal(TWCC_BADVALUE, Grade::Derived);
    Reply reply;
    reply.grade = Grade::Derived;
    return reply;
}

// Chooses the recorded image that the host should get now.
bool Replayer::beginImage(const Triplet& triplet) {
    const RecordedOperation* first = nullptr;
    std::tuple<std::size_t, bool, std::size_t, bool, bool, unsigned> least;
    std::vector<std::uint32_t> disturbing;
    for (const RecordedOperation& candidate : index_->operations()) {
        if (!(candidate.operation.triplet == triplet)) continue;
        const Moment& then = candidate.moment;
        const auto different = index_->differences(*candidate.settings, accepted_);
        std::vector<std::uint32_t> seen;
        std::copy_if(different.begin(), different.end(), std::back_inserter(seen), affectsImage);
        const auto score =
            std::make_tuple(seen.size(), then.page != now_.page, different.size(),
                            then.session != now_.session, then.batch != now_.batch, candidate.uses);
        if (first && !(score < least)) continue;
        first = &candidate;
        least = score;
        disturbing = seen;
    }
    std::string reason;
    if (!first) reason = "no page was recorded in this way of transfer";
    if (first && !disturbing.empty()) {
        const auto text = [&](const AcceptedSettings& settings) {
            return settingText(disturbing[0], index_->inForce(settings, disturbing[0]));
        };
        reason = "no page was recorded with " + text(accepted_) + ", but one with " + text(*first->settings);
    } else if (first && first->moment.page != now_.page) {
        reason = "page " + std::to_string(now_.page) + " was not recorded, but page " +
                 std::to_string(first->moment.page);
    }
    const bool accepts = reason.empty() || (first && settings_.replayImages == ReplayImages::Any);
    if (!reason.empty())
        remarks_.push_back("replay: " + reason +
                           (accepts ? "; it is delivered"
                            : first ? "; ReplayImages=any delivers it"
                                    : ""));
    if (!accepts) return false;
    std::vector<RecordedOperation*> transfers;
    for (RecordedOperation& candidate : index_->operations()) {
        const Moment &a = candidate.moment, &b = first->moment;
        if (candidate.operation.triplet == triplet && a.session == b.session && a.batch == b.batch &&
            a.page == b.page) {
            ++candidate.uses;
            transfers.push_back(&candidate);
        }
    }
    image_.emplace(std::move(transfers));
    return true;
}

Replayer::Reply Replayer::transfer(const Triplet& triplet, TW_MEMREF data) {
    if (now_.state < 6) return refusal(TWCC_SEQERROR, Grade::Exact);
    if (!image_ && !beginImage(triplet)) return refusal(TWCC_OPERATIONERROR, Grade::Missing);
    const RecordedOperation* next = image_->next();
    if (!next || !(next->operation.triplet == triplet)) return refusal(TWCC_SEQERROR, Grade::Missing);
    const bool sameSettings = index_->differences(*next->settings, accepted_).empty();
    ReplayedImage::Delivery delivery;
    if (triplet.argumentType == DAT_IMAGEMEMXFER) delivery = image_->deliverStrip(pixels_, data);
    if (triplet.argumentType == DAT_IMAGENATIVEXFER) delivery = image_->deliverNative(pixels_, data);
    if (triplet.argumentType == DAT_IMAGEFILEXFER) delivery = image_->deliverFile(pixels_, fileName_);
    if (delivery.damaged)
        remarks_.push_back("replay: the recording's pixels are missing or damaged: " +
                           recording::pixelFileOf(settings_.replay));
    Reply reply;
    reply.answer = delivery.answer;
    reply.conditionCode = next->conditionCode;
    if (delivery.damaged) reply.conditionCode = TWCC_OPERATIONERROR;
    if (delivery.misfits) reply.conditionCode = TWCC_BADVALUE;
    reply.grade = delivery.damaged ? Grade::Missing
                  : delivery.cut   ? Grade::Derived
                  : sameSettings   ? Grade::Exact
                                   : Grade::OtherSettings;
    return reply;
}

}  // namespace vscan
