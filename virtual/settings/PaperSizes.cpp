#include "settings/PaperSizes.h"

#include <cmath>

#include "settings/TextValues.h"

namespace vscan {

namespace {

constexpr PaperSize millimeters(double width, double height) {
    return {width / 25.4, height / 25.4};
}

bool sameSize(const PaperSize& a, const PaperSize& b) {
    constexpr double tolerance = 0.005;  // inches; frames travel as 16.16 fixed point numbers
    return std::fabs(a.width - b.width) < tolerance && std::fabs(a.height - b.height) < tolerance;
}

}  // namespace

const std::vector<NamedPaper>& namedPapers() {
    static const std::vector<NamedPaper> papers{
        {"A4", TWSS_A4LETTER, millimeters(210, 297)}, {"B5", TWSS_B5LETTER, millimeters(182, 257)},
        {"Letter", TWSS_USLETTER, {8.5, 11}},         {"Legal", TWSS_USLEGAL, {8.5, 14}},
        {"A5", TWSS_A5, millimeters(148, 210)},       {"B4", TWSS_B4, millimeters(257, 364)},
        {"B6", TWSS_B6, millimeters(128, 182)},       {"Ledger", TWSS_USLEDGER, {11, 17}},
        {"A3", TWSS_A3, millimeters(297, 420)},       {"A6", TWSS_A6, millimeters(105, 148)},
    };
    return papers;
}

std::optional<PaperSize> paperFromText(const std::string& text) {
    for (const NamedPaper& paper : namedPapers())
        if (sameText(text, paper.name)) return paper.size;
    const std::size_t by = text.find_first_of("xX");
    if (by == std::string::npos) return std::nullopt;
    const auto width = decimalNumber(trimmed(text.substr(0, by)), 0.5, 100);
    const auto height = decimalNumber(trimmed(text.substr(by + 1)), 0.5, 100);
    if (!width || !height) return std::nullopt;
    return PaperSize{*width, *height};
}

std::string paperToText(const PaperSize& size) {
    for (const NamedPaper& paper : namedPapers())
        if (sameSize(paper.size, size)) return paper.name;
    return showNumber(size.width) + "x" + showNumber(size.height);
}

int paperCode(const PaperSize& size) {
    for (const NamedPaper& paper : namedPapers())
        if (sameSize(paper.size, size)) return paper.code;
    return TWSS_NONE;
}

}  // namespace vscan
