#include "smtrace/LineStore.h"

#include <algorithm>
#include <utility>

namespace smtrace {

using Hold = gui::CriticalSection::Hold;

void LineStore::add(std::string raw, uint32_t sender, Time time) {
    const Hold hold(section_);
    StoredLine line;
    line.raw = std::move(raw);
    const TraceLine parsed = line.parsed();
    line.depth = calls_.add(sender, parsed, time);
    // Shown by what they stand for: the gap before the next line.
    if (parsed.kind == Kind::Separator) {
        separated_ = true;
        return;
    }
    line.time = time;
    line.sinceLast = last_ == 0 ? 0 : time - last_;
    line.sender = sender;
    line.beginsCall = std::exchange(separated_, false);
    last_ = time;
    ++counts_[static_cast<size_t>(parsed.level)];
    lines_.push_back(std::move(line));
}

size_t LineStore::end() const {
    const Hold hold(section_);
    return first_ + lines_.size();
}

std::optional<StoredLine> LineStore::line(size_t number) const {
    const Hold hold(section_);
    if (number < first_ || number - first_ >= lines_.size()) return std::nullopt;
    return lines_[number - first_];
}

void LineStore::dropBefore(size_t number) {
    const Hold hold(section_);
    while (first_ < number && !lines_.empty()) {
        lines_.pop_front();
        ++first_;
    }
}

void LineStore::countLost() {
    const Hold hold(section_);
    ++lost_;
}

size_t LineStore::lost() const {
    const Hold hold(section_);
    return lost_;
}

void LineStore::clear() {
    const Hold hold(section_);
    first_ += lines_.size();
    lines_.clear();
    calls_.clear();
    std::fill(std::begin(counts_), std::end(counts_), 0);
}

std::vector<MethodStatistics> LineStore::statistics() const {
    const Hold hold(section_);
    return calls_.methods();
}

size_t LineStore::count(Level level) const {
    const Hold hold(section_);
    return counts_[static_cast<size_t>(level)];
}

}  // namespace smtrace
