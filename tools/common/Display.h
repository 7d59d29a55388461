#pragma once

namespace host {

// False where windows can be opened, but nobody sees them: Wine without graphics, a service on Windows.
bool hasDisplay();

// A sentence for whoever has one shown all the same.
extern const char* const noDisplay;

}  // namespace host
