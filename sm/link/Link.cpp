// Loading of the TWAIN manager: always "TWAIN_32.DLL" in the Windows directory itself, never from the system
// directory or the search path. Its lines name the methods that hosts and log readers know these steps by.
#include "link/Link.h"

#include <scanmodule/scanmodule.h>

#include <initializer_list>

namespace {

constexpr char managerFile[] = "TWAIN_32.DLL";

void traceAnswer(const char* words, bool answer, TracePoint at = TracePoint::here()) {
    trace::write(TraceLevel::Trace, at, words, answer ? "TRUE" : "FALSE");
}

}  // namespace

void Link::load() {
    const MethodTrace trace{"TScanModule::LoadTWAIN"};
    if (isLoaded()) return;
    char directory[256] = "";
    char path[256 + sizeof managerFile];
    // Without a folder the path would name the root of the current drive.
    const UINT length = GetWindowsDirectoryA(directory, sizeof directory);
    const bool isKnown = length > 0 && length < sizeof directory;
    wsprintfA(path, "%s\\%s", directory, managerFile);
    library_ = isKnown ? LoadLibraryA(path) : nullptr;
    if (library_ == nullptr) {
        trace.warn("LoadLibrary fails");
        entry_ = nullptr;
        return;
    }
    // Through void*: the compiler can't know that this entry point has this type.
    entry_ = reinterpret_cast<DSMENTRYPROC>(reinterpret_cast<void*>(GetProcAddress(library_, "DSM_Entry")));
    if (entry_ == nullptr) {
        trace.warn("GetProcAddress fails");
        FreeLibrary(library_);
        library_ = nullptr;
        return;
    }
    state = stateManagerLoaded;
}

bool Link::isLoaded() const {
    const MethodTrace trace{"TScanModule::IsTWAINLoaded"};
    const bool loaded = isThere();
    traceAnswer("TScanModule::IsTWAINLoaded returns ", loaded);
    return loaded;
}

void Link::unload() {
    const MethodTrace trace{"TScanModule::UnloadTWAIN"};
    // With the manager or a source still open the library stays: it is not pulled from under a session.
    if (state != stateManagerLoaded) return;
    FreeLibrary(library_);
    library_ = nullptr;
    entry_ = nullptr;
    state = stateNotLoaded;
}

bool Link::isAvailable() {
    const MethodTrace trace{"TScanModule::IsTWAINAvailable"};
    if (!isLoaded()) load();
    // Kept: asked anew, with lines of its own.
    const bool available = isLoaded();
    traceAnswer("TScanModule::IsTWAINAvailable returns ", available);
    return available;
}

TW_UINT16 Link::manager(TW_UINT16 argumentType, TW_UINT16 message, void* data) {
    if (entry_ == nullptr) return TWRC_FAILURE;
    return entry_(&application, nullptr, DG_CONTROL, argumentType, message, data);
}

TW_UINT16 Link::identity(TW_UINT16 message, TW_IDENTITY& identity) {
    const TW_UINT16 code = manager(DAT_IDENTITY, message, &identity);
    // A careless source fills its texts to the brim.
    for (TW_STR32* text :
         {&identity.Version.Info, &identity.Manufacturer, &identity.ProductFamily, &identity.ProductName}) {
        (*text)[sizeof *text - 1] = '\0';
    }
    return code;
}

int32_t Link::conditionCode() {
    const MethodTrace trace{"TScanModule::GetTWAINStatusCode"};
    if (const int32_t refused = checkAvailable(trace)) return refused;
    TW_STATUS answer = {};
    // To the source even when none is open; the identity is then all zero.
    if (status(answer) != TWRC_SUCCESS) {
        trace.warn("DSM_Entry returns failure");
        return TWCC_BUMMER;
    }
    return answer.ConditionCode;
}

int32_t Link::unavailable(const Caller& caller) {
    caller.warn("TWAIN is not available");
    return SM_RESULT_NOT_AVAILABLE;
}

int32_t Link::sequenceError(const Caller& caller) {
    caller.warn("Sequence error");
    return TWCC_SEQERROR;
}

int32_t Link::operationFailed(const Caller& caller) {
    caller.warn("DSM_Entry returns failure");
    return conditionCode();
}

int32_t Link::request(const Caller& caller, TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message,
                      void* data) {
    return source(group, argumentType, message, data) == TWRC_SUCCESS ? 0 : operationFailed(caller);
}
