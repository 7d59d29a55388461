#include "common/ModuleLibrary.h"

#include "common/Failure.h"
#include "common/Text.h"
#include "common/TextEncoding.h"
#include "common/Wording.h"

namespace host {

namespace {

std::string modulePath() {
    wchar_t path[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::string program = utf8(path);
    return program.substr(0, program.find_last_of('\\') + 1) + "ScanModule.dll";
}

template <class Function>
void bind(HMODULE library, const char* name, Function& function) {
    // Through void*: the compiler warns of a direct cast between function types.
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
    if (!function)
        throw Failure{FailureCode::NoManager,
                      format("\"%s\" has no function %s: it is older than this program. Put "
                             "the ScanModule.dll of the same version beside %s.exe.",
                             modulePath().c_str(), name, wording.program)};
}

}  // namespace

ModuleLibrary::ModuleLibrary() : library_(LoadLibraryW(wide(modulePath()).c_str())) {
    if (!library_)
        throw Failure{FailureCode::NoManager,
                      format("Cannot load \"%s\": %s It belongs beside %s.exe.", modulePath().c_str(),
                             lastErrorText().c_str(), wording.program)};
    try {
#define HOST_BIND(name) bind(library_, #name, name);
        HOST_MODULE_FUNCTIONS(HOST_BIND)
#undef HOST_BIND
    } catch (const Failure&) {
        FreeLibrary(library_);
        throw;
    }
}

ModuleLibrary::~ModuleLibrary() {
    FreeLibrary(library_);
}

}  // namespace host
