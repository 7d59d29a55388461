#pragma once

#include <vector>

#include "common/CapsRow.h"
#include "common/ModuleLibrary.h"

namespace host {

// Asks the open source for everything that the module can tell about it; for what only the maker's own
// sources have, when it is one of them.
std::vector<CapsRow> queryCaps(const ModuleLibrary& module, bool ofMaker);

// The present values of these rows alone: what a source made of a request.
std::vector<CapsRow> presentValues(const std::vector<CapsRow>& rows);

}  // namespace host
