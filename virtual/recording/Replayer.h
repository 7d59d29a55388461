// Answers like a recorded source. What was not recorded is derived where the standard leaves no doubt, else
// refused; both are counted and told. A page recorded under other settings is not delivered, unless that is
// wanted.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "recording/RecordedPixels.h"
#include "recording/RecordingIndex.h"
#include "recording/ReplayedImage.h"
#include "settings/Settings.h"

namespace vscan {

class Replayer {
public:
    using Notify = std::function<void(TW_UINT16 message)>;
    Replayer(const VirtualScannerSettings& settings, Notify notify);
    ~Replayer();
    Replayer(const Replayer&) = delete;
    Replayer& operator=(const Replayer&) = delete;

    TW_UINT16 call(const recording::Triplet& triplet, TW_MEMREF data);

    int state() const { return now_.state; }
    // Why the recording can't be replayed (the source then doesn't open), or an empty text.
    const std::string& complaint() const { return complaint_; }
    // What there is to tell since the last time.
    std::vector<std::string> takeRemarks() { return std::exchange(remarks_, {}); }

private:
    enum class Grade { Exact, OtherSettings, Derived, Missing };
    struct Reply {
        recording::Answer answer;
        std::optional<TW_UINT16> conditionCode;
        Grade grade = Grade::Exact;
        const RecordedOperation* from = nullptr;
    };

    static Reply refusal(int conditionCode, Grade grade);
    Reply answer(const recording::Triplet& triplet, const recording::Question& question, TW_MEMREF data);
    Reply open();
    // From the records of the same operation.
    RecordedOperation* best(const recording::Triplet& triplet, const recording::Question& question);
    Reply recorded(RecordedOperation& found, const recording::Question& question);
    // Where there are none.
    Reply derived(const recording::Triplet& triplet, const recording::Question& question);
    Reply derivedCapability(const recording::Triplet& triplet, const recording::Question& question);
    Reply checkedSet(const recording::Question& question);
    Reply transfer(const recording::Triplet& triplet, TW_MEMREF data);
    bool beginImage(const recording::Triplet& triplet);
    bool bringUpToDate(recording::Answer& answer, const RecordedOperation& from,
                       const recording::Question& question) const;
    void write(const recording::Triplet& triplet, const recording::Answer& answer, TW_MEMREF data);
    void follow(const recording::Triplet& triplet, const recording::Question& question, const Reply& reply,
                TW_MEMREF data);
    void scheduleNotices(const RecordedOperation& cause);
    void deliver(TW_UINT16 message);
    void stopTimers();
    void count(Grade grade, const recording::Triplet& triplet, const recording::Question& question);
    void tellCounts();

    static void CALLBACK onTimer(HWND, UINT, UINT_PTR timer, DWORD);

    const VirtualScannerSettings& settings_;
    Notify notify_;
    std::string complaint_;
    std::optional<RecordingIndex> index_;
    RecordedPixels pixels_;
    Moment now_;
    AcceptedSettings accepted_;
    TW_UINT16 conditionCode_ = TWCC_SUCCESS;
    std::string fileName_;
    std::optional<ReplayedImage> image_;
    std::vector<std::pair<UINT_PTR, TW_UINT16>> timers_;
    unsigned counts_[4] = {};
    std::vector<std::string> remarks_;
};

}  // namespace vscan
