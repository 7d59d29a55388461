#include "common/Text.h"
#include "smscan/Help.h"
#include "smscan/OptionTable.h"

namespace smscan {

namespace {

// Text as groff wants it: a dash that can be copied, no directive at the start of a line.
std::string escaped(const std::string& text) {
    std::string result;
    for (const char character : text) {
        if (character == '\\')
            result += "\\e";
        else if (character == '-')
            result += "\\-";
        else
            result += character;
    }
    return result[0] == '.' || result[0] == '\'' ? "\\&" + result : result;
}

std::string bold(const std::string& text) {
    return "\\fB" + escaped(text) + "\\fR";
}

std::string item(const std::string& term, const std::string& meaning) {
    return ".TP\n" + term + "\n" + escaped(meaning) + "\n";
}

std::string itemOf(const Option& option) {
    std::string term = option.letter ? bold(std::string("-") + option.letter) + ", " : "";
    term += bold(std::string("--") + option.name);
    if (option.value) term += " \\fI" + escaped(option.value) + "\\fR";
    return item(term, option.help);
}

}  // namespace

std::string manPage() {
    std::string text =
        ".\\\" Printed by smscan --help-man.\n"
        ".TH SMSCAN 1 \"\" \"VORN Scan Module\"\n"
        ".SH NAME\n"
        "smscan \\- scan pages to files through TWAIN\n"
        ".SH SYNOPSIS\n"
        ".B smscan\n"
        "[\\fIoptions\\fR]\n"
        ".SH DESCRIPTION\n"
        "smscan scans pages to files through ScanModule.dll and the TWAIN manager. Results are printed on "
        "the\n"
        "standard output, everything else on the error output.\n"
        ".PP\n" +
        escaped(afterOptions) + "\n.SH OPTIONS\n";
    for (const OptionGroup group : optionGroups) {
        text += format(".SS \"%s\"\n", titleOf(group));
        for (const Option& option : optionTable()) {
            if (option.group != group) continue;
            text += itemOf(option);
            if (option.name != std::string("set")) continue;
            text += ".RS\n";
            for (const SwitchName& entry : switchNames)
                text += item(bold(entry.name), entry.meaning);
            text += ".RE\n";
        }
    }
    text += ".SH EXIT STATUS\n";
    for (const Explained& code : exitCodes)
        text += item(bold(code.term), code.meaning);
    text += ".SH EXAMPLES\n";
    for (const Explained& example : examples)
        text += item(bold(example.term), example.meaning);
    return text;
}

}  // namespace smscan
