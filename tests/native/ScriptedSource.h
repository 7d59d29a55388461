// A TWAIN manager and source that do what the script says: DSM_Entry, and what its answers are made of.
#pragma once

#include <scanmodule/twain_types.h>

// The source's own memory.
struct ScriptedSource {
    TW_UINT32 mechanism;
    // What a handler does while a call is under way.
    void (*meanwhile)();
    // The image as last described; whether it may be described otherwise the next time.
    TW_IMAGEINFO image;
    bool keepsImage;
    // Of all images described: bytes of a row in the host's buffer; some image had no width.
    TW_INT32 widestRow;
    bool widthUnknown;
};
extern ScriptedSource source;

TW_UINT16 scriptedEntry(pTW_IDENTITY origin, pTW_IDENTITY destination, TW_UINT32 group,
                        TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data);
// A container, honest or not; a block of the caller's.
void putContainer(TW_CAPABILITY& cap, TW_UINT32 plainValue);
