// Byte and channel exchanges in place: both paths, every shape of a strip, nothing touched outside it.
#include "StripConversion.h"

#include <doctest.h>
#include <windows.h>

#include <algorithm>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

struct Exchange {
    const char* name;
    size_t pixelBytes;
    void (*run)(const StripRows& strip, ConversionPath path);
};
constexpr Exchange exchanges[] = {
    {"16-bit gray", 2, swapSampleBytes16}, {"24-bit", 3, swapRedBlue24}, {"48-bit", 6, reversePixels48}};

std::vector<ConversionPath> paths() {
    std::vector<ConversionPath> all{ConversionPath::Plain};
    if (fastestConversionPath() == ConversionPath::Ssse3) all.push_back(ConversionPath::Ssse3);
    return all;
}

const char* pathName(ConversionPath path) {
    return path == ConversionPath::Plain ? "plain" : "SSSE3";
}

// Memory between two pages that can't be accessed.
class GuardedBytes {
public:
    explicit GuardedBytes(size_t pages) : size_(pages * pageSize) {
        block_ = static_cast<uint8_t*>(
            VirtualAlloc(nullptr, size_ + 2 * pageSize, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
        REQUIRE(block_ != nullptr);
        DWORD before;
        REQUIRE(VirtualProtect(block_, pageSize, PAGE_NOACCESS, &before));
        REQUIRE(VirtualProtect(end(), pageSize, PAGE_NOACCESS, &before));
    }
    ~GuardedBytes() { VirtualFree(block_, 0, MEM_RELEASE); }
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;

    uint8_t* begin() { return block_ + pageSize; }
    uint8_t* end() { return begin() + size_; }
    size_t size() const { return size_; }
    // No two bytes near each other are the same.
    void fill() {
        uint8_t value = 1;
        for (uint8_t* byte = begin(); byte != end(); ++byte)
            *byte = value = static_cast<uint8_t>(value * 5 + 17);
    }
    Bytes content() { return Bytes(begin(), end()); }

private:
    static constexpr size_t pageSize = 4096;
    size_t size_;
    uint8_t* block_;
};

// What the strip must hold afterwards, worked out for each byte on its own.
Bytes expected(const Bytes& before, size_t pixelBytes, const StripRows& strip, size_t start) {
    Bytes after = before;
    for (size_t at = 0; at < strip.size; ++at) {
        if (strip.bytesPerRow == 0) break;
        const uint64_t row = at / strip.bytesPerRow;
        const uint64_t column = at % strip.bytesPerRow / pixelBytes;
        const uint64_t columns = std::min<uint64_t>(strip.columns, strip.bytesPerRow / pixelBytes);
        const uint64_t endOfRow = row * strip.bytesPerRow + columns * pixelBytes;
        if (row >= strip.rows || column >= columns || endOfRow > strip.size) continue;
        const size_t inPixel = at % strip.bytesPerRow % pixelBytes;
        after[start + at] = before[start + at - inPixel + (pixelBytes - 1 - inPixel)];
    }
    return after;
}

// Runs one exchange with the strip at the very end of accessible memory, then with it at the very beginning.
void check(const Exchange& exchange, ConversionPath path, GuardedBytes& memory, StripRows strip) {
    CAPTURE(exchange.name);
    CAPTURE(pathName(path));
    CAPTURE(strip.size);
    CAPTURE(strip.bytesPerRow);
    CAPTURE(strip.rows);
    CAPTURE(strip.columns);
    REQUIRE(strip.size <= memory.size());
    for (const size_t start : {memory.size() - strip.size, size_t{0}}) {
        memory.fill();
        const Bytes before = memory.content();
        strip.bytes = memory.begin() + start;
        exchange.run(strip, path);
        // One assertion for all bytes, so that no failure prints thousands.
        CHECK((memory.content() == expected(before, exchange.pixelBytes, strip, start)));
    }
}

TEST_CASE("Pixels have the order of a Windows DIB afterwards") {
    for (const ConversionPath path : paths()) {
        CAPTURE(pathName(path));
        Bytes gray{1, 2, 3, 4, 5, 6, 11, 12, 13, 14, 15, 16};
        swapSampleBytes16({gray.data(), gray.size(), 6, 2, 3}, path);
        CHECK(gray == Bytes{2, 1, 4, 3, 6, 5, 12, 11, 14, 13, 16, 15});

        Bytes rgb{'R', 'G', 'B', 'r', 'g', 'b', 0, 1};
        swapRedBlue24({rgb.data(), rgb.size(), 8, 1, 2}, path);
        CHECK(rgb == Bytes{'B', 'G', 'R', 'b', 'g', 'r', 0, 1});

        Bytes deep{'a', 'b', 'c', 'd', 'e', 'f'};
        reversePixels48({deep.data(), deep.size(), 6, 1, 1}, path);
        CHECK(deep == Bytes{'f', 'e', 'd', 'c', 'b', 'a'});
    }
}

TEST_CASE("Rows of every width, padded and not, are converted whole, and padding is left alone") {
    GuardedBytes memory{2};
    for (const Exchange& exchange : exchanges)
        for (const ConversionPath path : paths())
            for (uint32_t columns = 1; columns <= 70; ++columns)
                for (const uint32_t padding : {0u, 1u, 2u, 3u, 5u})
                    for (const uint32_t rows : {1u, 3u}) {
                        const auto row = static_cast<uint32_t>(columns * exchange.pixelBytes + padding);
                        check(exchange, path, memory, {nullptr, row * rows, row, rows, columns});
                    }
}

TEST_CASE("A strip may start at any address") {
    GuardedBytes memory{2};
    for (const Exchange& exchange : exchanges)
        for (const ConversionPath path : paths())
            for (size_t shift = 0; shift < 16; ++shift) {
                constexpr uint32_t columns = 67;
                const auto row = static_cast<uint32_t>(columns * exchange.pixelBytes);
                // Placed against either end of the memory, so that surplus bytes shift it.
                check(exchange, path, memory, {nullptr, row * 2 + shift, row, 2, columns});
            }
}

TEST_CASE("Fewer columns than the row has leave the rest of the row alone") {
    GuardedBytes memory{4};
    for (const Exchange& exchange : exchanges)
        for (const ConversionPath path : paths())
            for (const uint32_t columns : {0u, 1u, 8u, 33u, 99u, 100u}) {
                const auto row = static_cast<uint32_t>(100 * exchange.pixelBytes);
                check(exchange, path, memory, {nullptr, row * 5, row, 5, columns});
            }
}

TEST_CASE("A description that lies moves nothing outside the strip") {
    struct Lie {
        size_t size;
        uint32_t bytesPerRow, rows, columns;
    };
    constexpr uint32_t most = 0xFFFFFFFF;
    constexpr Lie lies[] = {
        {600, 0, 10, 10},           // no row length
        {600, 60, most, 10},        // rows without end
        {599, 60, 10, 10},          // the last row is cut short
        {600, 60, 10, most},        // columns without end
        {600, 61, 10, most},        // the same, and the row ends within a pixel
        {600, 60, 10, 0x80000001},  // bytes of a row that wrap around
        {600, 60, 10, 0x55555556},  // the same for three bytes a pixel
        {600, 60, 10, 0x2AAAAAAB},  // the same for six
        {600, 0x80000000, 4, 10},   // the second row's offset wraps around
        {600, most, most, most},    // everything
        {600, most, 3, 100},        // a row that would begin far behind the strip
        {600, 1, 600, 10},          // a row shorter than a pixel
        {600, 5, 100, 10},          // a row shorter than two
        {0, 60, 10, 10},            // no bytes at all
        {1, 60, 10, 10},            // fewer than a pixel
        {600, 60, 0, 10},           // no rows
    };
    GuardedBytes memory{1};
    for (const Exchange& exchange : exchanges)
        for (const ConversionPath path : paths())
            for (const Lie& lie : lies)
                check(exchange, path, memory, {nullptr, lie.size, lie.bytesPerRow, lie.rows, lie.columns});
}

}  // namespace
