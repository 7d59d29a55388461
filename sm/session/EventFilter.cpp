// Offers the host's messages to the source and reacts to what the source signals through them.
#include "TScanModule.h"
#include "base/RegistryText.h"

namespace {

// Only this value hands the images to the host suite's own path; 1 does not, on purpose.
constexpr UINT suppressTransfer = 2;

// "ZR_Scan.INI" in the host suite's data folder; the folder's text is expected to end in a backslash. Without
// the registry value it is the bare name, which the profile functions look up in the Windows directory.
bool transferSuppressed() {
    constexpr char fileName[] = "ZR_Scan.INI";
    // Kept: full access, though only read; where it is denied nothing is suppressed.
    const RegistryText folder{"Software\\Lumivo", "DataDir", KEY_ALL_ACCESS};
    char path[RegistryText::size + sizeof fileName];
    lstrcpyA(path, folder.text);
    lstrcatA(path, fileName);
    return GetPrivateProfileIntA("Settings", "SuppressTWAIN", 0, path) == suppressTransfer;
}

}  // namespace

BOOL TScanModule::IsDSEvent(MSG* msg) {
    // No trace of its own: this runs for every message of the host.
    if (link_.state < stateSourceEnabled) return FALSE;
    TW_EVENT event = {msg, MSG_NULL};
    const TW_UINT16 code = link_.source(DG_CONTROL, DAT_EVENT, MSG_PROCESSEVENT, &event);
    switch (event.TWMessage) {
        case MSG_XFERREADY: {
            const MethodTrace trace{"TScanModule::IsDSEvent capturing MSG_XFERREADY"};
            if (transfers_.running) {
                // From inside a handler: the running batch holds buffers that a second one would free.
                trace.warn("A batch is running already");
                break;
            }
            const RunningBatch running{transfers_};
            if (oneShot_.active) {
                ProcessPrestoScanImage();
            } else if (!transferSuppressed()) {
                ProcessScanImage();
            }
            break;
        }
        case MSG_CLOSEDSREQ: {
            const MethodTrace trace{"TScanModule::IsDSEvent capturing MSG_CLOSEDSREQ"};
            if (oneShot_.active) {
                DisableDS();
                CloseDS();
                host_.tell(host_.scanToFileDSClosed, 0);
            } else {
                host_.tell(host_.closeDSReq, 0);
            }
            break;
        }
    }
    return code == TWRC_DSEVENT;
}
