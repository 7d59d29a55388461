#pragma once

#include <vector>

#include "common/CapsRow.h"
#include "common/ModuleLibrary.h"

namespace host {

// Asks the open source for everything that the module can tell about it.
std::vector<CapsRow> queryCaps(const ModuleLibrary& module);

}  // namespace host
