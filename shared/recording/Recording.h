// What a recording holds: the operations between a host and a source, in order. Plain data; knows neither
// Windows nor the TWAIN standard's structures (docs/recording.md tells of the file).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace recording {

using Bytes = std::vector<std::uint8_t>;

struct Triplet {
    std::uint32_t group = 0;
    std::uint16_t argumentType = 0;
    std::uint16_t message = 0;
    bool is(std::uint32_t itsGroup, std::uint16_t itsType, std::uint16_t itsMessage) const {
        return group == itsGroup && argumentType == itsType && message == itsMessage;
    }
};
inline bool operator==(const Triplet& a, const Triplet& b) {
    return a.is(b.group, b.argumentType, b.message);
}

// Global memory that goes with an operation. Unmentioned: the operation has none; None: a null handle; Bad: a
// handle that is none.
enum class BlockKind { Unmentioned, None, Bad, Present };
struct Block {
    BlockKind kind = BlockKind::Unmentioned;
    Bytes bytes;
};
inline bool operator==(const Block& a, const Block& b) {
    return a.kind == b.kind && a.bytes == b.bytes;
}

// Pixels stand in the side file, or nowhere.
struct Pixels {
    std::uint32_t size = 0;
    std::uint32_t crc = 0;
    std::optional<std::uint64_t> at;  // in the side file
};

// The part of a record of unknown size that the source wrote.
struct Change {
    std::uint32_t offset = 0;
    Bytes bytes;
};

// What the host brought. Pointers and handles in `data` are zero.
struct Question {
    Bytes data;
    Block block;
};

struct Answer {
    std::uint16_t returnCode = 0;
    Bytes data;
    Block block;
    Change change;  // empty: none
    std::optional<Pixels> pixels;
    double milliseconds = 0;
};

// A message of the source to the host that came past its answers.
struct Notice {
    std::uint16_t message = 0;
    double at = 0;        // milliseconds since the recording began
    bool inside = false;  // came while the operation ran
};

struct Operation {
    std::uint32_t number = 0;
    int state = 0;  // the TWAIN state before it
    Triplet triplet;
    double at = 0;
    std::uint32_t events = 0;  // events passed since the last operation written
    Question question;
    std::vector<Notice> notices;   // inside it, or after it and before the next
    std::optional<Answer> answer;  // none: the source never came back
};

struct Recording {
    std::vector<Operation> operations;
};

// The side file that belongs to a recording.
inline std::string pixelFileOf(const std::string& path) {
    return path + ".pixels";
}
inline std::wstring pixelFileOf(const std::wstring& path) {
    return path + L".pixels";
}

}  // namespace recording
