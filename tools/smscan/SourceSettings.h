#pragma once

#include "ModuleLibrary.h"
#include "Options.h"

namespace smscan {

// Has the source work in inches, in which the module's numbers are right; says so on stderr when it doesn't.
void useInches(const ModuleLibrary& module);

// False when the source works in another unit; says so on stderr.
bool worksInInches(const ModuleLibrary& module);

// Sets everything that the options ask for at the open source, reads it back, and says on stderr where the
// source made something else of it. Throws Failure when the source doesn't offer a value (the range is named)
// or refuses it.
void applySettings(const ModuleLibrary& module, const Options& options);

// Has more than one page come from the feeder, if there is one and --set says nothing of it. Throws Failure
// when the feeder is in use, but empty.
void prepareFeeder(const ModuleLibrary& module, const Options& options);

}  // namespace smscan
