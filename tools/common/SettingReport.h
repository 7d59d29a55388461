#pragma once

#include <string>

#include "common/ScanListener.h"

namespace host {

// What a source makes of the settings that it is asked for. Throws Failure where it doesn't take one.

// The source doesn't offer a value.
[[noreturn]] void refuseValue(const std::string& text);

// `result` is the module's for setting `what`.
void requireSet(const std::string& what, int result);

// Notes when the source made another value of it.
void compare(ScanListener& listener, const std::string& option, const std::string& asked,
             const std::string& got);

}  // namespace host
