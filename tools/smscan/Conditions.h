#pragma once

#include <string>

namespace smscan {

// A condition code in words with its number: "paper jam (condition code 20)".
std::string conditionWords(int code);

// What the user can do about it; a sentence, empty when there is nothing to say.
std::string conditionAdvice(int code);

}  // namespace smscan
