// The link to TWAIN: the loaded manager, the two parties' identities and the state that they are in. The only
// place that calls DSM_Entry.
#pragma once

#include <scanmodule/twain_types.h>
#include <windows.h>

#include <cstdint>

#include "base/Trace.h"

// TWAIN states as the module tracks them; states 6 and 7 exist only inside a transfer batch.
enum SessionState : uint32_t {
    stateNotLoaded = 1,
    stateManagerLoaded = 2,
    stateManagerOpen = 3,
    stateSourceOpen = 4,
    stateSourceEnabled = 5
};

class Link {
public:
    explicit Link(HINSTANCE module) : instance(module) {}

    // What this module tells the manager about itself.
    TW_IDENTITY application = {};
    // All zero while no source is chosen.
    TW_IDENTITY dataSource = {};
    // Of this module: where its resources are.
    const HINSTANCE instance;
    SessionState state = stateNotLoaded;

    // Loading. The manager is loaded on demand: isAvailable tries again when it isn't there.
    void load();
    bool isLoaded() const;
    void unload();
    bool isAvailable();

    // An operation of the manager itself, and one with the source as the destination. Failure when the
    // manager is not loaded.
    TW_UINT16 manager(TW_UINT16 argumentType, TW_UINT16 message, void* data);
    TW_UINT16 source(TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message, void* data) {
        if (entry_ == nullptr) return TWRC_FAILURE;
        return entry_(&application, &dataSource, group, argumentType, message, data);
    }
    // An operation of the manager on the identity of a source; its texts come back terminated.
    TW_UINT16 identity(TW_UINT16 message, TW_IDENTITY& identity);
    TW_UINT16 imageInfo(TW_IMAGEINFO& info) { return source(DG_IMAGE, DAT_IMAGEINFO, MSG_GET, &info); }
    TW_UINT16 status(TW_STATUS& status) { return source(DG_CONTROL, DAT_STATUS, MSG_GET, &status); }

    // What the last failure was, as the source says: its condition code.
    int32_t conditionCode();

    // What most methods begin with: 0, or the refusal, already reported.
    int32_t checkAvailable(const Caller& caller) {
        // The long way has lines to write, which nobody reads.
        if (trace::view == nullptr && isThere()) return 0;
        return isAvailable() ? 0 : unavailable(caller);
    }
    int32_t checkReady(const Caller& caller, SessionState lowest = stateSourceOpen) {
        if (const int32_t refused = checkAvailable(caller)) return refused;
        return state >= lowest ? 0 : sequenceError(caller);
    }
    int32_t sequenceError(const Caller& caller);
    // Reports a failed operation and gives its condition code.
    int32_t operationFailed(const Caller& caller);
    // An operation of the source for which everything but success is a failure: 0 or the condition code.
    int32_t request(const Caller& caller, TW_UINT32 group, TW_UINT16 argumentType, TW_UINT16 message,
                    void* data);

private:
    bool isThere() const { return library_ != nullptr && entry_ != nullptr; }
    int32_t unavailable(const Caller& caller);

    HMODULE library_ = nullptr;
    DSMENTRYPROC entry_ = nullptr;
};
