#include "ModuleLibrary.h"

#include "Failure.h"
#include "PageFiles.h"
#include "Text.h"

namespace smscan {

namespace {

std::string modulePath() {
    char path[MAX_PATH] = {};
    GetModuleFileNameA(nullptr, path, sizeof path);
    const std::string program = path;
    return program.substr(0, program.find_last_of('\\') + 1) + "ScanModule.dll";
}

template <class Function>
void bind(HMODULE library, const char* name, Function& function) {
    // Through void*: the compiler warns of a direct cast between function types.
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
    if (!function)
        throw Failure{ExitCode::NoManager,
                      format("\"%s\" has no function %s: it is older than this program. Put "
                             "the ScanModule.dll of the same version beside smscan.exe.",
                             modulePath().c_str(), name)};
}

}  // namespace

ModuleLibrary::ModuleLibrary() : library_(LoadLibraryA(modulePath().c_str())) {
    if (!library_)
        throw Failure{ExitCode::NoManager, format("Cannot load \"%s\": %s It belongs beside smscan.exe.",
                                                  modulePath().c_str(), lastErrorText().c_str())};
    try {
#define SMSCAN_BIND(name) bind(library_, #name, name);
        SMSCAN_MODULE_FUNCTIONS(SMSCAN_BIND)
#undef SMSCAN_BIND
    } catch (const Failure&) {
        FreeLibrary(library_);
        throw;
    }
}

ModuleLibrary::~ModuleLibrary() {
    FreeLibrary(library_);
}

}  // namespace smscan
