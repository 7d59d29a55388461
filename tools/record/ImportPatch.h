// Another function in place of one that a loaded library imports. The library's file is not changed.
#pragma once

#include <windows.h>

namespace record {

// Where the library keeps the function's address; finds it by name, whichever library it comes from. Null
// when it imports no such function.
void** importSlot(HMODULE library, const char* name);

void replaceImport(void** slot, void* replacement);

}  // namespace record
