#include "smtrace/TraceLine.h"

namespace smtrace {

namespace {

constexpr std::string_view marker = ": [SM] ";
constexpr std::string_view separator = "    ";
constexpr std::string_view startBanner = "<<<<< Start ";

struct LevelPrefix {
    std::string_view text;
    Level level;
};
constexpr LevelPrefix levelPrefixes[] = {
    {"Trace ", Level::Trace}, {"Warning ", Level::Warning}, {"Fatal ", Level::Fatal}};

struct KindPrefix {
    std::string_view text;
    Kind kind;
};
constexpr KindPrefix kindPrefixes[] = {{"Coming ", Kind::Call}, {"Leaving ", Kind::Return}};

bool beginsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

}  // namespace

TraceLine parseLine(std::string_view raw) {
    TraceLine line;
    line.text = raw;
    if (raw == separator) {
        line.kind = Kind::Separator;
        return line;
    }
    const size_t end = raw.find(marker);
    if (end == std::string_view::npos) return line;
    for (const LevelPrefix& prefix : levelPrefixes) {
        if (!beginsWith(raw, prefix.text) || end < prefix.text.size()) continue;
        line.level = prefix.level;
        line.place = raw.substr(prefix.text.size(), end - prefix.text.size());
        line.text = raw.substr(end + marker.size());
    }
    // A warning that begins with these words opens no call.
    if (line.level != Level::Trace) return line;
    if (line.text.find(startBanner) != std::string_view::npos) line.kind = Kind::Start;
    for (const KindPrefix& prefix : kindPrefixes) {
        if (!beginsWith(line.text, prefix.text)) continue;
        line.kind = prefix.kind;
        line.method = line.text.substr(prefix.text.size());
    }
    return line;
}

}  // namespace smtrace
