#include "Module.h"

#include <winternl.h>

#include <stdexcept>

#include "ModuleCalls.h"
#include "WindowsFiles.h"

namespace {

// ntdll's notification of a mapped library, which comes before the library's own entry runs. Not in the
// compiler's headers.
struct LibraryNotification {
    ULONG flags;
    const UNICODE_STRING *fullName, *baseName;
    HMODULE base;
    ULONG imageSize;
};
constexpr ULONG libraryLoaded = 1;
using NotificationFunction = void(CALLBACK*)(ULONG reason, const LibraryNotification* facts, void* context);
using RegisterNotification = LONG(WINAPI*)(ULONG flags, NotificationFunction, void* context, void** cookie);
using UnregisterNotification = LONG(WINAPI*)(void* cookie);

template <class Function>
Function functionOf(HMODULE library, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

void CALLBACK onLibrary(ULONG reason, const LibraryNotification* facts, void*) {
    const std::wstring name(facts->baseName->Buffer, facts->baseName->Length / sizeof(wchar_t));
    if (reason == libraryLoaded && _wcsicmp(name.c_str(), L"ScanModule.dll") == 0)
        ModuleCalls::attachTo(facts->base);
}

// Loads the library with its calls hooked already when its entry runs.
HMODULE loadHooked(const std::string& path) {
    const HMODULE ntdll = GetModuleHandleA("ntdll.dll");
    void* cookie = nullptr;
    functionOf<RegisterNotification>(ntdll, "LdrRegisterDllNotification")(0, onLibrary, nullptr, &cookie);
    const HMODULE library = LoadLibraryA(path.c_str());
    functionOf<UnregisterNotification>(ntdll, "LdrUnregisterDllNotification")(cookie);
    return library;
}

}  // namespace

// Test programs lie in a folder below the DLL's.
Module::Module() : handle_(loadHooked(programFolder() + "\\..\\ScanModule.dll")) {
    if (handle_ == nullptr) throw std::runtime_error("ScanModule.dll can't be loaded");
#define SM_FUNCTION(name, ordinal, bytes) name = functionOf<decltype(name)>(handle_, "sm" #name);
#include "ModuleFunctions.inc"
#undef SM_FUNCTION
    DisableWnds = functionOf<decltype(DisableWnds)>(handle_, "DisableWnds");
}

void Module::unload() {
    if (handle_ != nullptr) FreeLibrary(handle_);
    handle_ = nullptr;
}
