#include "RealSource.h"

#include <cstring>
#include <utility>

#include "record/ImportPatch.h"

namespace recorder {

namespace {

constexpr char managerEntry[] = "DSM_Entry";

// How the record of DAT_ENTRYPOINT begins.
struct EntryPoint {
    TW_UINT32 Size;
    DSMENTRYPROC DSM_Entry;
};

DSMENTRYPROC entryOf(FARPROC found) {
    return reinterpret_cast<DSMENTRYPROC>(reinterpret_cast<void*>(found));
}

}  // namespace

RealSource* RealSource::only_ = nullptr;

RealSource::RealSource(const std::string& path, Overhear overhear) : overhear_(std::move(overhear)) {
    only_ = this;
    // Libraries of the source's own lie beside it, not beside the host.
    const HMODULE library = LoadLibraryExA(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (!library) return;
    if (void** const slot = record::importSlot(library, "GetProcAddress"))
        record::replaceImport(slot, reinterpret_cast<void*>(&RealSource::findProcedure));
    if (void** const slot = record::importSlot(library, managerEntry)) {
        manager_ = reinterpret_cast<DSMENTRYPROC>(*slot);
        record::replaceImport(slot, reinterpret_cast<void*>(&RealSource::toManager));
    }
    entry_ = reinterpret_cast<DSENTRYPROC>(reinterpret_cast<void*>(GetProcAddress(library, "DS_Entry")));
}

void RealSource::setManager(HMODULE manager) {
    const FARPROC found = manager ? GetProcAddress(manager, managerEntry) : nullptr;
    if (found) manager_ = entryOf(found);
}

// Sources look for the manager by its name, or in the module that called them, which is this one.
FARPROC WINAPI RealSource::findProcedure(HMODULE library, LPCSTR name) {
    const FARPROC found = GetProcAddress(library, name);
    const bool byName = reinterpret_cast<ULONG_PTR>(name) > 0xFFFF;
    if (!byName || std::strcmp(name, managerEntry) != 0) return found;
    if (!only_->manager_) only_->manager_ = entryOf(found);
    return only_->manager_ ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&RealSource::toManager))
                           : found;
}

TW_UINT16 WINAPI RealSource::toManager(pTW_IDENTITY origin, pTW_IDENTITY destination, TW_UINT32 group,
                                       TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) {
    if (group == DG_CONTROL && argumentType == DAT_NULL) only_->overhear_(message);
    return only_->manager_(origin, destination, group, argumentType, message, data);
}

TW_UINT16 RealSource::tellEntry(pTW_IDENTITY origin, TW_MEMREF data) {
    constexpr TW_UINT16 entryPoint = 0x0403;
    auto* const told = static_cast<EntryPoint*>(data);
    if (!told || IsBadWritePtr(told, sizeof *told))
        return entry_(origin, DG_CONTROL, entryPoint, MSG_SET, data);
    manager_ = std::exchange(told->DSM_Entry, &RealSource::toManager);
    const TW_UINT16 result = entry_(origin, DG_CONTROL, entryPoint, MSG_SET, data);
    told->DSM_Entry = manager_;
    return result;
}

}  // namespace recorder
