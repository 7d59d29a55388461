#pragma once

#include "record/ManagerTap.h"

namespace record {

// Asks the open source for all that it can be asked for without changing it: every capability of the standard
// and the maker's first 32, area, buffers, file, palette. The answers go into the recording. The number of
// capabilities that it knows.
int surveySource(ManagerTap& tap);

}  // namespace record
