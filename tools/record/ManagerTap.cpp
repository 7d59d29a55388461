#include "record/ManagerTap.h"

#include <winternl.h>

#include <cstring>
#include <cwchar>
#include <string>

#include "record/ImportPatch.h"

namespace record {

ManagerTap* ManagerTap::active_ = nullptr;

// ntdll's notification of a mapped library, which comes before the library's own entry runs. Not in the
// compiler's headers.
struct ManagerTap::LibraryNotification {
    ULONG flags;
    const UNICODE_STRING *fullName, *baseName;
    HMODULE base;
    ULONG imageSize;
};

namespace {

constexpr ULONG libraryLoaded = 1;
using RegisterNotification = LONG(WINAPI*)(ULONG flags, void* function, void* context, void** cookie);
using UnregisterNotification = LONG(WINAPI*)(void* cookie);

template <class Function>
Function ntdllFunction(const char* name) {
    const FARPROC found = GetProcAddress(GetModuleHandleA("ntdll.dll"), name);
    return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
}

}  // namespace

ManagerTap::ManagerTap(const wchar_t* moduleName, CallRecorder& recorder)
    : recorder_(recorder), moduleName_(moduleName) {
    active_ = this;
    const auto notify = ntdllFunction<RegisterNotification>("LdrRegisterDllNotification");
    if (notify) notify(0, reinterpret_cast<void*>(&ManagerTap::onLibrary), this, &cookie_);
}

ManagerTap::~ManagerTap() {
    active_ = nullptr;
    const auto forget = ntdllFunction<UnregisterNotification>("LdrUnregisterDllNotification");
    if (cookie_ && forget) forget(cookie_);
}

void CALLBACK ManagerTap::onLibrary(ULONG reason, const LibraryNotification* facts, void* tap) {
    auto& self = *static_cast<ManagerTap*>(tap);
    const std::wstring name(facts->baseName->Buffer, facts->baseName->Length / sizeof(wchar_t));
    if (reason != libraryLoaded || _wcsicmp(name.c_str(), self.moduleName_) != 0) return;
    self.slot_ = importSlot(facts->base, "GetProcAddress");
    if (self.slot_) replaceImport(self.slot_, reinterpret_cast<void*>(&ManagerTap::findProcedure));
}

bool ManagerTap::works() const {
    return slot_ && *slot_ == reinterpret_cast<void*>(&ManagerTap::findProcedure);
}

FARPROC WINAPI ManagerTap::findProcedure(HMODULE library, LPCSTR name) {
    const FARPROC found = GetProcAddress(library, name);
    const bool byName = reinterpret_cast<ULONG_PTR>(name) > 0xFFFF;
    if (!found || !active_ || !byName || std::strcmp(name, "DSM_Entry") != 0) return found;
    active_->manager_ = reinterpret_cast<DSMENTRYPROC>(reinterpret_cast<void*>(found));
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&ManagerTap::enter));
}

TW_UINT16 WINAPI ManagerTap::enter(pTW_IDENTITY origin, pTW_IDENTITY destination, TW_UINT32 group,
                                   TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) {
    ManagerTap& tap = *active_;
    const auto call = [&] { return tap.manager_(origin, destination, group, argumentType, message, data); };
    const bool opens = group == DG_CONTROL && argumentType == DAT_IDENTITY && message == MSG_OPENDS;
    const bool closes = group == DG_CONTROL && argumentType == DAT_IDENTITY && message == MSG_CLOSEDS;
    // What only the manager answers says nothing of the source.
    if (!destination && !opens && !closes) return call();
    const TW_UINT16 result = tap.recorder_.pass({group, argumentType, message}, data, call);
    if (opens && result == TWRC_SUCCESS) {
        tap.host_ = *origin;
        tap.source_ = *static_cast<const TW_IDENTITY*>(data);
    }
    return result;
}

TW_UINT16 ManagerTap::ask(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) {
    if (!manager_ || recorder_.state() < 4) return TWRC_FAILURE;
    return enter(&host_, &source_, group, argumentType, message, data);
}

}  // namespace record
