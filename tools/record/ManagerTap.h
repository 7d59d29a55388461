// Stands between the scan module and the TWAIN manager: the module asks Windows for the manager's entry and
// gets this one's. It does so as soon as it is loaded, so the tap is made before and outlives it. One at a
// time.
#pragma once

#include "record/CallRecorder.h"

namespace record {

class ManagerTap {
public:
    ManagerTap(const wchar_t* moduleName, CallRecorder& recorder);
    ~ManagerTap();
    ManagerTap(const ManagerTap&) = delete;
    ManagerTap& operator=(const ManagerTap&) = delete;

    // False, once the module is loaded: it can't be listened to, and nothing will be recorded.
    bool works() const;

    // An operation of the tap's own with the source that the module has opened; recorded like the others.
    TW_UINT16 ask(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data);

private:
    struct LibraryNotification;
    static void CALLBACK onLibrary(ULONG reason, const LibraryNotification* facts, void* tap);
    static FARPROC WINAPI findProcedure(HMODULE library, LPCSTR name);
    static TW_UINT16 WINAPI enter(pTW_IDENTITY origin, pTW_IDENTITY destination, TW_UINT32 group,
                                  TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data);

    static ManagerTap* active_;
    CallRecorder& recorder_;
    const wchar_t* moduleName_;
    void* cookie_ = nullptr;
    void** slot_ = nullptr;  // where the module keeps GetProcAddress
    DSMENTRYPROC manager_ = nullptr;
    TW_IDENTITY host_{};
    TW_IDENTITY source_{};
};

}  // namespace record
