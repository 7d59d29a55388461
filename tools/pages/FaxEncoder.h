#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace pages {

// Black and white as the ITU recommendation T.6 codes it (CCITT group 4).
class FaxEncoder {
public:
    using Output = std::function<void(const std::uint8_t* bytes, std::size_t count)>;

    FaxEncoder(int width, Output output);

    // A set bit is white.
    void row(const std::uint8_t* pixels);

    void finish();

private:
    using Changes = std::vector<int>;

    void findChanges(const std::uint8_t* pixels);
    void put(std::uint32_t code, int length);
    void put(const char* code);
    void putRun(int length, bool black);

    int width_;
    Output output_;
    Changes above_;    // where the colour changes in the row above, beginning with white
    Changes present_;  // the same in this row
    std::uint32_t bits_ = 0;
    int bitCount_ = 0;
    std::vector<std::uint8_t> buffer_;
};

}  // namespace pages
