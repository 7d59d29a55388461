#include <cmath>
#include <cstdio>

#include "recording/RecordingText.h"

namespace recording {

namespace {

std::string hex(const Bytes& bytes) {
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const std::uint8_t byte : bytes)
        for (const int digit : {byte >> 4, byte & 15})
            text += "0123456789abcdef"[digit];
    return text;
}

template <typename... Values>
std::string put(const char* pattern, Values... values) {
    char text[128];
    std::snprintf(text, sizeof text, pattern, values...);
    return text;
}

// Milliseconds with one decimal place and a point before it, whatever the host's locale has there.
std::string timeText(double milliseconds) {
    const auto tenths = static_cast<std::uint64_t>(std::llround(milliseconds * 10));
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10);
}

std::string dataText(const Bytes& data) {
    return data.empty() ? "" : " data=" + hex(data);
}

std::string blockText(const Block& block) {
    switch (block.kind) {
        case BlockKind::None:
            return " block=none";
        case BlockKind::Bad:
            return " block=bad";
        case BlockKind::Present:
            return " block=" + hex(block.bytes);
        default:
            return "";
    }
}

}  // namespace

std::string firstLine() {
    return "scan-recording 1\n";
}

std::string questionLine(const Operation& operation, const std::string& names) {
    const Triplet& triplet = operation.triplet;
    std::string line =
        put("> %lu s%d %lx/%04x/%04x", static_cast<unsigned long>(operation.number), operation.state,
            static_cast<unsigned long>(triplet.group), static_cast<unsigned>(triplet.argumentType),
            static_cast<unsigned>(triplet.message));
    line += dataText(operation.question.data) + blockText(operation.question.block);
    if (operation.events > 0) line += put(" events=%lu", static_cast<unsigned long>(operation.events));
    return line + " @" + timeText(operation.at) + (names.empty() ? "" : " # " + names) + "\n";
}

std::string noticeLine(std::uint32_t operation, const Notice& notice) {
    return put("! %lu %04x @", static_cast<unsigned long>(operation), static_cast<unsigned>(notice.message)) +
           timeText(notice.at) + "\n";
}

std::string answerLine(std::uint32_t operation, const Answer& answer) {
    std::string line =
        put("< %lu rc=%u", static_cast<unsigned long>(operation), static_cast<unsigned>(answer.returnCode));
    line += dataText(answer.data) + blockText(answer.block);
    if (!answer.change.bytes.empty())
        line +=
            put(" changed=%lu:", static_cast<unsigned long>(answer.change.offset)) + hex(answer.change.bytes);
    if (answer.pixels) {
        line += put(" px=%lu crc=%08lx", static_cast<unsigned long>(answer.pixels->size),
                    static_cast<unsigned long>(answer.pixels->crc));
        if (answer.pixels->at) line += " at=" + std::to_string(*answer.pixels->at);
    }
    return line + " ms=" + timeText(answer.milliseconds) + "\n";
}

}  // namespace recording
