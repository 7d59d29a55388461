#pragma once

#include <string>
#include <vector>

#include "smscan/Options.h"

namespace smscan {

enum class OptionGroup { Source, Scan, Pages, Files, Program };

// One option: how it is written, what help says of it and how its value is completed. Help, manual page and
// completion are made of this table.
struct Option {
    char letter;  // '\0': it has none
    const char* name;
    const char* value;  // what help calls its value; nullptr: it takes none
    OptionGroup group;
    const char* help;
    const char* words;  // to complete a value with, blanks between them; "<file>" for names of files
    // What it does; nullptr: it sets the value of that name for the scan or its files.
    void (*apply)(Options& options, const std::string& value);
};

const std::vector<Option>& optionTable();

struct Explained {
    const char* term;
    const char* meaning;
};

const char* titleOf(OptionGroup group);
constexpr OptionGroup optionGroups[] = {OptionGroup::Source, OptionGroup::Scan, OptionGroup::Pages,
                                        OptionGroup::Files, OptionGroup::Program};
extern const char* const afterOptions;  // what holds for all
extern const std::vector<Explained> exitCodes;
extern const std::vector<Explained> examples;

// The option that is written so, without dashes; nullptr when there is none.
const Option* findOption(const std::string& name);
const Option* findOption(char letter);

// The option whose name is most like this one; nullptr when none is much like it.
const Option* closestOption(const std::string& name);

// "--mode MODE"
std::string usageOf(const Option& option);

}  // namespace smscan
