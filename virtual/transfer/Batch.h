// The pages of one batch and the pile in the feeder they come from.
#pragma once

#include "capabilities/Outcome.h"
#include "settings/Settings.h"

namespace vscan {

class Batch {
public:
    explicit Batch(const VirtualScannerSettings& settings);

    // The feeder
    void load();  // puts a new pile in
    bool loaded() const { return pile_ > 0; }
    void ejectPage();
    void refillIfEmpty();

    // The batch. `limit`: the host's CAP_XFERCOUNT, below 0 for no limit.
    void start(bool fromFeeder, bool autoFeed, int limit);
    // The feeder is empty, but an image is announced all the same.
    void startPhantom();
    bool hasPage() const { return left_ > 0 || phantomCancels_; }
    int pageNumber() const { return fromFeeder_ ? fed_ + 1 : 1; }
    // The page is done with, transferred or not; answers the number of images that the host is told is left.
    int finishPage();
    void stop();
    TW_UINT16 announcedCount() const { return static_cast<TW_UINT16>(announced_); }

    // What is to happen to the present page once `strips` strips of it are delivered: nothing (TWRC_SUCCESS)
    // or the failure or cancellation that the settings ask for.
    Outcome fault(int strips);

private:
    void announce();

    const VirtualScannerSettings& settings_;
    int pile_ = 0;  // pages in the feeder
    int fed_ = 0;   // pages of the pile that are gone
    bool fromFeeder_ = false;
    int left_ = 0;       // pages of the batch, the present one included
    int announced_ = 0;  // what the host is told
    bool phantomTold_ = false;
    bool phantomCancels_ = false;
    bool cancelled_ = false;
};

}  // namespace vscan
