#include "smtrace/LineFilter.h"

#include <algorithm>
#include <cctype>

namespace smtrace {

bool contains(std::string_view text, std::string_view part) {
    const auto same = [](unsigned char left, unsigned char right) {
        return std::tolower(left) == std::tolower(right);
    };
    return std::search(text.begin(), text.end(), part.begin(), part.end(), same) != text.end() ||
           part.empty();
}

bool LineFilter::passes(const StoredLine& line) const {
    return levels[static_cast<size_t>(line.parsed().level)] && contains(line.raw, text);
}

void FilteredLines::setFilter(const LineFilter& filter) {
    filter_ = filter;
    numbers_.clear();
    seen_ = 0;
    update();
}

bool FilteredLines::update() {
    const size_t before = numbers_.size();
    for (const size_t end = store_.end(); seen_ < end; ++seen_) {
        const std::optional<StoredLine> line = store_.line(seen_);
        if (line && filter_.passes(*line)) numbers_.push_back(seen_);
    }
    return numbers_.size() != before;
}

void FilteredLines::forget() {
    // seen_ stays: a line that came since the store was cleared is still to be taken in.
    numbers_.clear();
}

std::optional<StoredLine> FilteredLines::line(size_t row) const {
    return row < numbers_.size() ? store_.line(numbers_[row]) : std::nullopt;
}

std::optional<size_t> FilteredLines::find(const std::string& text, size_t from) const {
    for (size_t i = 0; i < numbers_.size(); ++i) {
        const size_t row = (from + i) % numbers_.size();
        const std::optional<StoredLine> candidate = line(row);
        if (candidate && contains(candidate->raw, text)) return row;
    }
    return std::nullopt;
}

}  // namespace smtrace
