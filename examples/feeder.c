/*
 * A batch from the feeder: feeder FOLDER scans all the pages that lie there, in gray at 300 dpi, as
 * FOLDER\page001.bmp, page002.bmp ... which the source writes (file transfer); files that are there are left
 * alone. Stops at the first page that fails. Returns 0 when all pages came.
 */
#include <scanmodule/scanmodule.h>
#include <stdio.h>
#include <string.h>

enum { LONGEST_SILENCE = 60000 /* milliseconds */ };

static UINT xferStart, xferEnd, closeRequest;
static char folder[SM_FILE_NAME_SIZE - 24], path[SM_FILE_NAME_SIZE];
static int pages, failed, closing;
static DWORD lastSign;

static int fail(const char* what, int code) {
    fprintf(stderr, code ? "%s (code %d).\n" : "%s.\n", what, code);
    failed = 1;
    return 0;
}

/* The next name that no file has, so that what lies there afterwards is this page. */
static void namePage(char* name) {
    static int number;
    do
        sprintf(path, "%s\\page%03d.bmp", folder, ++number);
    while (GetFileAttributesA(path) != INVALID_FILE_ATTRIBUTES);
    strcpy(name, path);
}

/* 0 doesn't promise a page: it also comes when a source fails without a reason. */
static int isWritten(void) {
    WIN32_FILE_ATTRIBUTE_DATA file;
    return GetFileAttributesExA(path, GetFileExInfoStandard, &file) && file.nFileSizeLow != 0;
}

static LRESULT CALLBACK onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == closeRequest) closing = 1; /* may come twice */
    if (message == xferStart) {
        TXferImageInfo* image = (TXferImageInfo*)lParam;
        lastSign = GetTickCount();
        if (image->XferMech == SM_MECH_FILE) namePage(image->Target.FileName);
    }
    if (message == xferEnd) {
        lastSign = GetTickCount();
        if ((int)wParam == SM_XFEREND_DONE && isWritten()) {
            printf("page %d: %s\n", ++pages, path);
        } else {
            DeleteFileA(path); /* what there is of it is the host's */
            fail("A page didn't come", (int)wParam);
            smCancelAllXfer(); /* else the batch goes on with the next page */
        }
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

static int prepare(void) {
    unsigned short available = 0, loaded = 0, mechanism = 0;
    smIsADFAvailable(&available);
    if (!available) return fail("The source has no feeder", 0);
    smSetADFEnable(1);
    smIsADFPaperLoaded(&loaded);
    if (!loaded) return fail("The feeder is empty", 0);
    smSetXferMech(SM_MECH_FILE);
    smGetXferMech(&mechanism); /* what counts is what the source made of it */
    if (mechanism != SM_MECH_FILE) return fail("The source doesn't write files", 0);
    if (smSetPixelType(SM_PIXEL_GRAY)) fprintf(stderr, "Not in gray: the source refuses.\n");
    if (smSetXResolution(300) || smSetYResolution(300)) fprintf(stderr, "Not at 300 dpi.\n");
    smSetXferCount(-1); /* all there are */
    return 1;
}

/* Until the source wants to be closed, or has said nothing for too long. */
static void runLoop(HWND window) {
    MSG message;
    SetTimer(window, 1, 1000, NULL); /* GetMessage returns now and then whatever the source does */
    lastSign = GetTickCount();
    while (!closing && GetMessageA(&message, NULL, 0, 0) > 0) {
        if (!smIsDSEvent(&message)) DispatchMessageA(&message); /* all pages come inside smIsDSEvent */
        if (!closing && GetTickCount() - lastSign > LONGEST_SILENCE) {
            fail("The source is silent", 0);
            return;
        }
    }
}

int main(int argumentCount, char** arguments) {
    DWORD length = 0;
    HWND window = CreateWindowA("STATIC", "", 0, 0, 0, 0, 0, NULL, NULL, NULL, NULL);
    int result;

    /* A full path, as the source may change the current folder; '%' would be read as a format. */
    if (argumentCount == 2) length = GetFullPathNameA(arguments[1], sizeof folder, folder, NULL);
    if (length == 0 || length >= sizeof folder || strchr(folder, '%')) {
        fprintf(stderr, "usage: feeder FOLDER\n");
        return 2;
    }
    SetWindowLongA(window, GWL_WNDPROC, (LONG)onMessage);
    xferStart = RegisterWindowMessageA(SM_MESSAGE_XFERSTART);
    xferEnd = RegisterWindowMessageA(SM_MESSAGE_XFEREND);
    closeRequest = RegisterWindowMessageA(SM_MESSAGE_CLOSEDSREQ);
    result = smOpenDS(window, "feeder");
    if (result != 0) {
        fail("The source can't be opened", result);
        return 1;
    }
    if (prepare()) {
        result = smEnableDS(0, 0); /* without the source's own window */
        if (result == 0)
            runLoop(window);
        else
            fail("The scan can't start", result);
    }
    smDisableDS();
    smCloseDS();
    return failed || pages == 0;
}
