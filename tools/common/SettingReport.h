#pragma once

#include <string>
#include <vector>

#include "common/ScanListener.h"

namespace host {

// What a source makes of the settings that it is asked for. Throws Failure where it doesn't take one.

// The source doesn't offer a value.
[[noreturn]] void refuseValue(const std::string& text);

// The same where the source has a list; an empty one is not known. `what` ends with what stands before a
// value.
void requireOffered(const std::string& what, double asked, const std::vector<double>& choices,
                    const char* unit = "");

// `result` is the module's for setting `what`.
void requireSet(const std::string& what, int result);

// Notes when the source made another value of it.
void compare(ScanListener& listener, const std::string& option, const std::string& asked,
             const std::string& got);

}  // namespace host
