#pragma once

#include "common/ModuleLibrary.h"
#include "common/ScanListener.h"
#include "common/ScanRequest.h"

namespace host {

// Has the source work in inches, in which the module's numbers are right; notes when it doesn't.
void useInches(const ModuleLibrary& module, ScanListener& listener);

// False, and noted, when the source works in another unit.
bool worksInInches(const ModuleLibrary& module, ScanListener& listener);

// Throws Failure when the source doesn't offer it.
void setMechanism(const ModuleLibrary& module, Mechanism mechanism);

// Has more than one page come from the feeder, if there is one and the request doesn't choose. Throws Failure
// when the feeder is in use, but empty.
void prepareFeeder(const ModuleLibrary& module, const ScanRequest& request, ScanListener& listener);

// A source that doesn't take the number does no harm: pages beyond it are refused as they come.
void setPageCount(const ModuleLibrary& module, int pages, ScanListener& listener);

}  // namespace host
