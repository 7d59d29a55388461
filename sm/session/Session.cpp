// The session: opening, enabling, disabling and closing the manager and a source.
#include "TScanModule.h"
#include "base/Names.h"

namespace {

TW_USERINTERFACE userInterface(BOOL showUI, BOOL modalUI, HWND parent) {
    return {static_cast<TW_BOOL>(showUI), static_cast<TW_BOOL>(modalUI), parent};
}

}  // namespace

int32_t TScanModule::OpenDSM(HWND parent) {
    const MethodTrace trace{"TScanModule::OpenDSM"};
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    if (link_.state == stateManagerOpen) {
        trace.warn("Data Source Manager is already open");
        return 0;
    }
    if (link_.state != stateManagerLoaded) return link_.sequenceError(trace);
    if (link_.manager(DAT_PARENT, MSG_OPENDSM, &parent) != TWRC_SUCCESS) return link_.operationFailed(trace);
    link_.state = stateManagerOpen;
    return 0;
}

int32_t TScanModule::CloseDSM(HWND parent) {
    const MethodTrace trace{"TScanModule::CloseDSM"};
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    if (link_.state == stateManagerLoaded) {
        trace.warn("Data Source Manager is already closed");
        return 0;
    }
    if (link_.state != stateManagerOpen) return link_.sequenceError(trace);
    if (link_.manager(DAT_PARENT, MSG_CLOSEDSM, &parent) != TWRC_SUCCESS) return link_.operationFailed(trace);
    link_.state = stateManagerLoaded;
    return 0;
}

int32_t TScanModule::OpenDS(HWND parent, const char* productName) {
    const MethodTrace trace{"TScanModule::OpenDS"};
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    host_.window = validParent(trace, parent);
    if (link_.state == stateSourceOpen) {
        trace.warn("DS is already open");
        return 0;
    }
    lstrcpynA(host_.presentedName, productName != nullptr ? productName : moduleName,
              sizeof host_.presentedName);
    lstrcpynA(link_.application.ProductName, host_.presentedName, sizeof link_.application.ProductName);
    if (const int32_t failure = OpenDSM(host_.window)) {
        trace.warn("OpenDSM returns failure");
        return failure;
    }
    if (link_.dataSource.ProductName[0] == '\0') link_.identity(MSG_GETDEFAULT, link_.dataSource);
    if (link_.identity(MSG_OPENDS, link_.dataSource) != TWRC_SUCCESS) {
        const int32_t code = link_.operationFailed(trace);
        CloseDSM(host_.window);
        return code;
    }
    link_.state = stateSourceOpen;

    // A source that can't answer even this is not usable, for example a scanner that is switched off.
    if (GetDSBrightnessRange() == TWCC_OPERATIONERROR) {
        CloseDS();
        return TWCC_OPERATIONERROR;
    }
    GetDSContrastRange();
    GetDSHighlightRange();
    GetDSShadowRange();
    GetDSThresholdRange();
    SetXferMech(SM_MECH_MEMORY);
    uint16_t mechanism;
    GetXferMech(&mechanism);
    return 0;
}

int32_t TScanModule::EnableDS(BOOL showUI, BOOL modalUI) {
    const MethodTrace trace{"TScanModule::EnableDS"};
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    if (link_.state == stateSourceEnabled) {
        trace.warn("DS is already enabled");
        return 0;
    }
    if (link_.state != stateSourceOpen) return link_.sequenceError(trace);
    ui_.showUI = showUI;
    TW_USERINTERFACE request = userInterface(showUI, modalUI, host_.window);
    if (modalUI) {
        trace.note("To disable parent window");
        ui_.disableParent(host_.window);
        trace.note("Disable parent window OK");
    }
    switch (link_.source(DG_CONTROL, DAT_USERINTERFACE, MSG_ENABLEDS, &request)) {
        case TWRC_CHECKSTATUS:
            // The source changed the request, for example it can't hide its interface; it is enabled all the
            // same.
            trace.warn("DSM_Entry returns check condition");
            [[fallthrough]];
        case TWRC_SUCCESS:
            link_.state = stateSourceEnabled;
            return 0;
    }
    const int32_t code = link_.operationFailed(trace);
    ui_.releaseParent();
    return code;
}

int32_t TScanModule::DisableDS() {
    const MethodTrace trace{"TScanModule::DisableDS"};
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    if (link_.state == stateSourceOpen) {
        trace.warn("DS is already disabled");
        return 0;
    }
    if (link_.state != stateSourceEnabled) return link_.sequenceError(trace);
    TW_USERINTERFACE request = userInterface(FALSE, TRUE, host_.window);
    if (link_.source(DG_CONTROL, DAT_USERINTERFACE, MSG_DISABLEDS, &request) != TWRC_SUCCESS) {
        const int32_t code = link_.operationFailed(trace);
        // Kept: after a real failure the source may still be up, so the parent stays disabled.
        if (code == 0) ui_.releaseParent();
        return code;
    }
    link_.state = stateSourceOpen;
    ui_.releaseParent();
    transfers_.pulledStrip.Free();
    return 0;
}

int32_t TScanModule::CloseDS() {
    const MethodTrace trace{"TScanModule::CloseDS"};
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    if (link_.state == stateManagerOpen) {
        trace.warn("DS is already closed");
    } else if (link_.state == stateSourceOpen) {
        if (link_.identity(MSG_CLOSEDS, link_.dataSource) != TWRC_SUCCESS)
            return link_.operationFailed(trace);
        link_.state = stateManagerOpen;
    } else {
        return link_.sequenceError(trace);
    }
    CloseDSM(host_.window);
    // Forgotten, so that the next OpenDS falls back to the default source unless one is chosen again.
    link_.dataSource = TW_IDENTITY{};
    transfers_.forgetPulled();
    return 0;
}
