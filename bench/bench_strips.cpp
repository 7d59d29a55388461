// How fast strips are converted in place, beside the lightest pass in place over the same bytes: what is
// measured is the conversion, not the memory. Fails when the path that the module would take is more than
// twice as slow as that pass.
#include <cstdio>

#include "base/GlobalBuffer.h"
#include "support/Measure.h"
#include "transfer/StripConversion.h"

namespace {

constexpr uint32_t columns = 2480;  // an A4 page at 300 dots per inch

struct Exchange {
    const char* name;
    uint32_t pixelBytes;
    void (*run)(const StripRows& strip, ConversionPath path);
};
constexpr Exchange exchanges[] = {
    {"24-bit", 3, swapRedBlue24}, {"48-bit", 6, reversePixels48}, {"16-bit gray", 2, swapSampleBytes16}};

void invert(uint8_t* bytes, size_t size) {
    for (size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<uint8_t>(~bytes[i]);
}

void measure(bench::Verdicts& verdicts, const Exchange& exchange, uint32_t stripBytes) {
    const GlobalBuffer strip{stripBytes};
    const uint32_t rowBytes = columns * exchange.pixelBytes;
    const uint32_t rowCount = stripBytes / rowBytes;
    const StripRows rows = {strip.data(), size_t{rowBytes} * rowCount, rowBytes, rowCount, columns};
    const ConversionPath path = fastestConversionPath();
    const auto time = [&]() -> bench::Measured {
        bench::Race race;
        const size_t conversion = race.add([&] { exchange.run(rows, path); });
        const size_t plain = race.add([&] { exchange.run(rows, ConversionPath::Plain); });
        const size_t pass = race.add([&] { invert(rows.bytes, rows.size); });
        race.run(201);
        const auto speed = [&](size_t contestant) {
            return static_cast<double>(rows.size) / race.seconds(contestant) / 1e9;
        };
        char remark[60];
        std::snprintf(remark, sizeof remark, "%.1f GB/s; %.1f without SSSE3", speed(conversion),
                      speed(plain));
        return race.ratio(conversion, pass, remark);
    };
    verdicts.row(std::string(exchange.name) + ", " + std::to_string(stripBytes >> 10) + " KiB", 2, time);
}

}  // namespace

int main() {
    bench::Verdicts verdicts{
        "Strips converted in place, as multiples of a pass in place that inverts each byte"};
    if (fastestConversionPath() != ConversionPath::Ssse3) {
        std::printf("This processor has no SSSE3; the plain path is not judged.\n");
        return 0;
    }
    for (const uint32_t stripBytes : {64u << 10, 1u << 20}) {
        for (const Exchange& exchange : exchanges)
            measure(verdicts, exchange, stripBytes);
    }
    return verdicts.end();
}
