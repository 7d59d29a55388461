#pragma once

#include <string>
#include <vector>

#include "common/ScanRequest.h"

namespace host {

// Values as people type them: words in any case. `what` is the setting's name for the texts ("--mode"). All
// throw Failure with FailureCode::Usage, which says what can be given.

// `besides`: what the caller takes as well ("all, or ").
int parseWhole(const std::string& what, const std::string& text, int lowest, int highest,
               const char* besides = "");
double parseDecimal(const std::string& what, const std::string& text, double lowest, double highest);

// "on" and "off", and what else people write for them.
bool parseOnOff(const std::string& what, const std::string& text);

// The place of the text among the words.
size_t parseWord(const std::string& what, const std::vector<std::string>& words, const std::string& text);

// The place of the text among the names.
template <size_t Count>
size_t parsePlace(const std::string& what, const std::array<NamedCode, Count>& names,
                  const std::string& text) {
    std::vector<std::string> words;
    for (const NamedCode& entry : names)
        words.push_back(entry.name);
    return parseWord(what, words, text);
}

template <size_t Count>
unsigned short parseName(const std::string& what, const std::array<NamedCode, Count>& names,
                         const std::string& text) {
    return names[parsePlace(what, names, text)].code;
}

// "0.5", "50%"
double parseScale(const std::string& what, const std::string& text);

// Four edges "0,0,2in,3in", or a size and where it begins "100x150mm+10+20" (the top left corner if nothing).
// Each number has a unit (in, cm, mm, pt), or that of the next one that has one, else that of the one before;
// inches if none has.
Area parseArea(const std::string& what, const std::string& text);
Area parseSize(const std::string& what, const std::string& text);

// "unsharp-mask=on"
SwitchValue parseSwitch(const std::string& text);

}  // namespace host
