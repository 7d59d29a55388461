#include "smtrace/CallStatistics.h"

#include <algorithm>

namespace smtrace {

uint16_t CallStatistics::add(uint32_t sender, const TraceLine& line, Time time) {
    std::vector<OpenCall>& open = open_[sender];
    switch (line.kind) {
        case Kind::Start:
        // Not every method says that it ends: only the next call from the host shows that nothing is open.
        case Kind::Separator:
            open.clear();
            return 0;
        case Kind::Call: {
            const auto depth = static_cast<uint16_t>(open.size());
            open.push_back({std::string(line.method), time});
            MethodStatistics& method = methods_[open.back().method];
            method.method = line.method;
            ++method.calls;
            return depth;
        }
        case Kind::Return:
            return close(open, line.method, time);
        case Kind::Text:
            break;
    }
    return static_cast<uint16_t>(open.size());
}

// What was called inside and didn't say that it ended, ends with it. A return whose call was not shown (the
// trace was switched on in between) closes nothing.
uint16_t CallStatistics::close(std::vector<OpenCall>& open, std::string_view method, Time time) {
    const auto call =
        std::find_if(open.rbegin(), open.rend(), [&](const OpenCall& each) { return each.method == method; });
    if (call == open.rend()) return static_cast<uint16_t>(open.size());
    MethodStatistics& statistics = methods_[call->method];
    // The figures may have been cleared since the call.
    statistics.method = method;
    const Time inside = time - call->began;
    ++statistics.returns;
    statistics.calls = std::max(statistics.calls, statistics.returns);
    statistics.inside += inside;
    statistics.longest = std::max(statistics.longest, inside);
    open.erase(call.base() - 1, open.end());
    return static_cast<uint16_t>(open.size());
}

std::vector<MethodStatistics> CallStatistics::methods() const {
    std::vector<MethodStatistics> list;
    for (const auto& entry : methods_)
        list.push_back(entry.second);
    std::stable_sort(list.begin(), list.end(),
                     [](const auto& left, const auto& right) { return left.inside > right.inside; });
    return list;
}

}  // namespace smtrace
