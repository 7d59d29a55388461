// Reads JSON: each value with its way from the outside, "mode.choices.0=\"bw\"". Throws std::invalid_argument
// with the rest of the text where it isn't JSON.
#pragma once

#include <string>

#include "Lines.h"

Lines flattenedJson(const std::string& text);
