#pragma once

#include "HostWindow.h"
#include "ModuleLibrary.h"
#include "Options.h"
#include "PageFiles.h"

namespace smscan {

// --presto: the one-shot scan. Throws Failure.
void scanOneShot(const ModuleLibrary& module, const Options& options, const PageNames& names,
                 HostWindow& window);

}  // namespace smscan
