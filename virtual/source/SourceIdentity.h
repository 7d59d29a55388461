// Who the source says it is.
#pragma once

#include "scanmodule/twain_types.h"
#include "settings/Settings.h"

namespace vscan {

// Leaves the Id alone: it belongs to the source manager.
void describeSource(const VirtualScannerSettings& settings, TW_IDENTITY& identity);

}  // namespace vscan
