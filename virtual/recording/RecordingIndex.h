// A recording prepared for questions: each operation with what it followed and what followed it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "recording/AcceptedSettings.h"
#include "recording/Recording.h"

namespace vscan {

// Where a host is: counted in recordings as in replays.
struct Moment {
    int state = 3;
    int session = 0;  // how often the source was opened
    int batch = 0;    // and enabled in this session
    int page = 1;     // of this batch

    // An operation has been answered.
    void advance(const recording::Triplet& triplet, const recording::Answer& answer);
};

struct DelayedNotice {
    TW_UINT16 message;
    bool inside;  // the operation's answer waits for it
    double delay;
};

struct RecordedOperation {
    recording::Operation operation;
    Moment moment;
    std::shared_ptr<const AcceptedSettings> settings;
    std::optional<TW_UINT16> conditionCode;  // asked for after a failure
    std::vector<DelayedNotice> notices;
    unsigned uses = 0;
};

class RecordingIndex {
public:
    explicit RecordingIndex(recording::Recording recording);

    std::vector<RecordedOperation>& operations() { return operations_; }
    // The value of a capability before anything was set, where the recording tells it.
    const recording::Item* initially(std::uint32_t subject) const;
    // The value in force under these settings; null where nobody knows.
    const recording::Item* inForce(const AcceptedSettings& settings, std::uint32_t subject) const;
    // In which the two differ.
    std::vector<std::uint32_t> differences(const AcceptedSettings& one, const AcceptedSettings& other) const;
    // The source's identity, if it was ever opened.
    const recording::Bytes* identity() const;

private:
    void collectNotices(recording::Operation& operation);
    void learnInitialValue(const RecordedOperation& recorded);

    std::vector<RecordedOperation> operations_;
    AcceptedSettings initial_;
    std::size_t cause_ = 0;  // the operation that notices come of, counted from 1
};

}  // namespace vscan
