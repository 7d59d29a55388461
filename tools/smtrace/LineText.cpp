#include "smtrace/LineText.h"

#include <cstdio>

#include "windows/WideText.h"

namespace smtrace {

using gui::fromAnsi;
using gui::utf8;

namespace {

constexpr size_t indentation = 2;

}  // namespace

std::wstring milliseconds(Time time) {
    wchar_t text[40];
    std::swprintf(text, std::size(text), L"%.3f", static_cast<double>(time) / 1000);
    return text;
}

std::wstring shownText(const StoredLine& line) {
    const TraceLine parsed = line.parsed();
    const std::wstring indent(line.depth * indentation, L' ');
    switch (parsed.kind) {
        case Kind::Call:
            return indent + L"\x2192 " + fromAnsi(parsed.method);
        case Kind::Return:
            return indent + L"\x2190 " + fromAnsi(parsed.method);
        default:
            return indent + fromAnsi(parsed.text);
    }
}

std::string logText(const StoredLine& line) {
    const TraceLine parsed = line.parsed();
    char start[80];
    std::snprintf(start, sizeof start, "%s%10s %6lu %-8s", line.beginsCall ? "\n" : "",
                  utf8(L"+" + milliseconds(line.sinceLast)).c_str(), static_cast<unsigned long>(line.sender),
                  utf8(levelNames[static_cast<size_t>(parsed.level)]).c_str());
    std::string text = start + std::string(line.depth * indentation, ' ') + utf8(fromAnsi(parsed.text));
    if (!parsed.place.empty()) text += "  (" + utf8(fromAnsi(parsed.place)) + ")";
    return text + "\n";
}

std::string statisticsText(const std::vector<MethodStatistics>& methods) {
    std::string text = "   calls  total ms    mean ms  longest ms  method\n";
    for (const MethodStatistics& each : methods) {
        char row[100];
        const double total = static_cast<double>(each.inside) / 1000;
        std::snprintf(row, sizeof row, "%8lu %9.1f %10.3f %11.3f  ", static_cast<unsigned long>(each.calls),
                      total, each.returns == 0 ? 0.0 : total / each.returns,
                      static_cast<double>(each.longest) / 1000);
        text += row + utf8(fromAnsi(each.method)) + "\n";
    }
    return text;
}

}  // namespace smtrace
