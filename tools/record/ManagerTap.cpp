#include "record/ManagerTap.h"

#include <cstring>

namespace record {

ManagerTap* ManagerTap::active_ = nullptr;

ManagerTap::ManagerTap(HMODULE module, CallRecorder& recorder)
    : recorder_(recorder),
      patch_(module, "GetProcAddress", reinterpret_cast<void*>(&ManagerTap::findProcedure)) {
    active_ = this;
}

ManagerTap::~ManagerTap() {
    active_ = nullptr;
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
