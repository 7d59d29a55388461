#include "recording/RecordedPixels.h"

#include "recording/Crc32.h"
#include "recording/RecordShapes.h"

namespace vscan {

RecordedPixels::RecordedPixels(const std::string& recordingPath)
    : file_(std::fopen(recording::pixelFileOf(recordingPath).c_str(), "rb"),
            [](std::FILE* file) { return file ? std::fclose(file) : 0; }) {}

std::optional<recording::Bytes> RecordedPixels::read(const recording::Pixels& pixels) const {
    constexpr std::uint32_t most = 1u << 30;
    if (pixels.size > most) return std::nullopt;
    if (!pixels.at) return recording::patternPixels(pixels.size);
    // The size is the recording's word; memory is taken for what the file has.
    if (!file_ || _fseeki64(file_.get(), 0, SEEK_END) != 0) return std::nullopt;
    const auto end = static_cast<std::uint64_t>(_ftelli64(file_.get()));
    if (*pixels.at > end || pixels.size > end - *pixels.at) return std::nullopt;
    recording::Bytes bytes(pixels.size);
    if (_fseeki64(file_.get(), static_cast<long long>(*pixels.at), SEEK_SET) != 0 ||
        std::fread(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size() ||
        recording::crc32(bytes.data(), bytes.size()) != pixels.crc)
        return std::nullopt;
    return bytes;
}

}  // namespace vscan
