#pragma once

#include <vector>

#include "CapsTable.h"
#include "ModuleLibrary.h"

namespace smscan {

// Asks the open source for everything that the module can tell about it.
std::vector<CapsRow> queryCaps(const ModuleLibrary& module);

}  // namespace smscan
