#pragma once

#include "common/ModuleLibrary.h"

namespace host {

// An open source; disabled and closed when it goes.
class OpenSource {
public:
    // Throws Failure with the reason.
    OpenSource(const ModuleLibrary& module, HWND parent);
    OpenSource(const OpenSource&) = delete;
    OpenSource& operator=(const OpenSource&) = delete;
    ~OpenSource() { close(); }

    // Starts the scan. Throws Failure.
    void enable(bool showWindow);

    // Ends the scan; the source stays open.
    void disable();

    void close();

private:
    const ModuleLibrary& module_;
    bool open_ = false;
    bool enabled_ = false;
};

}  // namespace host
