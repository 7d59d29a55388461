// The linear mapping between the host's scale of a tone control and the source's range. Pure.
#pragma once

#include <cstdint>

#include "capabilities/Containers.h"

// A source's range of one tone capability, as last asked.
struct ToneRange {
    double min;
    double max;
    double step;
};

// The host's scale, given with every call; its bounds differ.
struct HostScale {
    int16_t min;
    int16_t max;

    bool isEmpty() const { return min == max; }
    // Truncated toward zero.
    int16_t midpoint() const { return static_cast<int16_t>((min + max) / 2); }
};

// Snaps to the nearest step counted from the range's minimum (halves away from it). Nothing is clamped: a
// value outside the host's scale maps outside the source's range. Kept: the minimum is added and taken off
// again, which rounds, and the number of steps is cut to 16 bits.
inline double mapToSource(int16_t value, HostScale scale, const ToneRange& range) {
    const double ratio = static_cast<double>(value - scale.min) / (scale.max - scale.min);
    const double steps = (ratio * (range.max - range.min) + range.min - range.min) / range.step + 0.5;
    return static_cast<int16_t>(truncated(steps)) * range.step + range.min;
}

inline int16_t mapToHost(double value, HostScale scale, const ToneRange& range) {
    const double mapped =
        (value - range.min) / (range.max - range.min) * (scale.max - scale.min) + scale.min + 0.5;
    return static_cast<int16_t>(truncated(mapped));
}
