#pragma once

#include "common/HostWindow.h"
#include "common/ModuleLibrary.h"
#include "common/PageOutput.h"
#include "common/ScanListener.h"
#include "common/ScanRequest.h"

namespace host {

// The one-shot scan of one page to a file. Throws Failure.
void scanOneShot(const ModuleLibrary& module, const ScanRequest& request, PageOutput& output,
                 HostWindow& window, ScanListener& listener);

}  // namespace host
