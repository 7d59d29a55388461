#pragma once

#include <zlib.h>

#include <cstdint>
#include <functional>
#include <vector>

namespace pages {

// Compresses bytes and hands the result on piece by piece.
class Deflater {
public:
    using Output = std::function<void(const std::uint8_t* bytes, std::size_t count)>;

    explicit Deflater(Output output);
    Deflater(const Deflater&) = delete;
    Deflater& operator=(const Deflater&) = delete;
    ~Deflater();

    void add(const std::uint8_t* bytes, std::size_t count);

    // Completes the compressed data; what is added after it begins anew.
    void finish();

private:
    void run(int flush);

    Output output_;
    z_stream stream_{};
    std::vector<std::uint8_t> buffer_;
};

// Rows as PNG files and PDF pages have them before they are compressed: behind a byte that names the filter.
class FilteredRows {
public:
    // Rows of gray and colour are stored as the difference to the row above, which compresses better.
    FilteredRows(std::size_t rowBytes, bool difference);

    void add(Deflater& deflater, const std::uint8_t* row);

private:
    bool difference_;
    std::vector<std::uint8_t> above_;
    std::vector<std::uint8_t> filtered_;
};

}  // namespace pages
