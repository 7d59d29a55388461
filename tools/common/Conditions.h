#pragma once

#include <string>

#include "common/Failure.h"

namespace host {

// A condition code in words: "paper jam".
std::string conditionName(int code);

// The same with its number: "paper jam (condition code 20)".
std::string conditionWords(int code);

// The same with a full stop, and what the user can do about it, where there is something to say.
std::string conditionSentence(int code);

// A transfer that failed with it, as a failure of the program.
FailureCode failureCodeOf(int code);

}  // namespace host
