#include "pages/Deflater.h"

#include <algorithm>
#include <new>
#include <utility>

namespace pages {

namespace {

// Of zlib's nine: what higher ones gain in size costs several times the time.
constexpr int compressionLevel = 3;
constexpr std::size_t pieceBytes = 1 << 15;
constexpr std::uint8_t filterNone = 0;
constexpr std::uint8_t filterUp = 2;

}  // namespace

Deflater::Deflater(Output output) : output_(std::move(output)), buffer_(pieceBytes) {
    if (deflateInit(&stream_, compressionLevel) != Z_OK) throw std::bad_alloc();
    stream_.next_out = buffer_.data();
    stream_.avail_out = pieceBytes;
}

Deflater::~Deflater() {
    deflateEnd(&stream_);
}

void Deflater::add(const std::uint8_t* bytes, std::size_t count) {
    stream_.next_in = const_cast<Bytef*>(bytes);
    stream_.avail_in = static_cast<uInt>(count);
    while (stream_.avail_in > 0)
        run(Z_NO_FLUSH);
}

void Deflater::finish() {
    stream_.avail_in = 0;
    run(Z_FINISH);
    deflateReset(&stream_);
}

void Deflater::run(int flush) {
    for (bool more = true; more;) {
        const int result = deflate(&stream_, flush);
        more = flush == Z_FINISH && result != Z_STREAM_END;
        if (stream_.avail_out != 0 && (more || flush != Z_FINISH)) continue;
        output_(buffer_.data(), pieceBytes - stream_.avail_out);
        stream_.next_out = buffer_.data();
        stream_.avail_out = pieceBytes;
    }
}

FilteredRows::FilteredRows(std::size_t rowBytes, bool difference)
    : difference_(difference), above_(rowBytes), filtered_(rowBytes + 1) {
    filtered_[0] = difference ? filterUp : filterNone;
}

void FilteredRows::add(Deflater& deflater, const std::uint8_t* row) {
    if (difference_) {
        for (std::size_t i = 0; i < above_.size(); ++i)
            filtered_[i + 1] = static_cast<std::uint8_t>(row[i] - above_[i]);
        std::copy_n(row, above_.size(), above_.begin());
    } else {
        std::copy_n(row, above_.size(), filtered_.begin() + 1);
    }
    deflater.add(filtered_.data(), filtered_.size());
}

}  // namespace pages
