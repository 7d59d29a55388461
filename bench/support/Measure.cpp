#include "support/Measure.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace bench {

namespace {

// The same work in every round: what its times spread is the machine's doing.
std::vector<double> referenceTimes;

void timeReference() {
    const double start = secondsNow();
    volatile uint32_t value = 1;
    for (int i = 0; i < 20000; ++i)
        value = value * 1664525 + 1013904223;
    referenceTimes.push_back(secondsNow() - start);
}

}  // namespace

double secondsNow() {
    LARGE_INTEGER count, perSecond;
    QueryPerformanceCounter(&count);
    QueryPerformanceFrequency(&perSecond);
    return static_cast<double>(count.QuadPart) / static_cast<double>(perSecond.QuadPart);
}

double medianOf(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

size_t Race::add(Work work) {
    turns_.push_back({nullptr, std::move(work), 1, {}});
    return turns_.size() - 1;
}

size_t Race::addTimed(TimedWork work) {
    turns_.push_back({std::move(work), nullptr, 1, {}});
    return turns_.size() - 1;
}

double Race::take(const Turn& turn) {
    const double start = secondsNow();
    double seconds = 0;
    for (int i = 0; i < turn.repetitions; ++i) {
        if (turn.timedWork) seconds += turn.timedWork();
        if (turn.work) turn.work();
    }
    return (turn.timedWork ? seconds : secondsNow() - start) / turn.repetitions;
}

void Race::run(int rounds, double secondsPerTurn) {
    for (Turn& turn : turns_) {
        take(turn);
        while (take(turn) * turn.repetitions < secondsPerTurn)
            turn.repetitions *= 2;
    }
    for (int round = 0; round < rounds; ++round) {
        timeReference();
        // Nobody always comes after the same one.
        for (size_t i = 0; i < turns_.size(); ++i) {
            Turn& turn = turns_[round % 2 == 0 ? i : turns_.size() - 1 - i];
            turn.seconds.push_back(take(turn));
        }
    }
}

double Race::ratio(size_t contestant, size_t reference) const {
    std::vector<double> ratios;
    for (size_t i = 0; i < turns_[contestant].seconds.size(); ++i)
        ratios.push_back(turns_[contestant].seconds[i] / turns_[reference].seconds[i]);
    return medianOf(ratios);
}

Verdicts::Verdicts(const std::string& title) {
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    std::printf("%s\n%-44s %8s %8s\n", title.c_str(), "", "value", "at most");
}

void Verdicts::row(const std::string& name, double value, double limit, const std::string& remark) {
    const bool good = value <= limit;
    good_ = good_ && good;
    std::printf("%-44s %8.2f %8.2f  %s%s%s\n", name.c_str(), value, limit, good ? "good" : "TOO MUCH",
                remark.empty() ? "" : "  ", remark.c_str());
}

int Verdicts::end() {
    if (!referenceTimes.empty()) {
        std::sort(referenceTimes.begin(), referenceTimes.end());
        const auto at = [](size_t tenths) {
            return referenceTimes[(referenceTimes.size() - 1) * tenths / 10];
        };
        std::printf(
            "The machine: a fixed loop took %.0f us, from %+.0f %% to %+.0f %% in eight of ten rounds.\n",
            at(5) * 1e6, (at(1) / at(5) - 1) * 100, (at(9) / at(5) - 1) * 100);
    }
    return good_ ? 0 : 1;
}

}  // namespace bench
