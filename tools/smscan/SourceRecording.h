// --record: as long as it lives, what passes between the module and the source is written down.
#pragma once

#include "common/HostWindow.h"
#include "common/ModuleLibrary.h"
#include "common/ScanListener.h"
#include "record/ManagerTap.h"
#include "smscan/Options.h"

namespace smscan {

class SourceRecording {
public:
    // Made before the module is loaded. Throws Failure.
    SourceRecording(const Options& options, ScanListener& listener);

    // Once the module is loaded: throws Failure when it can't be recorded.
    void requireTap() const;
    // Opens the chosen source and asks it for everything.
    void survey(const ModuleLibrary& module, HWND parent);
    // Scans a page in each mode and some resolutions, as far as the source has them.
    void scanModes(const ModuleLibrary& module, HostWindow& window);
    // Throws Failure when the files are not complete.
    void finish() const;

private:
    void requireComplete() const;

    const Options& options_;
    ScanListener& listener_;
    record::CallRecorder recorder_;
    record::ManagerTap tap_;
};

}  // namespace smscan
