#include "pages/TiffWriter.h"

#include <algorithm>
#include <cmath>

namespace pages {

namespace {

constexpr std::uint8_t fileHeader[] = {'I', 'I', 42, 0, 0, 0, 0, 0};
constexpr std::size_t stripTarget = 1 << 18;  // bytes before compression

constexpr std::uint32_t compressionFax4 = 4;
constexpr std::uint32_t compressionDeflate = 8;
constexpr std::uint32_t onePageOfMany = 2;

std::uint32_t photometricOf(const PageFormat& format) {
    constexpr std::uint32_t whiteIsZero = 0, blackIsZero = 1, rgb = 2, palette = 3;
    if (format.color == ColorKind::Rgb) return rgb;
    if (format.color == ColorKind::Palette) return palette;
    return format.bits == 1 ? whiteIsZero : blackIsZero;
}

bool isFax(const PageFormat& format) {
    return format.color == ColorKind::Gray && format.bits == 1;
}

bool usesDifference(const PageFormat& format) {
    return format.color == ColorKind::Rgb || (format.color == ColorKind::Gray && format.bits == 8);
}

std::vector<std::uint32_t> rational(double value) {
    constexpr double denominator = 100;
    return {static_cast<std::uint32_t>(std::lround(value * denominator)),
            static_cast<std::uint32_t>(denominator)};
}

std::vector<std::uint32_t> colorMapOf(const PageFormat& format) {
    std::vector<std::uint32_t> map;
    const std::size_t count = std::size_t{1} << format.bits;
    for (std::uint8_t shared::BmpColor::*channel :
         {&shared::BmpColor::red, &shared::BmpColor::green, &shared::BmpColor::blue})
        for (std::size_t i = 0; i < count; ++i)
            map.push_back(i < format.palette.size() ? format.palette[i].*channel * 257u : 0);
    return map;
}

std::uint32_t checkedOffset(std::uint64_t offset) {
    constexpr std::uint64_t largest = 0xffffffff;
    if (offset > largest) throw WriteError{0, "it would be larger than a TIFF file can be (4 GiB)."};
    return static_cast<std::uint32_t>(offset);
}

}  // namespace

TiffWriter::TiffWriter(const std::wstring& path)
    : sink_(path),
      deflater_([this](const std::uint8_t* bytes, std::size_t count) { sink_.write(bytes, count); }) {
    sink_.write(fileHeader, sizeof fileHeader);
    endOfPages_ = sink_.offset();
}

void TiffWriter::begin(const PageFormat& format) {
    format_ = format;
    stripOffsets_.clear();
    stripBytes_.clear();
    rowsInStrip_ = 0;
    difference_.resize(usesDifference(format) ? format.rowBytes() : 0);
    fax_.reset();
    rowsPerStrip_ = format.height;
    if (isFax(format)) {
        fax_.emplace(format.width,
                     [this](const std::uint8_t* bytes, std::size_t count) { sink_.write(bytes, count); });
    } else {
        const std::size_t rows = std::max<std::size_t>(1, stripTarget / format.rowBytes());
        rowsPerStrip_ =
            static_cast<int>(std::min<std::size_t>(rows, static_cast<std::size_t>(format.height)));
    }
}

void TiffWriter::row(const std::uint8_t* pixels) {
    if (rowsInStrip_ == 0) startStrip();
    if (fax_) {
        fax_->row(pixels);
    } else if (!difference_.empty()) {
        const std::size_t pixelBytes = static_cast<std::size_t>(format_.bits) / 8;
        std::copy_n(pixels, pixelBytes, difference_.begin());
        for (std::size_t i = pixelBytes; i < difference_.size(); ++i)
            difference_[i] = static_cast<std::uint8_t>(pixels[i] - pixels[i - pixelBytes]);
        deflater_.add(difference_.data(), difference_.size());
    } else {
        deflater_.add(pixels, format_.rowBytes());
    }
    if (++rowsInStrip_ == rowsPerStrip_) endStrip();
}

void TiffWriter::startStrip() {
    stripOffsets_.push_back(checkedOffset(sink_.offset()));
}

void TiffWriter::endStrip() {
    if (fax_)
        fax_->finish();
    else
        deflater_.finish();
    stripBytes_.push_back(checkedOffset(sink_.offset()) - stripOffsets_.back());
    rowsInStrip_ = 0;
}

TiffDirectory TiffWriter::directory(std::uint32_t offset) const {
    const bool rgb = format_.color == ColorKind::Rgb;
    const bool known = format_.resolutionKnown();
    TiffDirectory entries(offset);
    entries.add(newSubfileType, longType, {onePageOfMany});
    entries.add(imageWidth, longType, {static_cast<std::uint32_t>(format_.width)});
    entries.add(imageLength, longType, {static_cast<std::uint32_t>(format_.height)});
    if (rgb)
        entries.add(bitsPerSample, shortType, {8, 8, 8});
    else
        entries.add(bitsPerSample, shortType, {static_cast<std::uint32_t>(format_.bits)});
    entries.add(compression, shortType, {fax_ ? compressionFax4 : compressionDeflate});
    entries.add(photometric, shortType, {photometricOf(format_)});
    entries.add(stripOffsets, longType, stripOffsets_);
    entries.add(samplesPerPixel, shortType, {rgb ? 3u : 1u});
    entries.add(rowsPerStrip, longType, {static_cast<std::uint32_t>(rowsPerStrip_)});
    entries.add(stripByteCounts, longType, stripBytes_);
    entries.add(xResolution, rationalType, rational(known ? format_.xDotsPerInch : 1));
    entries.add(yResolution, rationalType, rational(known ? format_.yDotsPerInch : 1));
    entries.add(resolutionUnit, shortType, {known ? 2u : 1u});
    entries.add(pageNumber, shortType, {static_cast<std::uint32_t>(pages_), 0});
    if (!difference_.empty()) entries.add(predictor, shortType, {2});
    if (format_.color == ColorKind::Palette) entries.add(colorMap, shortType, colorMapOf(format_));
    return entries;
}

void TiffWriter::end() {
    if (rowsInStrip_ > 0) endStrip();
    if (sink_.offset() % 2 != 0) sink_.write("\0", 1);
    const std::uint32_t offset = checkedOffset(sink_.offset());
    const TiffDirectory entries = directory(offset);
    const Bytes bytes = entries.bytes();
    sink_.write(bytes.data(), bytes.size());
    checkedOffset(sink_.offset());

    // Only now does the page belong to the file.
    Bytes link;
    appendLittleEndian(link, offset, 4);
    sink_.patch(linkAt_, link.data(), link.size());
    linkAt_ = entries.linkAt();
    endOfPages_ = sink_.offset();
    ++pages_;
}

}  // namespace pages
