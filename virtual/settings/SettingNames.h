// The words that settings take, and what they stand for.
#pragma once

#include <string>
#include <vector>

namespace vscan {

struct Choice {
    const char* text;
    int value;
};
using Choices = std::vector<Choice>;

const Choices& pixelTypeNames();
const Choices& mechanismNames();
const Choices& unitNames();
const Choices& switchNames();
const Choices& stripFaultNames();

// The choice of that name, in any case, or null.
const Choice* choiceNamed(const Choices& choices, const std::string& text);
// The word for a value; the number itself when there is none.
std::string choiceText(const Choices& choices, int value);
// `lead`, then all words with commas.
std::string textsOf(const Choices& choices, const char* lead);

}  // namespace vscan
