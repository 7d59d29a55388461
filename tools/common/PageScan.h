#pragma once

#include "common/HostWindow.h"
#include "common/ModuleLibrary.h"
#include "common/OpenSource.h"
#include "common/PageOutput.h"
#include "common/ScanListener.h"
#include "common/ScanRequest.h"

namespace host {

// Sets an open source and scans the pages to files; the source stays open for more. Throws Failure, which
// says what became of the pages.
void scanOpened(const ModuleLibrary& module, OpenSource& source, const ScanRequest& request,
                PageOutput& output, HostWindow& window, ScanListener& listener);

// The same with the source opened before and closed afterwards.
void scanPages(const ModuleLibrary& module, const ScanRequest& request, PageOutput& output,
               HostWindow& window, ScanListener& listener);

}  // namespace host
