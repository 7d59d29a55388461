#include "pages/TiffDirectory.h"

namespace pages {

namespace {

constexpr std::size_t countBytes = 2;
constexpr std::size_t entryBytes = 12;
constexpr std::size_t linkBytes = 4;

}  // namespace

void TiffDirectory::add(TiffTag tag, TiffType type, const std::vector<std::uint32_t>& values) {
    const int valueBytes = type == shortType ? 2 : 4;
    const std::size_t count = type == rationalType ? values.size() / 2 : values.size();
    entries_.push_back({tag, type, static_cast<std::uint32_t>(count), {}});
    for (const std::uint32_t value : values)
        appendLittleEndian(entries_.back().bytes, value, valueBytes);
}

std::uint32_t TiffDirectory::linkAt() const {
    return static_cast<std::uint32_t>(offset_ + countBytes + entries_.size() * entryBytes);
}

Bytes TiffDirectory::bytes() const {
    Bytes head;
    Bytes values;
    const std::size_t valuesAt = linkAt() + linkBytes;
    appendLittleEndian(head, static_cast<std::uint32_t>(entries_.size()), countBytes);
    for (const Entry& entry : entries_) {
        appendLittleEndian(head, entry.tag, 2);
        appendLittleEndian(head, entry.type, 2);
        appendLittleEndian(head, entry.count, 4);
        if (entry.bytes.size() > 4) {
            appendLittleEndian(head, static_cast<std::uint32_t>(valuesAt + values.size()), 4);
            values.insert(values.end(), entry.bytes.begin(), entry.bytes.end());
        } else {
            head.insert(head.end(), entry.bytes.begin(), entry.bytes.end());
            head.resize(head.size() + 4 - entry.bytes.size());
        }
    }
    appendLittleEndian(head, 0, linkBytes);  // no page behind it
    head.insert(head.end(), values.begin(), values.end());
    return head;
}

}  // namespace pages
