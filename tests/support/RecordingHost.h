// A host's window: records the module's registered messages as text and runs the test's handlers inside them.
#pragma once

#include <scanmodule/scanmodule.h>

#include <map>
#include <utility>

#include "Lines.h"
#include "MessageWindow.h"

class RecordingHost {
public:
    // The name is for the journal, which is told when the window is enabled or disabled.
    explicit RecordingHost(std::string name = "host");

    HWND window() const { return window_; }

    // "XferStart", "XferEnd -5", "CloseDSReq". Parameters that should be 0 and aren't are named.
    Lines messages() const { return messages_; }
    Lines takeMessages() { return std::exchange(messages_, {}); }

    std::function<void(TXferImageInfo&)> onXferStart;
    std::function<void(const TXferImageInfo&)> onXferEnd;
    std::function<void(const TXferStripInfo&)> onXferData;
    std::function<void(char*)> onGetFileName;
    // Any message, as it is recorded; after the handlers above.
    std::function<void(const std::string&)> onMessage;

private:
    bool handle(UINT message, WPARAM wParam, LPARAM lParam);

    const std::string name_;
    std::map<UINT, std::string> names_;
    Lines messages_;
    const MessageWindow window_;
};
