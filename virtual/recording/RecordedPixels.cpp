#include "recording/RecordedPixels.h"

#include <algorithm>

#include "recording/Crc32.h"
#include "recording/RecordShapes.h"

namespace vscan {

RecordedPixels::RecordedPixels(const std::string& recordingPath)
    : file_(recording::pixelFileOf(recordingPath), std::ios::binary) {}

std::optional<recording::Bytes> RecordedPixels::read(const recording::Pixels& pixels) {
    constexpr std::uint32_t most = 1u << 30;
    if (pixels.size > most) return std::nullopt;
    if (!pixels.at) return recording::patternPixels(pixels.size);
    // The size is the recording's word; memory is taken for what the file has.
    file_.clear();
    file_.seekg(0, std::ios::end);
    const auto end = static_cast<std::uint64_t>(std::max<std::streamoff>(file_.tellg(), 0));
    if (*pixels.at > end || pixels.size > end - *pixels.at) return std::nullopt;
    recording::Bytes bytes(pixels.size);
    file_.seekg(static_cast<std::streamoff>(*pixels.at));
    file_.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file_ || recording::crc32(bytes.data(), bytes.size()) != pixels.crc) return std::nullopt;
    return bytes;
}

}  // namespace vscan
