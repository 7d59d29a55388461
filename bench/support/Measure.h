// Measuring that bears a busy machine: contestants take turns in many short rounds, each round gives a ratio,
// and the median of the rounds counts.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

double secondsNow();
double medianOf(std::vector<double> values);

// A measured value.
struct Measured {
    double value;
    std::string remark = {};
    double spread = 0;  // half of the rounds lie so far apart, as a part of the value
};

// Things that are timed in turn.
class Race {
public:
    using Work = std::function<void()>;

    // Gives the contestant's number.
    size_t add(Work work);
    // One that says itself how many seconds of its work count.
    using TimedWork = std::function<double()>;
    size_t addTimed(TimedWork work);
    // Each contestant works about so long in each round; more than one of its works when it is fast.
    void run(int rounds, double secondsPerTurn = 200e-6);

    double seconds(size_t contestant) const { return medianOf(turns_[contestant].seconds); }
    // The first as a multiple of the second.
    Measured ratio(size_t contestant, size_t reference, const std::string& remark = "") const;

private:
    struct Turn {
        TimedWork timedWork;  // one of the two
        Work work;
        int repetitions = 1;
        std::vector<double> seconds;  // of one work, round by round
    };

    static double take(const Turn& turn);

    std::vector<Turn> turns_;
};

// Prints rows of name, value and limit, and remembers which of them were above their limits.
class Verdicts {
public:
    explicit Verdicts(const std::string& title);
    // A value above its limit is measured twice more, and the middle one of the three counts: so near to a
    // limit a busy machine would decide.
    void row(const std::string& name, double limit, const std::function<Measured()>& measure);
    // What can be measured only once.
    void row(const std::string& name, double limit, const Measured& measured);
    // Prints how evenly the machine worked; gives the program's exit code.
    int end();

private:
    bool good_ = true;
};

}  // namespace bench
