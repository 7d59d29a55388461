// The DLL under test, loaded afresh: each instance has a scan module object of its own.
#pragma once

#include <scanmodule/scanmodule.h>

#include <string>

class Module {
public:
    Module();
    ~Module() { unload(); }
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    // Detaches early, for what happens then.
    void unload();
    HMODULE handle() const { return handle_; }

    // The functions of the DLL under the names of its methods.
#define SM_FUNCTION(name, ordinal, bytes) decltype(&::sm##name) name = nullptr;
#include "ModuleFunctions.inc"
#undef SM_FUNCTION
    decltype(&::DisableWnds) DisableWnds = nullptr;

private:
    HMODULE handle_ = nullptr;
};
