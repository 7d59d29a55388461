#pragma once

#include "ModuleLibrary.h"
#include "Options.h"

namespace smscan {

// Sets everything that the options ask for at the open source, reads it back, and says on stderr where the
// source made something else of it. Throws Failure when the source doesn't offer a value (the range is named)
// or refuses it.
void applySettings(const ModuleLibrary& module, const Options& options);

// Whether pages come from the feeder (SM_RESULT_OK and 1), for the options' number of pages. Throws Failure
// when the feeder is empty.
void prepareFeeder(const ModuleLibrary& module, const Options& options);

}  // namespace smscan
