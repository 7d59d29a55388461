#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "pages/ByteOrder.h"
#include "pages/PageWriter.h"

namespace pages {

// Baseline JPEG (ITU recommendation T.81) with the usual tables: gray, or red, green, blue, 8 bits each. From
// quality 90 on colour is kept for every pixel, below for each square of four.
class JpegEncoder {
public:
    static constexpr int largestSide = 65535;

    using Output = std::function<void(const std::uint8_t* bytes, std::size_t count)>;

    // Throws WriteError when such a picture can't be.
    JpegEncoder(const PageFormat& format, int quality, Output output);

    void row(const std::uint8_t* pixels);

    void finish();

private:
    using Block = std::array<float, 64>;

    struct HuffmanCode {
        std::uint16_t code;
        std::uint8_t length;
    };
    struct HuffmanTable {
        std::array<HuffmanCode, 256> codes{};
    };
    struct Component {
        int sampling;  // blocks in each direction
        int table;     // 0: brightness, 1: colour
        int lastMean;
        std::vector<std::uint8_t> samples;  // of the rows that wait for being coded
    };

    void writeHeaders(const PageFormat& format);
    void makeTables(int quality);
    void convert(const std::uint8_t* pixels);
    void encodeRows();
    void halve(Component& component);
    void encodeBlock(Component& component, int x, int y);
    void encodeNumber(int value, const HuffmanTable& table, int zerosBefore);
    void put(std::uint32_t code, int length);

    int width_;
    int paddedWidth_;
    int unit_;  // rows, and columns, that are coded together
    int rowsWaiting_ = 0;
    std::vector<Component> components_;
    std::array<std::array<std::uint8_t, 64>, 2> quantization_{};  // in zigzag order
    std::array<Block, 2> scale_{};                                // what a frequency is multiplied with
    std::array<std::array<HuffmanTable, 2>, 2> huffman_{};        // by table; mean, frequencies
    Output output_;
    Bytes buffer_;
    std::uint32_t bits_ = 0;
    int bitCount_ = 0;
};

}  // namespace pages
