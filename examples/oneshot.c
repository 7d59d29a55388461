/*
 * One call from scanner to file: oneshot FILE.BMP [bw|gray|color] [DPI] scans one page without the source's
 * window. Returns 0 when the file is written.
 */
#include <scanmodule/scanmodule.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static UINT getName, xferEnd, sourceClosed;
static char path[SM_FILE_NAME_SIZE];
static int result = SM_RESULT_NOT_AVAILABLE;
static int closed;

static LRESULT CALLBACK onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == getName) strcpy((char*)lParam, path);
    if (message == xferEnd) result = (int)wParam;
    if (message == sourceClosed) closed = 1;
    return DefWindowProcA(window, message, wParam, lParam);
}

/* A result of 0 doesn't promise an image: when a source fails without a reason the file may be empty. */
static int isWritten(void) {
    WIN32_FILE_ATTRIBUTE_DATA file;
    return GetFileAttributesExA(path, GetFileExInfoStandard, &file) && file.nFileSizeLow != 0;
}

int main(int argumentCount, char** arguments) {
    WNDCLASSA windowClass = {0};
    PrestoScanSettings settings;
    const char* mode = argumentCount > 2 ? arguments[2] : "gray";
    DWORD length = 0;
    HWND window;
    MSG message;

    /* The module needs a full path: the source may change the current folder. */
    if (argumentCount > 1) length = GetFullPathNameA(arguments[1], sizeof path, path, NULL);
    if (length == 0 || length >= sizeof path || strchr(path, '%')) { /* '%': a source may get another name */
        fprintf(stderr, "usage: oneshot FILE.BMP [bw|gray|color] [DPI]\n");
        return 2;
    }
    windowClass.lpfnWndProc = onMessage;
    windowClass.lpszClassName = "oneshot";
    RegisterClassA(&windowClass);
    window = CreateWindowA("oneshot", "", 0, 0, 0, 0, 0, NULL, NULL, NULL, NULL);
    getName = RegisterWindowMessageA(SM_MESSAGE_SCANTOFILEGETNAME);
    xferEnd = RegisterWindowMessageA(SM_MESSAGE_SCANTOFILEXFEREND);
    sourceClosed = RegisterWindowMessageA(SM_MESSAGE_SCANTOFILEDSCLOSED);

    memset(&settings, 0, sizeof settings); /* no window, no feeder, one page; tone as it is by default */
    settings.PixelType = !strcmp(mode, "bw")      ? SM_PIXEL_BW
                         : !strcmp(mode, "color") ? SM_PIXEL_RGB
                                                  : SM_PIXEL_GRAY;
    settings.Resolution = (short)(argumentCount > 3 ? atoi(arguments[3]) : 300);
    if (!smPrestoScan(window, "oneshot", &settings)) {
        fprintf(stderr, "The scan can't start.\n");
        smCloseDS(); /* a source that takes none of the transfer mechanisms is still open */
        return 1;
    }
    while (!closed && GetMessageA(&message, NULL, 0, 0) > 0)
        if (!smIsDSEvent(&message)) DispatchMessageA(&message); /* the page is written inside smIsDSEvent */
    if (result != SM_SCANTOFILE_DONE) {
        fprintf(stderr, "The scan ended with code %d.\n", result);
        return 1;
    }
    if (!isWritten()) {
        fprintf(stderr, "The source gave no image.\n");
        DeleteFileA(path);
        return 1;
    }
    return 0;
}
