#include "common/Text.h"
#include "smscan/Help.h"
#include "smscan/OptionTable.h"

namespace smscan {

namespace {

// How the option can be written, as a pattern.
std::string patternOf(const Option& option) {
    const std::string name = std::string("--") + option.name;
    return option.letter ? std::string("-") + option.letter + " | " + name : name;
}

// What completes the value of an option, as a row of the script's case.
std::string valueRow(const Option& option) {
    const std::string words = option.words;
    if (words == "<file>")
        return format(
            "    %s)\n      compopt -o filenames\n      mapfile -t COMPREPLY < <(compgen -f -- "
            "\"$current\")\n      return\n      ;;\n",
            patternOf(option).c_str());
    return format("    %s) words='%s' ;;\n", patternOf(option).c_str(), words.c_str());
}

void append(std::string& list, const std::string& separator, const std::string& item) {
    list += (list.empty() ? "" : separator) + item;
}

}  // namespace

std::string bashCompletion() {
    std::string rows;
    std::string anything;
    std::string names;
    std::string switches;
    for (const Option& option : optionTable()) {
        append(names, " ", std::string("--") + option.name);
        if (!option.value || option.name == std::string("set")) continue;
        if (*option.words)
            rows += valueRow(option);
        else
            append(anything, " | ", patternOf(option));
    }
    for (const SwitchName& entry : switchNames)
        append(switches, " ", entry.name);
    rows += format("    --set) words='%s' ;;\n    %s) words= ;;\n    *) words='%s' ;;\n", switches.c_str(),
                   anything.c_str(), names.c_str());
    return "# shellcheck shell=bash\n"
           "# Completion of smscan's options. Printed by smscan --help-bash.\n"
           "_smscan() {\n"
           "  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words\n"
           "  # \"--mode=gray\" is three words to bash.\n"
           "  if [[ $current == = ]]; then\n"
           "    current=\n"
           "  elif [[ $previous == = ]]; then\n"
           "    previous=${COMP_WORDS[COMP_CWORD - 2]}\n"
           "  fi\n"
           "  case $previous in\n" +
           rows +
           "  esac\n"
           "  mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
           "}\n"
           "complete -F _smscan smscan smscan.exe scan.sh\n";
}

}  // namespace smscan
