// What the headers of a BMP file say, as one line of text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Little-endian; 0 beyond the end.
inline uint32_t fileField(const std::vector<uint8_t>& file, size_t offset, size_t size) {
    uint32_t value = 0;
    for (size_t i = size; i-- > 0;)
        value = value << 8 | (offset + i < file.size() ? file[offset + i] : 0);
    return value;
}

// Every field of both headers: "BM size 78 pixels at 54, 3x2, 24 bits, 0 colours"; those that are usually 0
// only when they aren't.
inline std::string headerText(const std::vector<uint8_t>& file) {
    if (file.size() < 54) return "no headers";
    const auto number = [&](size_t offset, size_t size) {
        return std::to_string(fileField(file, offset, size));
    };
    std::string text = std::string(file.begin(), file.begin() + 2) + " size " + number(2, 4) + " pixels at " +
                       number(10, 4) + ", " + number(18, 4) + "x" + number(22, 4) + ", " + number(28, 2) +
                       " bits, " + number(46, 4) + " colours";
    if (fileField(file, 14, 4) != 40 || fileField(file, 26, 2) != 1) text += ", not an info header";
    for (const size_t offset : {6, 30, 34, 38, 42, 50})
        if (fileField(file, offset, 4) != 0)
            text += ", at " + std::to_string(offset) + " " + number(offset, 4);
    return text;
}
