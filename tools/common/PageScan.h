#pragma once

#include "common/HostWindow.h"
#include "common/ModuleLibrary.h"
#include "common/PageOutput.h"
#include "common/ScanListener.h"
#include "common/ScanRequest.h"

namespace host {

// Opens the source, sets it, scans the pages to files and closes it. Throws Failure, which says what became
// of the pages.
void scanPages(const ModuleLibrary& module, const ScanRequest& request, PageOutput& output,
               HostWindow& window, ScanListener& listener);

}  // namespace host
