// One recorded image on its way to the host.
#pragma once

#include <string>
#include <vector>

#include "capabilities/Outcome.h"
#include "recording/RecordedPixels.h"
#include "recording/RecordingIndex.h"

namespace vscan {

class ReplayedImage {
public:
    // The transfers of one page by one mechanism, in order.
    explicit ReplayedImage(std::vector<RecordedOperation*> transfers) : transfers_(std::move(transfers)) {}

    // The next transfer as recorded, or null when there is none left.
    const RecordedOperation* next() const { return at_ < transfers_.size() ? transfers_[at_] : nullptr; }

    struct Delivery {
        recording::Answer answer;
        bool cut = false;      // less than recorded, as the host's buffer is smaller
        bool damaged = false;  // the pixels are not there
        bool misfits = false;  // not even a row fits
    };
    // Writes the next strip into the host's buffer.
    Delivery deliverStrip(RecordedPixels& pixels, TW_MEMREF data);
    // Puts the whole image into global memory, whose handle the host gets, or into a file.
    Delivery deliverNative(RecordedPixels& pixels, TW_MEMREF data);
    Delivery deliverFile(RecordedPixels& pixels, const std::string& path);

private:
    bool beginTransfer(RecordedPixels& pixels, Delivery& delivery);

    std::vector<RecordedOperation*> transfers_;
    std::size_t at_ = 0;
    recording::Bytes bytes_;      // of the strip that is being delivered
    std::uint32_t rowsDone_ = 0;  // of it
};

}  // namespace vscan
