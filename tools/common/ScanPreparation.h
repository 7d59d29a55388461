#pragma once

#include "common/ModuleLibrary.h"
#include "common/ScanListener.h"
#include "common/ScanRequest.h"

namespace host {

// Has the source work in inches, in which the module's numbers are right; notes when it doesn't.
void useInches(const ModuleLibrary& module, ScanListener& listener);

// False, and noted, when the source works in another unit.
bool worksInInches(const ModuleLibrary& module, ScanListener& listener);

// Sets everything that the request asks for at the open source, and how its pages come. Throws Failure where
// the source doesn't offer something (what it offers is named).
void applyRequest(const ModuleLibrary& module, const ScanRequest& request, ScanListener& listener);

// The same, and sees whether it can scan. Throws Failure also where the feeder is empty or only the source's
// window scans.
void prepareScan(const ModuleLibrary& module, const ScanRequest& request, ScanListener& listener);

}  // namespace host
