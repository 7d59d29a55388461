/* Scans one page in colour and holds it as a DIB: the smallest host there is. */
#include <scanmodule/scanmodule.h>
#include <stdio.h>

static UINT xferStart, closeRequest;
static HGLOBAL dib;
static int closing;

static LRESULT CALLBACK onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    TXferImageInfo* image = (TXferImageInfo*)lParam;
    if (message == xferStart && image->XferMech == SM_MECH_NATIVE)
        image->Target.Dib = &dib; /* make it ours */
    if (message == closeRequest) closing = 1;
    return DefWindowProcA(window, message, wParam, lParam);
}

int main(void) {
    MSG message;
    HWND window = CreateWindowA("STATIC", "", 0, 0, 0, 0, 0, NULL, NULL, NULL, NULL);
    if (!window) return 1; /* Wine without a display */
    SetWindowLongA(window, GWL_WNDPROC, (LONG)onMessage);
    xferStart = RegisterWindowMessageA(SM_MESSAGE_XFERSTART);
    closeRequest = RegisterWindowMessageA(SM_MESSAGE_CLOSEDSREQ);
    if (smOpenDS(window, "simplest") != 0) return 1;
    smSetXferMech(SM_MECH_NATIVE);
    smSetPixelType(SM_PIXEL_RGB);
    smSetXferCount(1);
    if (smEnableDS(0, 0) == 0) /* 0: without the source's own window */
        while (!closing && GetMessageA(&message, NULL, 0, 0) > 0)
            if (!smIsDSEvent(&message)) DispatchMessageA(&message); /* the page comes inside smIsDSEvent */
    smDisableDS();
    smCloseDS();
    /* The handle alone tells whether a page came: SM_MESSAGE_XFEREND may say 0 without one. */
    if (dib) printf("A page of %lu bytes.\n", (unsigned long)GlobalSize(dib));
    return dib && !GlobalFree(dib) ? 0 : 1;
}
