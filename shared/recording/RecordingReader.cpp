#include <algorithm>
#include <charconv>
#include <limits>
#include <unordered_map>

#include "recording/RecordingText.h"

namespace recording {

namespace {

// Numbers with base 10 or 16, digits only.
std::uint64_t number(const std::string& text, int base, std::uint64_t highest) {
    std::uint64_t value = 0;
    if (text.empty() || text.size() > 16) throw RecordingError("\"" + text.substr(0, 40) + "\" is no number");
    for (const char c : text) {
        const int digit = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : 16;
        if (digit >= base) throw RecordingError("\"" + text + "\" is no number");
        value = value * static_cast<unsigned>(base) + static_cast<unsigned>(digit);
    }
    if (value > highest) throw RecordingError("\"" + text + "\" is too large");
    return value;
}

std::uint16_t number16(const std::string& text, int base) {
    return static_cast<std::uint16_t>(number(text, base, 0xFFFF));
}
std::uint32_t number32(const std::string& text, int base) {
    return static_cast<std::uint32_t>(number(text, base, 0xFFFFFFFF));
}

double milliseconds(const std::string& text) {
    double value = 0;
    const char* const end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, value);  // a point, whatever the host's locale
    constexpr double longest = 1e12;
    if (read.ec != std::errc() || read.ptr != end || !(value >= 0 && value <= longest))
        throw RecordingError("\"" + text.substr(0, 40) + "\" is no time");
    return value;
}

Bytes bytes(const std::string& text) {
    Bytes result;
    if (text.size() % 2 != 0) throw RecordingError("half a byte is missing");
    result.reserve(text.size() / 2);
    for (std::size_t i = 0; i < text.size(); i += 2)
        result.push_back(static_cast<std::uint8_t>(number(text.substr(i, 2), 16, 0xFF)));
    return result;
}

Block block(const std::string& text) {
    if (text == "none") return {BlockKind::None, {}};
    if (text == "bad") return {BlockKind::Bad, {}};
    return {BlockKind::Present, bytes(text)};
}

// The words of one line, up to its comment.
class Words {
public:
    explicit Words(const std::string& line) {
        std::size_t at = 0;
        while (at < line.size() && line[at] != '#') {
            const std::size_t end = std::min(line.find(' ', at), line.size());
            if (end > at) words_.push_back(line.substr(at, end - at));
            at = end + 1;
        }
    }
    const std::string& next(const char* what) {
        if (at_ == words_.size()) throw RecordingError(std::string("lacks its ") + what);
        return words_[at_++];
    }
    // Calls `take(key, value)` for the rest; of "@5.0" the key is "@".
    template <typename Take>
    void rest(Take take) {
        for (; at_ < words_.size(); ++at_) {
            const std::string& word = words_[at_];
            const std::size_t equals = word[0] == '@' ? 0 : word.find('=');
            if (equals == std::string::npos)
                throw RecordingError("\"" + word.substr(0, 40) + "\" is no KEY=VALUE");
            take(word.substr(0, word[0] == '@' ? 1 : equals), word.substr(equals + 1));
        }
    }

private:
    std::vector<std::string> words_;
    std::size_t at_ = 0;
};

class Reader {
public:
    void read(const std::string& line) {
        Words words(line);
        const std::string& kind = words.next("beginning");
        if (kind == ">") return question(words);
        if (kind == "<") return answer(words);
        if (kind == "!") return notice(words);
        throw RecordingError("begins with \"" + kind.substr(0, 40) + "\", not with >, < or !");
    }
    Recording take() { return std::move(recording_); }

private:
    static Triplet triplet(const std::string& text) {
        const std::size_t first = text.find('/');
        const std::size_t second = first == std::string::npos ? first : text.find('/', first + 1);
        if (second == std::string::npos)
            throw RecordingError("\"" + text.substr(0, 40) + "\" is no GROUP/TYPE/MESSAGE");
        return {number32(text.substr(0, first), 16), number16(text.substr(first + 1, second - first - 1), 16),
                number16(text.substr(second + 1), 16)};
    }

