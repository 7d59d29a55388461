// Everything around one module: the manager, the host, the viewer and the record of what the module asks of
// Windows.
#pragma once

#include "Module.h"
#include "ModuleCalls.h"
#include "RecordingHost.h"
#include "RecordingViewer.h"
#include "ScriptedManager.h"
#include "WindowsFiles.h"

class Stage {
public:
    Stage() = default;
    ~Stage();

    // Brings the session into TWAIN state 4 or 5, and forgets what was recorded on the way.
    void open();
    void enable(bool showUI = false, bool modalUI = false);
    // To state 2, 4 or 5.
    void bringTo(int state);
    void forget();
    // What happened since the last forget, then what is wrong with the module's memory.
    Lines happened() const { return journal + windows.memoryComplaints(); }

    // Hands the module a message of the host's loop, on which the source has something to say.
    bool deliver(TW_UINT16 notification);

    ModuleCalls windows{ModuleCalls::Switches{{"Trace", 1}, {"Warning", 1}}};
    RecordingViewer viewer;
    ScriptedManager manager;
    RecordingHost host;
    Module module;
};
