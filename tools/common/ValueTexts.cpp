#include "common/ValueTexts.h"

#include <cstdlib>
#include <cstring>

#include "common/Failure.h"
#include "common/Text.h"
#include "common/Wording.h"

namespace host {

namespace {

[[noreturn]] void refuse(const std::string& text) {
    throw Failure{FailureCode::Usage, text};
}

[[noreturn]] void refuseValue(const std::string& what, const std::string& takes, const std::string& text) {
    refuse(format("%s takes %s, not \"%s\".", what.c_str(), takes.c_str(), text.c_str()));
}

struct LengthUnit {
    const char* name;
    double perInch;
};
constexpr LengthUnit lengthUnits[] = {{"in", 1.0}, {"cm", 2.54}, {"mm", 25.4}, {"pt", 72.0}};

// A number and what separates it from the next one.
struct Length {
    double value = 0;
    double perInch = 0;  // 0: no unit was given
    char separator = '\0';
};

// False when the text isn't numbers, units and separators only.
bool readLengths(const std::string& text, std::vector<Length>& lengths) {
    const std::string lower = lowered(text);
    const char* position = lower.c_str();
    do {
        Length length;
        // Digits only: a sign or an x separates, though it could be part of a number.
        const std::string digits(position, std::strspn(position, "0123456789."));
        char* end = nullptr;
        length.value = std::strtod(digits.c_str(), &end);
        if (digits.empty() || *end != '\0') return false;
        const char* rest = position + digits.size();
        for (const LengthUnit& unit : lengthUnits) {
            if (std::strncmp(rest, unit.name, std::strlen(unit.name)) != 0) continue;
            length.perInch = unit.perInch;
            rest += std::strlen(unit.name);
            break;
        }
        length.separator = *rest;
        lengths.push_back(length);
        position = rest + 1;
    } while (lengths.back().separator != '\0');
    return true;
}

void toInches(std::vector<Length>& lengths) {
    double perInch = 1.0;
    for (const Length& length : lengths)
        if (length.perInch != 0) perInch = length.perInch;
    for (auto length = lengths.rbegin(); length != lengths.rend(); ++length) {
        if (length->perInch != 0) perInch = length->perInch;
        length->value /= perInch;
    }
}

// The lengths in inches when they stand between these separators, else none.
std::vector<Length> lengthsBetween(const std::string& text, const std::string& separators) {
    std::vector<Length> lengths;
    if (!readLengths(text, lengths)) return {};
    std::string found;
    for (const Length& length : lengths)
        if (length.separator != '\0') found += length.separator;
    if (found != separators) return {};
    toInches(lengths);
    return lengths;
}

std::optional<Area> readSize(const std::string& text) {
    std::vector<Length> size = lengthsBetween(text, "x");
    if (size.empty()) size = lengthsBetween(text, "x++");
    if (size.empty()) return std::nullopt;
    size.resize(4);
    return Area{size[2].value, size[3].value, size[2].value + size[0].value, size[3].value + size[1].value};
}

Area checkedArea(const std::string& what, const std::string& text, const Area& area) {
    if (area.right > area.left && area.bottom > area.top) return area;
    refuse(format("%s %s is empty: edges count from the top left corner.", what.c_str(), text.c_str()));
}

}  // namespace

int parseWhole(const std::string& what, const std::string& text, int lowest, int highest,
               const char* besides) {
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || value < lowest || value > highest)
        refuseValue(what, format("%sa whole number from %d to %d", besides, lowest, highest), text);
    return static_cast<int>(value);
}

double parseDecimal(const std::string& what, const std::string& text, double lowest, double highest) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !(value >= lowest && value <= highest))
        refuseValue(what, format("a number from %g to %g", lowest, highest), text);
    return value;
}

bool parseOnOff(const std::string& what, const std::string& text) {
    for (const char* word : {"on", "yes", "true", "1"})
        if (sameWord(text, word)) return true;
    for (const char* word : {"off", "no", "false", "0"})
        if (sameWord(text, word)) return false;
    refuseValue(what, "on or off (1 or 0)", text);
}

size_t parseWord(const std::string& what, const std::vector<std::string>& words, const std::string& text) {
    for (size_t i = 0; i < words.size(); ++i)
        if (sameWord(words[i], text)) return i;
    refuseValue(what, "one of " + joined(words), text);
}

double parseScale(const std::string& what, const std::string& text) {
    constexpr double lowest = 0.01;
    constexpr double highest = 100;
    if (!text.empty() && text.back() == '%')
        return parseDecimal(what, text.substr(0, text.size() - 1), lowest * 100, highest * 100) / 100;
    return parseDecimal(what, text, lowest, highest);
}

Area parseArea(const std::string& what, const std::string& text) {
    const std::vector<Length> edges = lengthsBetween(text, ",,,");
    if (!edges.empty())
        return checkedArea(what, text, {edges[0].value, edges[1].value, edges[2].value, edges[3].value});
    if (const std::optional<Area> size = readSize(text)) return checkedArea(what, text, *size);
    refuseValue(what,
                "LEFT,TOP,RIGHT,BOTTOM or WIDTHxHEIGHT+LEFT+TOP, with in, cm, mm or pt behind the numbers",
                text);
}

Area parseSize(const std::string& what, const std::string& text) {
    if (const std::optional<Area> size = readSize(text)) return checkedArea(what, text, *size);
    refuseValue(what, "WIDTHxHEIGHT or WIDTHxHEIGHT+LEFT+TOP, with in, cm, mm or pt behind the numbers",
                text);
}

SwitchValue parseSwitch(const std::string& text) {
    const size_t equals = text.find('=');
    const std::string name = text.substr(0, equals);
    const std::string set = wording.set;
    std::vector<std::string> words;
    for (const SwitchName& entry : switchNames) {
        words.push_back(entry.name);
        if (!sameWord(name, entry.name)) continue;
        const std::string what = set + entry.name;
        if (equals == std::string::npos) refuse(what + " lacks its value: NAME=VALUE.");
        const std::string value = text.substr(equals + 1);
        if (entry.highest == 1) return {entry.which, parseOnOff(what, value)};
        const int number = parseWhole(what, value, 0, entry.highest);
        if (entry.which == Switch::UiMode && number == 2) refuse(what + " takes 0, 1 or 3.");
        return {entry.which, number};
    }
    refuse(format("%sknows no \"%s\"; there are %s.", set.c_str(), name.c_str(), joined(words).c_str()));
}

}  // namespace host
