#pragma once

#include <string>

namespace smscan {

// What is told of the options, all made of their table.
std::string helpText();
std::string manPage();
std::string bashCompletion();

}  // namespace smscan
