#include "smworker/LineReader.h"

#include <algorithm>

namespace smworker {

bool LineReader::fill() {
    constexpr DWORD blockBytes = 1 << 16;
    block_.resize(blockBytes);
    place_ = 0;
    DWORD count = 0;
    const bool read = ReadFile(pipe_, block_.data(), blockBytes, &count, nullptr) != FALSE;
    block_.resize(read ? count : 0);
    return !block_.empty();
}

std::optional<std::string> LineReader::next() {
    std::string line;
    while (true) {
        if (place_ == block_.size() && !fill()) return std::nullopt;
        const size_t end = std::min(block_.find('\n', place_), block_.size());
        const size_t room = longestLine + 1 - std::min(longestLine + 1, line.size());
        line.append(block_, place_, std::min(end - place_, room));
        const bool ended = end < block_.size();
        place_ = end + (ended ? 1 : 0);
        if (ended) break;
    }
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

}  // namespace smworker
