#pragma once

#include <vector>

#include "common/CapsRow.h"
#include "common/ModuleLibrary.h"

namespace host {

// Asks the open source for everything that the module can tell about it; for what only the maker's own
// sources have, when it is one of them.
std::vector<CapsRow> queryCaps(const ModuleLibrary& module, bool ofMaker);

}  // namespace host
