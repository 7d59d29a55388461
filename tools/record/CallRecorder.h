// Writes down the operations between a host and a source, as they pass. It only looks: what belongs to host
// or source stays theirs.
#pragma once

#include <scanmodule/twain_types.h>

#include <functional>
#include <string>
#include <vector>

#include "record/RecordingFile.h"
#include "recording/Recording.h"

namespace record {

class CallRecorder {
public:
    CallRecorder(const std::wstring& path, PixelPolicy policy);

    // Makes the call and writes down what it asked and how it was answered.
    TW_UINT16 pass(const recording::Triplet& triplet, TW_MEMREF data, const std::function<TW_UINT16()>& call);
    // A message to the host that came past the answers.
    void notice(TW_UINT16 message);

    bool complete() const { return file_.complete(); }
    bool hasPixels() const { return file_.hasPixels(); }
    int state() const { return state_; }

private:
    struct Before;  // what the call may change
    double now() const;
    // False when the step threw; the recording then ends here.
    bool tried(const std::function<void()>& step);
    TW_UINT16 passEvent(const recording::Triplet& triplet, TW_MEMREF data,
                        const std::function<TW_UINT16()>& call);
    recording::Operation begin(const recording::Triplet& triplet, TW_MEMREF data);
    recording::Answer answerOf(const recording::Triplet& triplet, TW_MEMREF data, TW_UINT16 returnCode,
                               const Before& before);
    void end(const recording::Operation& operation, const recording::Answer& answer);
    void addStrip(TW_MEMREF data, const Before& before, recording::Answer& answer);
    void addBitmap(const recording::Bytes& bitmap, std::size_t headerBytes, recording::Answer& answer);
    void noteFileName(const recording::Triplet& triplet, TW_MEMREF data);

    RecordingFile file_;
    LARGE_INTEGER start_{};
    LARGE_INTEGER frequency_{};
    int state_ = 3;
    std::uint32_t number_ = 0;
    std::uint32_t events_ = 0;
    std::vector<std::uint32_t> running_;  // operations that have not come back
    std::string fileName_;                // where the source writes the next image
};

}  // namespace record
