#include "smscan/Help.h"

#include "common/Text.h"
#include "smscan/OptionTable.h"

namespace smscan {

namespace {

constexpr size_t lineWidth = 80;

// The text in lines that begin at a column.
std::string wrapped(const std::string& text, size_t column) {
    std::string result;
    size_t lineStart = 0;
    while (text.size() - lineStart > lineWidth - column) {
        const size_t blank = text.rfind(' ', lineStart + lineWidth - column);
        result += text.substr(lineStart, blank - lineStart) + "\n" + std::string(column, ' ');
        lineStart = blank + 1;
    }
    return result + text.substr(lineStart);
}

std::string rowOf(const Option& option) {
    constexpr size_t column = 26;
    const std::string letter = option.letter ? std::string("-") + option.letter + ", " : "    ";
    return format("  %-*s%s\n", static_cast<int>(column - 2), (letter + usageOf(option)).c_str(),
                  wrapped(option.help, column).c_str());
}

}  // namespace

std::string helpText() {
    std::string text =
        "smscan scans pages to files through ScanModule.dll and the TWAIN manager.\n\n"
        "Usage: smscan [options]\n";
    for (const OptionGroup group : optionGroups) {
        text += format("\n%s\n", titleOf(group));
        for (const Option& option : optionTable()) {
            if (option.group != group) continue;
            text += rowOf(option);
            if (option.name != std::string("set")) continue;
            for (const SwitchName& entry : switchNames)
                text += format("                          %-13s %s\n", entry.name, entry.meaning);
        }
    }
    text += "\n" + wrapped(afterOptions, 0) + "\n\nExit codes\n";
    for (const Explained& code : exitCodes)
        text += format("  %s  %s\n", code.term, code.meaning);
    text += "\nExamples\n";
    for (const Explained& example : examples)
        text += format("  %s\n      %s\n", example.meaning, example.term);
    return text;
}

}  // namespace smscan
