#include "pages/PngWriter.h"

#include <cstring>

#include "pages/ByteOrder.h"

namespace pages {

namespace {

constexpr std::uint8_t signature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};

std::uint8_t colorType(ColorKind color) {
    switch (color) {
        case ColorKind::Rgb:
            return 2;
        case ColorKind::Palette:
            return 3;
        case ColorKind::Gray:
            break;
    }
    return 0;
}

}  // namespace

void PngWriter::chunk(const char* type, const std::uint8_t* bytes, std::size_t count) {
    Bytes head;
    appendBigEndian(head, static_cast<std::uint32_t>(count), 4);
    head.insert(head.end(), type, type + 4);
    // The check covers type and bytes. zlib takes no bytes (a null pointer) for a question about the start
    // value.
    uLong check = crc32(crc32(0, nullptr, 0), head.data() + 4, 4);
    if (count > 0) check = crc32(check, bytes, static_cast<uInt>(count));
    sink_.write(head.data(), head.size());
    if (count > 0) sink_.write(bytes, count);
    Bytes tail;
    appendBigEndian(tail, static_cast<std::uint32_t>(check), 4);
    sink_.write(tail.data(), tail.size());
}

void PngWriter::begin(const PageFormat& format) {
    const bool rgb = format.color == ColorKind::Rgb;
    sink_.write(signature, sizeof signature);
    Bytes header;
    appendBigEndian(header, static_cast<std::uint32_t>(format.width), 4);
    appendBigEndian(header, static_cast<std::uint32_t>(format.height), 4);
    const std::uint8_t depth = static_cast<std::uint8_t>(rgb ? 8 : format.bits);
    header.insert(header.end(), {depth, colorType(format.color), 0, 0, 0});
    chunk("IHDR", header.data(), header.size());
    if (format.resolutionKnown()) {
        Bytes resolution;
        for (const double dots : {format.xDotsPerInch, format.yDotsPerInch})
            appendBigEndian(resolution, static_cast<std::uint32_t>(shared::dotsPerMetre(dots)), 4);
        resolution.push_back(1);  // a metre
        chunk("pHYs", resolution.data(), resolution.size());
    }
    if (format.color == ColorKind::Palette) {
        Bytes colors;
        for (const shared::BmpColor& color : format.palette)
            colors.insert(colors.end(), {color.red, color.green, color.blue});
        chunk("PLTE", colors.data(), colors.size());
    }
    deflater_.emplace([this](const std::uint8_t* bytes, std::size_t count) { chunk("IDAT", bytes, count); });
    rows_.emplace(format.rowBytes(), rgb || (format.color == ColorKind::Gray && format.bits == 8));
}

void PngWriter::row(const std::uint8_t* pixels) {
    rows_->add(*deflater_, pixels);
}

void PngWriter::end() {
    deflater_->finish();
    chunk("IEND", nullptr, 0);
    sink_.flush();
}

}  // namespace pages
