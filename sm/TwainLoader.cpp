// Loading of the TWAIN manager: always "TWAIN_32.DLL" in the Windows directory itself, never from the system
// directory or the search path.
#include "TScanModule.h"

namespace {

constexpr char managerFile[] = "TWAIN_32.DLL";

void traceAnswer(const char* words, BOOL answer, TracePoint at = TracePoint::here()) {
    trace::write(TraceLevel::Trace, at, words, answer ? "TRUE" : "FALSE");
}

}  // namespace

void TScanModule::LoadTWAIN() {
    const MethodTrace trace{"TScanModule::LoadTWAIN"};
    if (IsTWAINLoaded()) return;
    char directory[256] = "";
    char path[256 + sizeof managerFile];
    GetWindowsDirectoryA(directory, sizeof directory);
    wsprintfA(path, "%s\\%s", directory, managerFile);
    loader_.library = LoadLibraryA(path);
    if (loader_.library == nullptr) {
        trace.warn("LoadLibrary fails");
        loader_.entry = nullptr;
        return;
    }
    // Through void*: the compiler can't know that this entry point has this type.
    loader_.entry =
        reinterpret_cast<DSMENTRYPROC>(reinterpret_cast<void*>(GetProcAddress(loader_.library, "DSM_Entry")));
    if (loader_.entry == nullptr) {
        trace.warn("GetProcAddress fails");
        FreeLibrary(loader_.library);
        loader_.library = nullptr;
        return;
    }
    loader_.state = stateManagerLoaded;
}

BOOL TScanModule::IsTWAINLoaded() {
    const MethodTrace trace{"TScanModule::IsTWAINLoaded"};
    const BOOL loaded = loader_.library != nullptr && loader_.entry != nullptr;
    traceAnswer("TScanModule::IsTWAINLoaded returns ", loaded);
    return loaded;
}

void TScanModule::UnloadTWAIN() {
    const MethodTrace trace{"TScanModule::UnloadTWAIN"};
    // With the manager or a source still open the library stays: it is not pulled from under a session.
    if (loader_.state != stateManagerLoaded) return;
    FreeLibrary(loader_.library);
    loader_ = Loader{};
}

BOOL TScanModule::IsTWAINAvailable() {
    const MethodTrace trace{"TScanModule::IsTWAINAvailable"};
    if (!IsTWAINLoaded()) LoadTWAIN();
    const BOOL available = IsTWAINLoaded();
    traceAnswer("TScanModule::IsTWAINAvailable returns ", available);
    return available;
}
