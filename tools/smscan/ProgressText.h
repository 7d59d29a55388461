#pragma once

#include <string>

namespace smscan {

// One line on how far a page is. total below 1: not known, so lines are told instead of per cent.
std::string progressBar(int page, int done, int total);
std::string progressLine(int page, int done, int total);

// Per cent from 0 to 100, also when more came than announced.
int percentOf(int done, int total);

}  // namespace smscan
