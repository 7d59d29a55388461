#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "smtrace/LineStore.h"

namespace smtrace {

// Whether text holds a part; upper and lower case are the same.
bool contains(std::string_view text, std::string_view part);

struct LineFilter {
    bool levels[levelCount] = {true, true, true, true};
    std::string text;  // empty: every text; sought in the whole line, its place included

    bool passes(const StoredLine& line) const;
};

// The numbers of the lines that pass a filter, kept up as lines come.
class FilteredLines {
public:
    explicit FilteredLines(const LineStore& store) : store_(store) {}

    // Begins anew.
    void setFilter(const LineFilter& filter);
    // Takes in what has come since; tells whether that was anything.
    bool update();
    // For a store that was cleared.
    void forget();

    size_t size() const { return numbers_.size(); }
    std::optional<StoredLine> line(size_t row) const;
    // The row of the next line with this text, from one row on and around the end.
    std::optional<size_t> find(const std::string& text, size_t from) const;

private:
    const LineStore& store_;
    LineFilter filter_;
    std::vector<size_t> numbers_;
    size_t seen_ = 0;
};

}  // namespace smtrace
