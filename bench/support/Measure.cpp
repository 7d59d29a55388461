#include "support/Measure.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace bench {

namespace {

// The same work in every round, of the processor and of the memory that all its cores share: what its times
// spread is the machine's doing.
std::vector<double> loopTimes, copyTimes;

void timeReference() {
    const double start = secondsNow();
    volatile uint32_t value = 1;
    for (int i = 0; i < 20000; ++i)
        value = value * 1664525 + 1013904223;
    const double between = secondsNow();
    constexpr size_t piece = 256 << 10, plenty = 64 << 20;
    static std::vector<uint8_t> memory(plenty, 1), cache(piece);
    static size_t at = 0;
    std::memcpy(cache.data(), memory.data() + at, piece);
    at = (at + piece) % plenty;
    loopTimes.push_back(between - start);
    copyTimes.push_back(secondsNow() - between);
}

double partOf(std::vector<double>& values, size_t tenths) {
    std::sort(values.begin(), values.end());
    return values[(values.size() - 1) * tenths / 10];
}

// Prints how far the times of eight in ten rounds lie apart; gives that as a part of the middle one.
double printSpread(const char* what, std::vector<double> times) {
    const double low = partOf(times, 1), middle = partOf(times, 5), high = partOf(times, 9);
    std::printf("The machine: %s took %.0f us, from %+.0f %% to %+.0f %% in eight of ten rounds.\n", what,
                middle * 1e6, (low / middle - 1) * 100, (high / middle - 1) * 100);
    return (high - low) / middle;
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

Measured Race::ratio(size_t contestant, size_t reference, const std::string& remark) const {
    std::vector<double> ratios;
    for (size_t i = 0; i < turns_[contestant].seconds.size(); ++i)
        ratios.push_back(turns_[contestant].seconds[i] / turns_[reference].seconds[i]);
    std::sort(ratios.begin(), ratios.end());
    const double middle = medianOf(ratios);
    const double half = ratios[ratios.size() * 3 / 4] - ratios[ratios.size() / 4];
    return {middle, remark, half / middle};
}

Verdicts::Verdicts(const std::string& title) {
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    std::printf("%s\n%-44s %8s %8s\n", title.c_str(), "", "value", "at most");
}

void Verdicts::row(const std::string& name, double limit, const std::function<Measured()>& measure) {
    std::vector<Measured> all = {measure()};
    if (all[0].value > limit) {
        all.push_back(measure());
        all.push_back(measure());
        std::sort(all.begin(), all.end(),
                  [](const Measured& one, const Measured& other) { return one.value < other.value; });
    }
    row(name, limit, all[all.size() / 2]);
}

void Verdicts::row(const std::string& name, double limit, const Measured& measured) {
    const bool good = measured.value <= limit;
    good_ = good_ && good;
    std::printf("%-44s %8.3f %8.2f  %s", name.c_str(), measured.value, limit, good ? "good" : "TOO MUCH");
    constexpr double closeEnough = 0.25;
    if (measured.spread != 0)
        std::printf("  half the rounds within %.0f %%%s", measured.spread * 100,
                    measured.spread > closeEnough ? ", too uneven to judge by" : "");
    std::printf("%s%s\n", measured.remark.empty() ? "" : "; ", measured.remark.c_str());
}

int Verdicts::end() {
    if (!loopTimes.empty()) {
        constexpr double evenEnough = 0.5;
        const double loop = printSpread("a fixed loop", loopTimes);
        const double copy = printSpread("a copy out of memory", copyTimes);
        if (std::max(loop, copy) > evenEnough)
            std::printf("The machine is too busy to judge by: measure again when nothing else runs.\n");
    }
    return good_ ? 0 : 1;
}

}  // namespace bench
