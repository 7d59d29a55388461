#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "smtrace/TraceLine.h"

namespace smtrace {

// Microseconds of a clock that only goes forward.
using Time = int64_t;

struct MethodStatistics {
    std::string method;
    uint32_t calls = 0;
    uint32_t returns = 0;  // less than calls while one is under way, or when it ended without a line
    Time inside = 0;       // of those that returned, what they called included
    Time longest = 0;
};

// Follows the calls of every sender: how deep a line stands, and how long each method took.
class CallStatistics {
public:
    // Takes the next line of this sender; gives the depth at which to show it.
    uint16_t add(uint32_t sender, const TraceLine& line, Time time);

    // By time inside, longest first.
    std::vector<MethodStatistics> methods() const;
    void clear() { methods_.clear(); }

private:
    struct OpenCall {
        std::string method;
        Time began;
    };

    uint16_t close(std::vector<OpenCall>& open, std::string_view method, Time time);

    std::map<uint32_t, std::vector<OpenCall>> open_;  // by sender
    std::map<std::string, MethodStatistics, std::less<>> methods_;
};

}  // namespace smtrace
