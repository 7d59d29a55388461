#pragma once

#include "common/Failure.h"

namespace host {

// Called by the main thread before anything else: a crash then ends the process as everything does that goes
// wrong, with a text and a documented code.
void prepareForcedEnd();

// Ends the process at once, wherever its main thread is: removes unfinished files and says why. From any
// thread; when two ask for it, the first one has its way.
[[noreturn]] void endAtOnce(const Failure& failure);

}  // namespace host
