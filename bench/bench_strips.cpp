// How fast strips are converted in place, beside memcpy of the same bytes into another buffer. Both run in
// turn on memory of the kind the module uses, in rounds of some megabytes; the median of the rounds counts.
// Fails when the path that the module would take has less than half of memcpy's speed.
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <vector>

#include "base/GlobalBuffer.h"
#include "transfer/StripConversion.h"

namespace {

constexpr double leastRatio = 0.5;
constexpr int rounds = 201;
constexpr size_t roundBytes = 4 << 20;
constexpr uint32_t columns = 2480;  // an A4 page at 300 dots per inch

struct Exchange {
    const char* name;
    uint32_t pixelBytes;
    void (*run)(const StripRows& strip, ConversionPath path);
};
constexpr Exchange exchanges[] = {
    {"24-bit", 3, swapRedBlue24}, {"48-bit", 6, reversePixels48}, {"16-bit gray", 2, swapSampleBytes16}};

struct StripSize {
    const char* name;
    uint32_t bytes;
};
constexpr StripSize stripSizes[] = {{"64 KiB", 64 << 10}, {"1 MiB", 1 << 20}};

double secondsNow() {
    LARGE_INTEGER count, perSecond;
    QueryPerformanceCounter(&count);
    QueryPerformanceFrequency(&perSecond);
    return static_cast<double>(count.QuadPart) / static_cast<double>(perSecond.QuadPart);
}

// One of the things compared, and how long its rounds took.
class Contestant {
public:
    template <class Work>
    void runRound(size_t repetitions, Work work) {
        const double start = secondsNow();
        for (size_t i = 0; i < repetitions; ++i)
            work();
        seconds_.push_back((secondsNow() - start) / static_cast<double>(repetitions));
    }

    double gigabytesPerSecond(size_t bytes) {
        const auto median = seconds_.begin() + static_cast<ptrdiff_t>(seconds_.size() / 2);
        std::nth_element(seconds_.begin(), median, seconds_.end());
        return static_cast<double>(bytes) / *median / 1e9;
    }

private:
    std::vector<double> seconds_;
};

// Measures one kind of strip and prints its line; gives the ratio of the path that the module would take.
double measure(const Exchange& exchange, const StripSize& size) {
    const GlobalBuffer strip{size.bytes};
    const GlobalBuffer copy{size.bytes};
    const uint32_t rowBytes = columns * exchange.pixelBytes;
    const uint32_t rowCount = size.bytes / rowBytes;
    const size_t bytes = static_cast<size_t>(rowBytes) * rowCount;
    const StripRows rows = {strip.data(), bytes, rowBytes, rowCount, columns};
    // Through a pointer that the compiler can't see behind: the call is never left away.
    void* (*volatile copyBytes)(void*, const void*, size_t) = std::memcpy;

    const bool hasSsse3 = fastestConversionPath() == ConversionPath::Ssse3;
    const size_t repetitions = roundBytes / bytes;
    Contestant memcpyRounds, plainRounds, ssse3Rounds;
    for (int round = 0; round < rounds; ++round) {
        memcpyRounds.runRound(repetitions, [&] { copyBytes(copy.data(), strip.data(), bytes); });
        plainRounds.runRound(repetitions, [&] { exchange.run(rows, ConversionPath::Plain); });
        if (hasSsse3) ssse3Rounds.runRound(repetitions, [&] { exchange.run(rows, ConversionPath::Ssse3); });
    }

    const double memcpySpeed = memcpyRounds.gigabytesPerSecond(bytes);
    const double plainSpeed = plainRounds.gigabytesPerSecond(bytes);
    std::printf("%-8s %-12s %8.1f %8.1f %6.2f", size.name, exchange.name, memcpySpeed, plainSpeed,
                plainSpeed / memcpySpeed);
    double speed = plainSpeed;
    if (hasSsse3) {
        speed = ssse3Rounds.gigabytesPerSecond(bytes);
        std::printf(" %8.1f %6.2f", speed, speed / memcpySpeed);
    }
    std::printf("\n");
    return speed / memcpySpeed;
}

}  // namespace

int main() {
    std::printf("Strips converted in place, GB/s (10^9 bytes), median of %d rounds; ratio: to memcpy\n",
                rounds);
    std::printf("%-8s %-12s %8s %8s %6s %8s %6s\n", "strip", "pixels", "memcpy", "plain", "ratio", "SSSE3",
                "ratio");
    double worst = 1e9;
    for (const StripSize& size : stripSizes)
        for (const Exchange& exchange : exchanges)
            worst = std::min(worst, measure(exchange, size));

    if (fastestConversionPath() != ConversionPath::Ssse3) {
        std::printf("This processor has no SSSE3; the plain path is not judged.\n");
        return 0;
    }
    std::printf("Lowest ratio of SSSE3: %.2f; required: %.2f. %s\n", worst, leastRatio,
                worst < leastRatio ? "TOO SLOW" : "Good.");
    return worst < leastRatio ? 1 : 0;
}
