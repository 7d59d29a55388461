// The session: opening, enabling, disabling and closing the manager and a source.
#include "Names.h"
#include "TScanModule.h"

namespace {

TW_USERINTERFACE userInterface(BOOL showUI, BOOL modalUI, HWND parent) {
    return {static_cast<TW_BOOL>(showUI), static_cast<TW_BOOL>(modalUI), parent};
}

}  // namespace

int32_t TScanModule::OpenDSM(HWND parent) {
    const MethodTrace trace{"TScanModule::OpenDSM"};
    if (const int32_t refused = checkAvailable(trace)) return refused;
    if (loader_.state == stateManagerOpen) {
        trace.warn("Data Source Manager is already open");
        return 0;
    }
    if (loader_.state != stateManagerLoaded) return sequenceError(trace);
    if (callManager(DAT_PARENT, MSG_OPENDSM, &parent) != TWRC_SUCCESS) return callFailed(trace);
    loader_.state = stateManagerOpen;
    return 0;
}

int32_t TScanModule::CloseDSM(HWND parent) {
    const MethodTrace trace{"TScanModule::CloseDSM"};
    if (const int32_t refused = checkAvailable(trace)) return refused;
    if (loader_.state == stateManagerLoaded) {
        trace.warn("Data Source Manager is already closed");
        return 0;
    }
    if (loader_.state != stateManagerOpen) return sequenceError(trace);
    if (callManager(DAT_PARENT, MSG_CLOSEDSM, &parent) != TWRC_SUCCESS) return callFailed(trace);
    loader_.state = stateManagerLoaded;
    return 0;
}

int32_t TScanModule::OpenDS(HWND parent, const char* productName) {
    const MethodTrace trace{"TScanModule::OpenDS"};
    if (const int32_t refused = checkAvailable(trace)) return refused;
    parent_ = validParent(trace, parent);
    if (loader_.state == stateSourceOpen) {
        trace.warn("DS is already open");
        return 0;
    }
    lstrcpynA(presentedName_, productName != nullptr ? productName : moduleName, sizeof presentedName_);
    lstrcpynA(appIdentity_.ProductName, presentedName_, sizeof appIdentity_.ProductName);
    if (const int32_t failure = OpenDSM(parent_)) {
        trace.warn("OpenDSM returns failure");
        return failure;
    }
    if (dsIdentity_.ProductName[0] == '\0') askIdentity(MSG_GETDEFAULT, &dsIdentity_);
    if (askIdentity(MSG_OPENDS, &dsIdentity_) != TWRC_SUCCESS) {
        const int32_t code = callFailed(trace);
        CloseDSM(parent_);
        return code;
    }
    loader_.state = stateSourceOpen;

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
    if (const int32_t refused = checkAvailable(trace)) return refused;
    if (loader_.state == stateSourceEnabled) {
        trace.warn("DS is already enabled");
        return 0;
    }
    if (loader_.state != stateSourceOpen) return sequenceError(trace);
    ui_.showUI = showUI;
    TW_USERINTERFACE request = userInterface(showUI, modalUI, parent_);
    if (modalUI) {
        trace.note("To disable parent window");
        EnableWindow(parent_, FALSE);
        ui_.disabledWindow = parent_;
        ui_.parentDisabled = 1;
        trace.note("Disable parent window OK");
    }
    switch (callSource(DG_CONTROL, DAT_USERINTERFACE, MSG_ENABLEDS, &request)) {
        case TWRC_CHECKSTATUS:
            // The source changed the request, for example it can't hide its interface; it is enabled all the
            // same.
            trace.warn("DSM_Entry returns check condition");
            [[fallthrough]];
        case TWRC_SUCCESS:
            loader_.state = stateSourceEnabled;
            return 0;
    }
    const int32_t code = callFailed(trace);
    releaseParent();
    return code;
}

int32_t TScanModule::DisableDS() {
    const MethodTrace trace{"TScanModule::DisableDS"};
    if (const int32_t refused = checkAvailable(trace)) return refused;
    if (loader_.state == stateSourceOpen) {
        trace.warn("DS is already disabled");
        return 0;
    }
    if (loader_.state != stateSourceEnabled) return sequenceError(trace);
    TW_USERINTERFACE request = userInterface(FALSE, TRUE, parent_);
    if (callSource(DG_CONTROL, DAT_USERINTERFACE, MSG_DISABLEDS, &request) != TWRC_SUCCESS) {
        const int32_t code = callFailed(trace);
        // Kept: after a real failure the source may still be up, so the parent stays disabled.
        if (code == 0) releaseParent();
        return code;
    }
    loader_.state = stateSourceOpen;
    releaseParent();
    return 0;
}

int32_t TScanModule::CloseDS() {
    const MethodTrace trace{"TScanModule::CloseDS"};
    if (const int32_t refused = checkAvailable(trace)) return refused;
    if (loader_.state == stateManagerOpen) {
        trace.warn("DS is already closed");
    } else if (loader_.state == stateSourceOpen) {
        if (callManager(DAT_IDENTITY, MSG_CLOSEDS, &dsIdentity_) != TWRC_SUCCESS) return callFailed(trace);
        loader_.state = stateManagerOpen;
    } else {
        return sequenceError(trace);
    }
    CloseDSM(parent_);
    // Forgotten, so that the next OpenDS falls back to the default source unless one is chosen again.
    dsIdentity_ = TW_IDENTITY{};
    pulled_ = PulledImage{};
    return 0;
}

int32_t TScanModule::GetTWAINStatusCode() {
    const MethodTrace trace{"TScanModule::GetTWAINStatusCode"};
    if (const int32_t refused = checkAvailable(trace)) return refused;
    TW_STATUS status = {};
    // To the source even when none is open; the identity is then all zero.
    if (callSource(DG_CONTROL, DAT_STATUS, MSG_GET, &status) != TWRC_SUCCESS) {
        trace.warn("DSM_Entry returns failure");
        return TWCC_BUMMER;
    }
    return status.ConditionCode;
}

void TScanModule::releaseParent() {
    if (ui_.parentDisabled == 0) return;
    ui_.parentDisabled = 0;
    EnableWindow(ui_.disabledWindow, TRUE);
    ui_.disabledWindow = nullptr;
}
