#include "pages/JpegEncoder.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "pages/JpegTables.h"

namespace pages {

namespace {

constexpr int blockSize = 8;
constexpr int fullColorFrom = 90;
constexpr std::size_t pieceBytes = 1 << 15;

enum Marker : std::uint8_t {
    startOfFrame = 0xc0,
    huffmanTables = 0xc4,
    startOfImage = 0xd8,
    endOfImage = 0xd9,
    startOfScan = 0xda,
    quantizationTables = 0xdb,
    applicationData = 0xe0,
};

void appendMarker(Bytes& bytes, Marker marker) {
    bytes.insert(bytes.end(), {0xff, marker});
}

// One of the headers, its length before it.
void appendSegment(Bytes& bytes, Marker marker, const Bytes& content) {
    appendMarker(bytes, marker);
    appendBigEndian(bytes, static_cast<std::uint32_t>(content.size() + 2), 2);
    bytes.insert(bytes.end(), content.begin(), content.end());
}

// The frequencies of eight samples, after Arai, Agui and Nakajima: each comes out multiplied with a factor of
// its own (`frequencyFactor`), which the quantization takes back.
void transform(float* values, int step) {
    const auto at = [=](int i) -> float& { return values[i * step]; };
    const float sum07 = at(0) + at(7), difference07 = at(0) - at(7);
    const float sum16 = at(1) + at(6), difference16 = at(1) - at(6);
    const float sum25 = at(2) + at(5), difference25 = at(2) - at(5);
    const float sum34 = at(3) + at(4), difference34 = at(3) - at(4);

    const float outer = sum07 + sum34, inner = sum16 + sum25;
    const float outerGap = sum07 - sum34, innerGap = sum16 - sum25;
    const float even = (innerGap + outerGap) * 0.707106781f;
    at(0) = outer + inner;
    at(4) = outer - inner;
    at(2) = outerGap + even;
    at(6) = outerGap - even;

    const float first = difference34 + difference25;
    const float second = difference25 + difference16;
    const float third = difference16 + difference07;
    const float turn = (first - third) * 0.382683433f;
    const float low = 0.541196100f * first + turn;
    const float high = 1.306562965f * third + turn;
    const float middle = second * 0.707106781f;
    const float plus = difference07 + middle, minus = difference07 - middle;
    at(5) = minus + low;
    at(3) = minus - low;
    at(1) = plus + high;
    at(7) = plus - high;
}

double frequencyFactor(int frequency) {
    constexpr double sixteenthOfPi = 0.19634954084936207;
    return frequency == 0 ? 1.0 : std::cos(frequency * sixteenthOfPi) * std::sqrt(2.0);
}

int bitLength(int value) {
    int length = 0;
    for (unsigned magnitude = static_cast<unsigned>(std::abs(value)); magnitude != 0; magnitude >>= 1)
        ++length;
    return length;
}

}  // namespace

JpegEncoder::JpegEncoder(const PageFormat& format, int quality, Output output)
    : width_(format.width), output_(std::move(output)) {
    if (format.width > largestSide || format.height > largestSide)
        throw WriteError{0,
                         "the page has more pixels in a row or column than a JPEG picture can have "
                         "(65535)."};
    const bool color = format.color == ColorKind::Rgb;
    const int sampling = color && quality < fullColorFrom ? 2 : 1;
    unit_ = blockSize * sampling;
    paddedWidth_ = (width_ + unit_ - 1) / unit_ * unit_;
    const std::size_t bytes = static_cast<std::size_t>(paddedWidth_) * unit_;
    components_.push_back({sampling, 0, 0, Bytes(bytes)});
    for (int i = 0; color && i < 2; ++i)
        components_.push_back({1, 1, 0, Bytes(bytes)});
    makeTables(quality);
    writeHeaders(format);
}

void JpegEncoder::makeTables(int quality) {
    const int percent = quality < 50 ? 5000 / quality : 200 - 2 * quality;
    for (int table = 0; table < 2; ++table) {
        for (int i = 0; i < 64; ++i) {
            const int place = zigzag[i];
            const int step = std::clamp((quantizationSteps[table][place] * percent + 50) / 100, 1, 255);
            quantization_[table][i] = static_cast<std::uint8_t>(step);
            const double factor = frequencyFactor(place / 8) * frequencyFactor(place % 8);
            scale_[table][place] = static_cast<float>(1 / (8 * factor * step));
        }
        for (int frequencies = 0; frequencies < 2; ++frequencies) {
            const HuffmanLayout& layout = huffmanLayout(table, frequencies);
            std::uint16_t code = 0;
            std::size_t next = 0;
            for (std::uint8_t length = 1; length <= 16;
                 ++length, code = static_cast<std::uint16_t>(code << 1))
                for (int i = 0; i < layout.counts[length - 1]; ++i)
                    huffman_[table][frequencies].codes[layout.values[next++]] = {code++, length};
        }
    }
}

void JpegEncoder::writeHeaders(const PageFormat& format) {
    const int tables = components_.size() > 1 ? 2 : 1;
    appendMarker(buffer_, startOfImage);
    const bool known = format.resolutionKnown();
    Bytes jfif = {'J', 'F', 'I', 'F', 0, 1, 1, static_cast<std::uint8_t>(known ? 1 : 0)};
    appendBigEndian(jfif, known ? static_cast<std::uint32_t>(std::lround(format.xDotsPerInch)) : 1, 2);
    appendBigEndian(jfif, known ? static_cast<std::uint32_t>(std::lround(format.yDotsPerInch)) : 1, 2);
    jfif.insert(jfif.end(), {0, 0});  // no small picture
    appendSegment(buffer_, applicationData, jfif);

    Bytes quantization;
    for (int table = 0; table < tables; ++table) {
        quantization.push_back(static_cast<std::uint8_t>(table));
        quantization.insert(quantization.end(), quantization_[table].begin(), quantization_[table].end());
    }
    appendSegment(buffer_, quantizationTables, quantization);

    Bytes frame = {8};
    appendBigEndian(frame, static_cast<std::uint32_t>(format.height), 2);
    appendBigEndian(frame, static_cast<std::uint32_t>(format.width), 2);
    Bytes scan;
    frame.push_back(static_cast<std::uint8_t>(components_.size()));
    scan.push_back(static_cast<std::uint8_t>(components_.size()));
    std::uint8_t id = 1;
    for (const Component& component : components_) {
        const std::uint8_t table = static_cast<std::uint8_t>(component.table);
        frame.insert(frame.end(), {id, static_cast<std::uint8_t>(component.sampling * 0x11), table});
        scan.insert(scan.end(), {id, static_cast<std::uint8_t>(table * 0x11)});
        ++id;
    }
    appendSegment(buffer_, startOfFrame, frame);

    Bytes huffman;
    for (int table = 0; table < tables; ++table) {
        for (int frequencies = 0; frequencies < 2; ++frequencies) {
            const HuffmanLayout& layout = huffmanLayout(table, frequencies);
            huffman.push_back(static_cast<std::uint8_t>(frequencies << 4 | table));
            huffman.insert(huffman.end(), layout.counts.begin(), layout.counts.end());
            huffman.insert(huffman.end(), layout.values.begin(), layout.values.end());
        }
    }
    appendSegment(buffer_, huffmanTables, huffman);
    scan.insert(scan.end(), {0, 63, 0});  // all frequencies, at once
    appendSegment(buffer_, startOfScan, scan);
}

void JpegEncoder::row(const std::uint8_t* pixels) {
    convert(pixels);
    if (++rowsWaiting_ == unit_) encodeRows();
}

void JpegEncoder::convert(const std::uint8_t* pixels) {
    const std::size_t start = static_cast<std::size_t>(rowsWaiting_) * paddedWidth_;
    if (components_.size() == 1) {
        std::copy_n(pixels, width_, components_[0].samples.begin() + start);
    } else {
        std::uint8_t* const luma = components_[0].samples.data() + start;
        std::uint8_t* const blueness = components_[1].samples.data() + start;
        std::uint8_t* const redness = components_[2].samples.data() + start;
        // The factors of the JFIF format in 65536ths.
        for (int x = 0; x < width_; ++x, pixels += 3) {
            const int red = pixels[0], green = pixels[1], blue = pixels[2];
            constexpr int half = 1 << 15, middle = 128 << 16;
            luma[x] = static_cast<std::uint8_t>((19595 * red + 38470 * green + 7471 * blue + half) >> 16);
            blueness[x] = static_cast<std::uint8_t>(
                (-11059 * red - 21709 * green + 32768 * blue + middle + half - 1) >> 16);
            redness[x] = static_cast<std::uint8_t>(
                (32768 * red - 27439 * green - 5329 * blue + middle + half - 1) >> 16);
        }
    }
    for (Component& component : components_) {
        const auto first = component.samples.begin() + start;
        std::fill(first + width_, first + paddedWidth_, first[width_ - 1]);
    }
}

void JpegEncoder::encodeRows() {
    for (Component& component : components_) {
        // Below the last row it goes on.
        const auto end = component.samples.begin() + static_cast<std::size_t>(rowsWaiting_) * paddedWidth_;
        for (int row = rowsWaiting_; row < unit_; ++row)
            std::copy_n(end - paddedWidth_, paddedWidth_,
                        component.samples.begin() + static_cast<std::size_t>(row) * paddedWidth_);
        if (component.sampling * blockSize < unit_) halve(component);
    }
    for (int x = 0; x < paddedWidth_; x += unit_)
        for (Component& component : components_)
            for (int v = 0; v < component.sampling; ++v)
                for (int h = 0; h < component.sampling; ++h)
                    encodeBlock(component, x * component.sampling * blockSize / unit_ + h * blockSize,
                                v * blockSize);
    rowsWaiting_ = 0;
}

// The mean of each four samples, in the first halves of the first rows.
void JpegEncoder::halve(Component& component) {
    const std::size_t stride = static_cast<std::size_t>(paddedWidth_);
    for (std::size_t y = 0; y < blockSize; ++y) {
        const std::uint8_t* const above = component.samples.data() + 2 * y * stride;
        std::uint8_t* const target = component.samples.data() + y * stride;
        for (std::size_t x = 0; x < stride / 2; ++x) {
            const std::uint8_t* const four = above + 2 * x;
            target[x] =
                static_cast<std::uint8_t>((four[0] + four[1] + four[stride] + four[stride + 1] + 2) / 4);
        }
    }
}

void JpegEncoder::encodeBlock(Component& component, int x, int y) {
    Block block;
    for (int row = 0; row < blockSize; ++row) {
        const std::uint8_t* const samples =
            component.samples.data() + static_cast<std::size_t>(y + row) * paddedWidth_ + x;
        for (int column = 0; column < blockSize; ++column)
            block[row * blockSize + column] = static_cast<float>(samples[column] - 128);
        transform(&block[row * blockSize], 1);
    }
    for (int column = 0; column < blockSize; ++column)
        transform(&block[column], blockSize);

    const Block& scale = scale_[component.table];
    const auto quantized = [&](int place) {
        const float value = block[place] * scale[place];
        return static_cast<int>(value < 0 ? value - 0.5f : value + 0.5f);
    };
    const auto& tables = huffman_[component.table];
    const int mean = quantized(0);
    encodeNumber(mean - component.lastMean, tables[0], 0);
    component.lastMean = mean;
    int zeros = 0;
    for (int i = 1; i < 64; ++i) {
        const int value = quantized(zigzag[i]);
        if (value == 0) {
            ++zeros;
            continue;
        }
        constexpr int sixteenZeros = 0xf0;
        for (; zeros > 15; zeros -= 16)
            put(tables[1].codes[sixteenZeros].code, tables[1].codes[sixteenZeros].length);
        encodeNumber(value, tables[1], zeros);
        zeros = 0;
    }
    if (zeros > 0) put(tables[1].codes[0].code, tables[1].codes[0].length);
}

// The number's length with the zeros before it, and then its bits.
void JpegEncoder::encodeNumber(int value, const HuffmanTable& table, int zerosBefore) {
    const int length = bitLength(value);
    const HuffmanCode& code = table.codes[zerosBefore << 4 | length];
    put(code.code, code.length);
    const int bits = value < 0 ? value - 1 : value;
    if (length > 0) put(static_cast<std::uint32_t>(bits) & ((1u << length) - 1), length);
}

void JpegEncoder::put(std::uint32_t code, int length) {
    bits_ = bits_ << length | code;
    bitCount_ += length;
    while (bitCount_ >= 8) {
        bitCount_ -= 8;
        const std::uint8_t byte = static_cast<std::uint8_t>(bits_ >> bitCount_);
        buffer_.push_back(byte);
        if (byte == 0xff) buffer_.push_back(0);  // or it would be taken for a marker
    }
    if (buffer_.size() < pieceBytes) return;
    output_(buffer_.data(), buffer_.size());
    buffer_.clear();
}

void JpegEncoder::finish() {
    if (rowsWaiting_ > 0) encodeRows();
    if (bitCount_ > 0) put((1u << (8 - bitCount_)) - 1, 8 - bitCount_);
    appendMarker(buffer_, endOfImage);
    output_(buffer_.data(), buffer_.size());
    buffer_.clear();
}

}  // namespace pages
