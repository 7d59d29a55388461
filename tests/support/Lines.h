// A list of recorded texts, compared as a whole and printed one per line when a comparison fails.
#pragma once

#include <initializer_list>
#include <ostream>
#include <string>
#include <vector>

class Lines : public std::vector<std::string> {
public:
    using std::vector<std::string>::vector;

    Lines& operator+=(const Lines& more) {
        insert(end(), more.begin(), more.end());
        return *this;
    }
    friend Lines operator+(Lines first, const Lines& second) { return first += second; }
    friend Lines operator*(int count, const Lines& lines) {
        Lines all;
        for (int i = 0; i < count; ++i)
            all += lines;
        return all;
    }

    // Those that contain the text.
    Lines with(const std::string& text) const {
        Lines found;
        for (const std::string& line : *this)
            if (line.find(text) != std::string::npos) found.push_back(line);
        return found;
    }
    Lines last(size_t count) const { return Lines(end() - static_cast<std::ptrdiff_t>(count), end()); }

    friend std::ostream& operator<<(std::ostream& out, const Lines& lines) {
        out << lines.size() << " lines";
        for (const std::string& line : lines)
            out << "\n    " << line;
        return out << "\n";
    }
};

// What happens around the module while a test runs, in one list and in its order: the operations that the
// manager gets, the messages that the host gets ("XferEnd 0"), message boxes, the warnings ("! text").
inline Lines journal;
