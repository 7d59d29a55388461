// Calls of the module's functions by text, for tables: "GetUnit", "SetBrightness 50 -100 100".
#pragma once

#include <string>

#include "Module.h"

// Calls with the arguments in their order, an output's being what it holds before the call (777 where the
// text ends). Gives "result 0; value 3", with the outputs' values, if there are any.
std::string callByText(const Module& module, const std::string& text);
