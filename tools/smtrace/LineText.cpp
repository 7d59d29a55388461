#include "smtrace/LineText.h"

#include <windows.h>

#include <cstdio>

namespace smtrace {

namespace {

constexpr size_t indentation = 2;

std::wstring decoded(UINT codePage, std::string_view bytes) {
    const int size = static_cast<int>(bytes.size());
    std::wstring text(MultiByteToWideChar(codePage, 0, bytes.data(), size, nullptr, 0), L'\0');
    MultiByteToWideChar(codePage, 0, bytes.data(), size, text.data(), static_cast<int>(text.size()));
    return text;
}

}  // namespace

std::wstring wide(std::string_view ansi) {
    return decoded(CP_ACP, ansi);
}

std::wstring fromUtf8(std::string_view text) {
    return decoded(CP_UTF8, text);
}

std::string utf8(std::wstring_view text) {
    const int size = static_cast<int>(text.size());
    std::string bytes(WideCharToMultiByte(CP_UTF8, 0, text.data(), size, nullptr, 0, nullptr, nullptr), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), size, bytes.data(), static_cast<int>(bytes.size()), nullptr,
                        nullptr);
    return bytes;
}

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
            return indent + L"\x2192 " + wide(parsed.method);
        case Kind::Return:
            return indent + L"\x2190 " + wide(parsed.method);
        default:
            return indent + wide(parsed.text);
    }
}

std::string logText(const StoredLine& line) {
    const TraceLine parsed = line.parsed();
    char start[80];
    std::snprintf(start, sizeof start, "%s%10s %6lu %-8s", line.beginsCall ? "\n" : "",
                  utf8(L"+" + milliseconds(line.sinceLast)).c_str(), static_cast<unsigned long>(line.sender),
                  utf8(levelNames[static_cast<size_t>(parsed.level)]).c_str());
    std::string text = start + std::string(line.depth * indentation, ' ') + utf8(wide(parsed.text));
    if (!parsed.place.empty()) text += "  (" + utf8(wide(parsed.place)) + ")";
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
        text += row + utf8(wide(each.method)) + "\n";
    }
    return text;
}

}  // namespace smtrace
