// Measuring that bears a busy machine: contestants take turns in many short rounds, each round gives a ratio,
// and the median of the rounds counts.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace bench {

double secondsNow();
double medianOf(std::vector<double> values);

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
    double ratio(size_t contestant, size_t reference) const;

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

// Prints rows of name, value and limit, and remembers whether one of them was above its limit.
class Verdicts {
public:
    explicit Verdicts(const std::string& title);
    void row(const std::string& name, double value, double limit, const std::string& remark = "");
    // Prints how evenly the machine worked; gives the program's exit code.
    int end();

private:
    bool good_ = true;
};

}  // namespace bench
