/*
 * An image pulled strip by strip, at the host's own pace: puller FILE.PPM scans a page in colour at 150 dpi
 * into a portable pixmap, whose bytes are those that smReadBlock gives: rows from the top, red, green, blue,
 * no padding. Returns 0 when the whole page is written.
 */
#include <scanmodule/scanmodule.h>
#include <stdio.h>
#include <stdlib.h>

enum { STRIP_ROWS = 64, UNTOUCHED = 0x7FFFFFFF };

static UINT xferStart, closeRequest;
static const char* path;
static int closing;
static const char* problem = "The source announced no image";

/* A pattern that no picture holds shows how far a strip reaches: the last one doesn't tell its length. */
static unsigned char pattern(unsigned int at) {
    return (unsigned char)(at * 37 + 11);
}
static void fill(unsigned char* buffer, unsigned int size) {
    while (size-- > 0)
        buffer[size] = pattern(size);
}
static unsigned int filled(const unsigned char* buffer, unsigned int size, unsigned int rowBytes) {
    while (size > 0 && buffer[size - 1] == pattern(size - 1))
        --size;
    return (size + rowBytes - 1) / rowBytes * rowBytes;
}

static const char* pullRows(FILE* file, unsigned int rowBytes, unsigned int left) {
    const unsigned int size = STRIP_ROWS * rowBytes,
                       room = size + rowBytes; /* smReadBlock copies whole rows */
    unsigned char* const buffer = malloc(room);
    const char* end = buffer ? NULL : "There is not enough memory";
    while (!end && left > 0) {
        unsigned int count = UNTOUCHED;
        fill(buffer, room);
        if (smReadBlock(buffer, size, &count)) count = filled(buffer, room, rowBytes);
        if (count == 0 || count == UNTOUCHED) end = "The source stopped in the middle of the page";
        if (!end && count > left) count = left;
        if (!end && fwrite(buffer, 1, count, file) != count) end = "The file can't be written";
        if (!end) left -= count;
    }
    free(buffer);
    return end;
}

static const char* pull(const TXferImageInfo* image) {
    const char* end;
    FILE* file;
    if (image->XferMech != SM_MECH_MEMORY || image->PixelTypeFlag != SM_PIXEL_RGB ||
        image->BitsPerPixel != 24 || image->Planar || image->Compression)
        return "The image isn't plain 24-bit colour in strips";
    if (image->ImageWidth <= 0 || image->ImageLength <= 0 || image->ImageWidth > 65535 ||
        image->ImageLength > 21845)
        return "The image's size isn't known, or too large";
    file = fopen(path, "wb");
    if (!file) return "The file can't be made";
    fprintf(file, "P6\n%d %d\n255\n", image->ImageWidth, image->ImageLength);
    end = pullRows(file, 3u * image->ImageWidth, 3u * image->ImageWidth * image->ImageLength);
    if (fclose(file) != 0 && !end) end = "The file can't be written";
    if (end) remove(path);
    return end;
}

static LRESULT CALLBACK onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == closeRequest) closing = 1;
    if (message == xferStart) {
        problem = pull((const TXferImageInfo*)lParam);
        smCancelAllXfer(); /* all that was wanted is here: the module must not transfer as well */
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

int main(int argumentCount, char** arguments) {
    MSG message;
    int result;
    HWND window = CreateWindowA("STATIC", "", 0, 0, 0, 0, 0, NULL, NULL, NULL, NULL);
    if (argumentCount != 2) {
        fprintf(stderr, "usage: puller FILE.PPM\n");
        return 2;
    }
    path = arguments[1];
    SetWindowLongA(window, GWL_WNDPROC, (LONG)onMessage);
    xferStart = RegisterWindowMessageA(SM_MESSAGE_XFERSTART);
    closeRequest = RegisterWindowMessageA(SM_MESSAGE_CLOSEDSREQ);
    result = smOpenDS(window, "puller"); /* chooses memory transfer */
    if (result != 0) {
        fprintf(stderr, "The source can't be opened (code %d).\n", result);
        return 1;
    }
    smSetPixelType(SM_PIXEL_RGB);
    smSetXResolution(150);
    smSetYResolution(150);
    smSetXferCount(1);
    if (smEnableDS(0, 0) != 0) closing = 1;
    while (!closing && GetMessageA(&message, NULL, 0, 0) > 0)
        if (!smIsDSEvent(&message)) DispatchMessageA(&message);
    smDisableDS();
    smCloseDS();
    if (problem) fprintf(stderr, "%s.\n", problem);
    return problem != NULL;
}
