#include "common/ModuleLibrary.h"

#include "common/Failure.h"
#include "common/ModuleActivity.h"
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

// Stands between the program and one of the module's functions, so that a watchdog sees what runs. Export is
// a type with the function's name.
template <class Export, class Function>
struct Watched;
template <class Export, class Result, class... Arguments>
struct Watched<Export, Result(WINAPI*)(Arguments...)> {
    static inline Result(WINAPI* original)(Arguments...) = nullptr;
    static Result WINAPI call(Arguments... arguments) {
        const WatchedCall here(Export::name());
        return original(arguments...);
    }
};

template <class Export, class Function>
void bind(HMODULE library, Function& function) {
    using Between = Watched<Export, Function>;
    const char* const name = Export::name();
    // Through void*: the compiler warns of a direct cast between function types.
    Between::original = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
    function = Between::call;
    if (!Between::original)
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
#define HOST_BIND(function)                                 \
    {                                                       \
        struct Export {                                     \
            static const char* name() { return #function; } \
        };                                                  \
        bind<Export>(library_, function);                   \
    }
        HOST_MODULE_FUNCTIONS(HOST_BIND)
#undef HOST_BIND
    } catch (const Failure&) {
        FreeLibrary(library_);
        throw;
    }
}

ModuleLibrary::~ModuleLibrary() {
    const WatchedCall here("FreeLibrary");  // frees the manager and its sources, too
    FreeLibrary(library_);
}

}  // namespace host
