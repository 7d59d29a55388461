#pragma once

#include "common/ModuleLibrary.h"
#include "common/ScanListener.h"
#include "common/ScanRequest.h"

namespace host {

// Sets one of the source's switches and reads it back. Throws Failure when the source doesn't offer the value
// or refuses it.
void applySwitch(const ModuleLibrary& module, const SwitchValue& asked, ScanListener& listener);

}  // namespace host
