// The source that is recorded: loaded once for the life of the process, and overheard when it sends the host
// notices past the entry of its own.
#pragma once

#include <windows.h>

#include <functional>
#include <string>

#include "scanmodule/twain_types.h"

namespace recorder {

class RealSource {
public:
    // A message to the host, on its way to the manager.
    using Overhear = std::function<void(TW_UINT16 message)>;

    // A source that can't be loaded has no entry.
    RealSource(const std::string& path, Overhear overhear);

    DSENTRYPROC entry() const { return entry_; }
    // Who opened the source: its notices go there.
    void setManager(HMODULE manager);
    // The operation that tells a source where the manager's entry is: it gets ours.
    TW_UINT16 tellEntry(pTW_IDENTITY origin, TW_MEMREF data);

private:
    static FARPROC WINAPI findProcedure(HMODULE library, LPCSTR name);
    static TW_UINT16 WINAPI toManager(pTW_IDENTITY origin, pTW_IDENTITY destination, TW_UINT32 group,
                                      TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data);

    static RealSource* only_;
    Overhear overhear_;
    DSENTRYPROC entry_ = nullptr;
    DSMENTRYPROC manager_ = nullptr;
};

}  // namespace recorder
