#pragma once

#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "smtrace/CallStatistics.h"
#include "smtrace/TraceLine.h"
#include "windows/CriticalSection.h"

namespace smtrace {

struct StoredLine {
    std::string raw;
    Time time = 0;
    Time sinceLast = 0;   // microseconds since the line before, of whatever sender
    uint32_t sender = 0;  // process; 0 if it could not be found out
    uint16_t depth = 0;
    bool beginsCall = false;  // the host's own call, set apart

    // Parts of raw.
    TraceLine parsed() const { return parseLine(raw); }
};

// All lines, in the order in which they came. Every method may be called from every thread: one receives
// while others show and save. Lines have a number that never changes, from 0 on.
class LineStore {
public:
    void add(std::string raw, uint32_t sender, Time time);

    // One after the last.
    size_t end() const;
    // Nothing if it is gone.
    std::optional<StoredLine> line(size_t number) const;

    // Forgets the lines before this one: for programs that run for days.
    void dropBefore(size_t number);
    // For a line that no memory was left for.
    void countLost();
    size_t lost() const;

    // Forgets all lines and figures.
    void clear();

    std::vector<MethodStatistics> statistics() const;
    // How many lines of a level came since the beginning, dropped ones included.
    size_t count(Level level) const;

private:
    mutable gui::CriticalSection section_;
    std::deque<StoredLine> lines_;
    size_t first_ = 0;
    CallStatistics calls_;
    size_t counts_[levelCount] = {};
    size_t lost_ = 0;
    Time last_ = 0;
    bool separated_ = false;
};

}  // namespace smtrace
