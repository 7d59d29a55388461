#pragma once

namespace host {

// False where windows can be opened, but nobody sees them: Wine without graphics, a service on Windows.
bool hasDisplay();

}  // namespace host
