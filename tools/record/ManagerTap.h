// Stands between the scan module and the TWAIN manager: the module asks Windows for the manager's entry and
// gets this one's. One at a time.
#pragma once

#include "record/CallRecorder.h"
#include "record/ImportPatch.h"

namespace record {

class ManagerTap {
public:
    ManagerTap(HMODULE module, CallRecorder& recorder);
    ~ManagerTap();
    ManagerTap(const ManagerTap&) = delete;
    ManagerTap& operator=(const ManagerTap&) = delete;

    // False: the module asks Windows otherwise than expected, and nothing will be recorded.
    bool works() const { return patch_.found(); }

    // An operation of the tap's own with the source that the module has opened; recorded like the others.
    TW_UINT16 ask(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data);

private:
    static FARPROC WINAPI findProcedure(HMODULE library, LPCSTR name);
    static TW_UINT16 WINAPI enter(pTW_IDENTITY origin, pTW_IDENTITY destination, TW_UINT32 group,
                                  TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data);

    static ManagerTap* active_;
    CallRecorder& recorder_;
    ImportPatch patch_;
    DSMENTRYPROC manager_ = nullptr;
    TW_IDENTITY host_{};
    TW_IDENTITY source_{};
};

}  // namespace record
