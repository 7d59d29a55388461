// Another function in place of one that a loaded library imports, as long as the patch lives. The library's
// file is not changed.
#pragma once

#include <windows.h>

namespace record {

class ImportPatch {
public:
    // Finds the import by name, whichever library it comes from.
    ImportPatch(HMODULE library, const char* name, void* replacement);
    ~ImportPatch();
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

    // False: the library imports no such function.
    bool found() const { return slot_ != nullptr; }
    void* original() const { return original_; }

private:
    void write(void* function);

    void** slot_ = nullptr;
    void* original_ = nullptr;
};

}  // namespace record