    void question(Words& words) {
        Operation operation;
        operation.number = number32(words.next("number"), 10);
        const std::string& state = words.next("state");
        if (state[0] != 's') throw RecordingError("\"" + state.substr(0, 40) + "\" is no state");
        operation.state = static_cast<int>(number(state.substr(1), 10, 7));
        operation.triplet = triplet(words.next("triplet"));
        words.rest([&](const std::string& key, const std::string& value) {
            if (key == "data") operation.question.data = bytes(value);
            if (key == "block") operation.question.block = block(value);
            if (key == "events") operation.events = number32(value, 10);
            if (key == "@") operation.at = milliseconds(value);
        });
        if (!places_.emplace(operation.number, recording_.operations.size()).second || operation.number == 0)
            throw RecordingError("an operation has this number already");
        recording_.operations.push_back(std::move(operation));
    }

    Operation& operation(const std::string& text) {
        const auto place = places_.find(number32(text, 10));
        if (place == places_.end()) throw RecordingError("there is no operation " + text);
        return recording_.operations[place->second];
    }

    void answer(Words& words) {
        Operation& asked = operation(words.next("number"));
        if (asked.answer) throw RecordingError("the operation is answered already");
        Answer answer;
        bool ended = false;
        Pixels pixels;
        bool hasPixels = false;
        words.rest([&](const std::string& key, const std::string& value) {
            if (key == "rc") answer.returnCode = number16(value, 10);
            if (key == "rc") ended = true;
            if (key == "data") answer.data = bytes(value);
            if (key == "block") answer.block = block(value);
            if (key == "px") pixels.size = number32(value, 10);
            if (key == "px") hasPixels = true;
            if (key == "crc") pixels.crc = number32(value, 16);
            if (key == "at") pixels.at = number(value, 10, std::numeric_limits<std::int64_t>::max());
            if (key == "ms") answer.milliseconds = milliseconds(value);
            if (key == "changed") answer.change = change(value);
        });
        if (!ended) throw RecordingError("lacks rc=");
        if (hasPixels) answer.pixels = pixels;
        asked.answer = std::move(answer);
    }

    static Change change(const std::string& text) {
        const std::size_t colon = text.find(':');
        if (colon == std::string::npos) throw RecordingError("changed= takes OFFSET:BYTES");
        return {number32(text.substr(0, colon), 10), bytes(text.substr(colon + 1))};
    }

    // Operation 0 stands for "inside none".
    void notice(Words& words) {
        const std::string& inside = words.next("number");
        Notice notice;
        notice.message = number16(words.next("message"), 16);
        words.rest([&](const std::string& key, const std::string& value) {
            if (key == "@") notice.at = milliseconds(value);
        });
        notice.inside = inside != "0";
        if (!notice.inside && recording_.operations.empty())
            throw RecordingError("a notice comes before any operation");
        (notice.inside ? operation(inside) : recording_.operations.back()).notices.push_back(notice);
    }

    Recording recording_;
    std::unordered_map<std::uint32_t, std::size_t> places_;
};

}  // namespace

Recording readRecording(const std::string& text) {
    Reader reader;
    std::size_t lineNumber = 0;
    for (std::size_t at = 0; at < text.size() || lineNumber == 0;) {
        ++lineNumber;
        try {
            const std::size_t end = text.find('\n', at);
            if (end == std::string::npos) throw RecordingError("the file is cut off here");
            std::string line = text.substr(at, end - at);
            at = end + 1;
            if (!line.empty() && line.back() == '\r') line.pop_back();
            if (lineNumber > 1) {
                if (!line.empty() && line[0] != '#') reader.read(line);
            } else if (line.rfind("scan-recording ", 0) != 0) {
                throw RecordingError("no recording begins like this (\"scan-recording 1\")");
            } else if (line != "scan-recording 1") {
                throw RecordingError("this version of recordings is not known: " + line.substr(15, 40));
            }
        } catch (const RecordingError& error) {
            throw RecordingError("line " + std::to_string(lineNumber) + ": " + error.what());
        }
    }
    return reader.take();
}

}  // namespace recording
