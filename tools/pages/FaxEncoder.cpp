#include "pages/FaxEncoder.h"

#include <algorithm>
#include <utility>

#include "pages/FaxCodes.h"

namespace pages {

namespace {

constexpr std::size_t pieceBytes = 1 << 15;
constexpr int longestRun = 2560;

// The present row's change against that of the row above: 3 to its left ... 3 to its right.
constexpr const char* verticalCodes[] = {"0000010", "000010", "010", "1", "011", "000011", "0000011"};
constexpr const char* passCode = "0001";
constexpr const char* horizontalCode = "001";
constexpr const char* endOfBlock = "000000000001000000000001";

}  // namespace

FaxEncoder::FaxEncoder(int width, Output output) : width_(width), output_(std::move(output)) {
    above_.assign(4, width);
}

void FaxEncoder::findChanges(const std::uint8_t* pixels) {
    present_.clear();
    std::uint8_t color = 0xff;
    for (int x = 0; x < width_;) {
        if (x % 8 == 0 && pixels[x / 8] == color) {
            x += 8;
            continue;
        }
        const bool white = (pixels[x / 8] >> (7 - x % 8) & 1) != 0;
        if (white != (color != 0)) {
            present_.push_back(x);
            color = static_cast<std::uint8_t>(~color);
        }
        ++x;
    }
    // Behind the last one there is always another.
    present_.insert(present_.end(), 4, width_);
}

void FaxEncoder::row(const std::uint8_t* pixels) {
    findChanges(pixels);
    std::size_t next = 0;   // the next change of this row; odd while the colour is black
    std::size_t other = 0;  // the next one of the row above, to the same colour
    for (int position = -1; position < width_;) {
        while (other > 0 && above_[other - 1] > position)
            --other;
        while (above_[other] <= position)
            ++other;
        if (other % 2 != next % 2) ++other;
        const int distance = present_[next] - above_[other];
        if (above_[other + 1] < present_[next]) {
            put(passCode);
            position = above_[other + 1];
        } else if (distance >= -3 && distance <= 3) {
            put(verticalCodes[distance + 3]);
            position = present_[next++];
        } else {
            put(horizontalCode);
            putRun(present_[next] - std::max(position, 0), next % 2 != 0);
            putRun(present_[next + 1] - present_[next], next % 2 == 0);
            position = present_[next + 1];
            next += 2;
        }
    }
    std::swap(above_, present_);
}

void FaxEncoder::finish() {
    put(endOfBlock);
    if (bitCount_ > 0) put(0, 8 - bitCount_);
    output_(buffer_.data(), buffer_.size());
    buffer_.clear();
}

void FaxEncoder::put(std::uint32_t code, int length) {
    bits_ = bits_ << length | code;
    bitCount_ += length;
    while (bitCount_ >= 8) {
        bitCount_ -= 8;
        buffer_.push_back(static_cast<std::uint8_t>(bits_ >> bitCount_));
    }
    if (buffer_.size() < pieceBytes) return;
    output_(buffer_.data(), buffer_.size());
    buffer_.clear();
}

void FaxEncoder::put(const char* code) {
    for (; *code != '\0'; ++code)
        put(*code == '1', 1);
}

void FaxEncoder::putRun(int length, bool black) {
    for (; length > longestRun; length -= longestRun)
        put(longestRuns[std::size(longestRuns) - 1]);
    const int long64 = length / 64;
    const int longCount = static_cast<int>(std::size(longWhiteRuns));
    if (long64 > longCount)
        put(longestRuns[long64 - longCount - 1]);
    else if (long64 > 0)
        put(black ? longBlackRuns[long64 - 1] : longWhiteRuns[long64 - 1]);
    put(black ? blackRuns[length % 64] : whiteRuns[length % 64]);
}

}  // namespace pages
