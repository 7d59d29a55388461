#pragma once

#include "common/ModuleLibrary.h"
#include "common/ScanListener.h"
#include "common/ScanRequest.h"

namespace host {

// Sets everything that the request asks for at the open source, reads it back, and notes where the source
// made something else of it. Throws Failure when the source doesn't offer a value (the range is named) or
// refuses it.
void applySettings(const ModuleLibrary& module, const ScanRequest& request, ScanListener& listener);

}  // namespace host
