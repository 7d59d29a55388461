#include "settings/TextValues.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

namespace vscan {

std::string trimmed(const std::string& text) {
    constexpr const char* blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool sameText(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(a[i])) != std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    return true;
}

std::vector<std::string> listItems(const std::string& text) {
    std::vector<std::string> items;
    if (trimmed(text).empty()) return items;
    std::size_t start = 0;
    while (true) {
        const std::size_t comma = text.find(',', start);
        items.push_back(trimmed(text.substr(start, comma - start)));
        if (comma == std::string::npos) return items;
        start = comma + 1;
    }
}

std::optional<int> wholeNumber(const std::string& text, long minimum, long maximum) {
    if (text.empty()) return std::nullopt;
    const bool hexadecimal = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(text.c_str(), &end, hexadecimal ? 16 : 10);
    if (*end != 0 || errno != 0 || value < minimum || value > maximum) return std::nullopt;
    return static_cast<int>(value);
}

std::optional<double> decimalNumber(const std::string& text, double minimum, double maximum) {
    // Hosts may have set another decimal sign for strtod; digits and a point are read here.
    std::size_t i = 0;
    double value = 0;
    double weight = 0;
    for (; i < text.size(); ++i) {
        const char character = text[i];
        if (character == '.' && weight == 0) {
            weight = 1;
        } else if (std::isdigit(static_cast<unsigned char>(character))) {
            value = value * 10 + (character - '0');
            weight *= 10;
        } else {
            return std::nullopt;
        }
    }
    if (text.empty() || text == ".") return std::nullopt;
    if (weight > 0) value /= weight;
    if (value < minimum || value > maximum) return std::nullopt;
    return value;
}

std::string showNumber(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.4f", value);
    std::string shown = text;
    shown.erase(shown.find_last_not_of('0') + 1);
    if (!shown.empty() && !(shown.back() >= '0' && shown.back() <= '9')) shown.pop_back();
    return shown;
}

}  // namespace vscan
