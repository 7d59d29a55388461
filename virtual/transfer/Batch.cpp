#include "transfer/Batch.h"

#include <algorithm>

#include "transfer/SevereFaults.h"

namespace vscan {

Batch::Batch(const VirtualScannerSettings& settings) : settings_(settings) {
    load();
}

void Batch::load() {
    pile_ = settings_.pages;
    fed_ = 0;
}

void Batch::ejectPage() {
    if (pile_ == 0) return;
    --pile_;
    ++fed_;
}

void Batch::refillIfEmpty() {
    if (settings_.refill && pile_ == 0) load();
}

void Batch::start(bool fromFeeder, bool autoFeed, int limit) {
    fromFeeder_ = fromFeeder;
    left_ = fromFeeder && autoFeed ? pile_ : 1;
    if (limit > 0) left_ = std::min(left_, limit);
    phantomTold_ = false;
    phantomCancels_ = false;
    cancelled_ = false;
    announce();
}

void Batch::startPhantom() {
    left_ = 0;
    announced_ = 1;
    phantomTold_ = true;
    phantomCancels_ = true;
    cancelled_ = false;
}

int Batch::finishPage() {
    if (left_ > 0) {
        --left_;
        if (fromFeeder_) ejectPage();
    }
    phantomCancels_ = false;
    // After the user's cancellation nothing more is scanned.
    if (cancelled_) left_ = 0;
    announce();
    return announced_;
}

void Batch::stop() {
    left_ = 0;
    announced_ = 0;
    phantomCancels_ = false;
}

void Batch::announce() {
    announced_ = left_;
    if (settings_.pendingCountError < 0 && left_ > 0) --announced_;
    // A count that is too high is told once, so that the batch ends.
    if (settings_.pendingCountError > 0 && !phantomTold_ && !cancelled_) {
        ++announced_;
        phantomTold_ = left_ == 0;
    }
    constexpr int unknown = 0xFFFF;
    if (settings_.unknownPendingCount && announced_ > 0) announced_ = unknown;
}

Outcome Batch::fault(int strips) {
    if (phantomCancels_) return returning(TWRC_CANCEL);
    if (left_ == 0) return failure(TWCC_OPERATIONERROR);
    if (strips < settings_.faultAfterStrip) return success();
    const int page = pageNumber();
    if (page == settings_.jamAtPage) return failure(TWCC_PAPERJAM);
    if (page == settings_.failAtPage) {
        if (settings_.failBy == FailBy::Hang) hang();
        if (settings_.failBy == FailBy::Crash) crash();
        if (settings_.failBy == FailBy::Exit) ExitProcess(0);
        return failure(settings_.failConditionCode);
    }
    if (page != settings_.cancelAtPage) return success();
    cancelled_ = true;
    return returning(TWRC_CANCEL);
}

}  // namespace vscan
