#include "base/Host.h"

#include <scanmodule/scanmodule.h>

namespace {

struct Registration {
    UINT& identifier;
    const char* name;
};

template <size_t count>
void registerAll(const Registration (&messages)[count], TracePoint at = TracePoint::here()) {
    bool failed = false;
    for (const Registration& message : messages) {
        message.identifier = RegisterWindowMessageA(message.name);
        if (message.identifier == 0) failed = true;
    }
    if (failed) {
        trace::write(TraceLevel::Fatal, at, "RegisterWindowMessage fails, Scan Module may not work properly");
    }
}

}  // namespace

void Host::registerMessages() {
    registerAll({{closeDSReq, SM_MESSAGE_CLOSEDSREQ},
                 {xferStart, SM_MESSAGE_XFERSTART},
                 {xferData, SM_MESSAGE_XFERDATA},
                 {xferEnd, SM_MESSAGE_XFEREND}});
    registerAll({{scanToFileGetName, SM_MESSAGE_SCANTOFILEGETNAME},
                 {scanToFileXferEnd, SM_MESSAGE_SCANTOFILEXFEREND},
                 {scanToFileDSClosed, SM_MESSAGE_SCANTOFILEDSCLOSED}});
}

LRESULT Host::tell(UINT message, WPARAM wParam, const void* lParam) const {
    return SendMessageA(window, message, wParam, reinterpret_cast<LPARAM>(lParam));
}
