// What the module shows a host about a transfer. The records live as long as the module; a host must not keep
// their addresses beyond an image.
#pragma once

#include <scanmodule/scanmodule.h>
#include <scanmodule/twain_types.h>

#include <cstdint>

// One record for each mechanism. They are never cleared: an image of unknown pixel type keeps the flag of the
// image before it.
struct TransferRecords {
    TXferImageInfo native;
    TXferImageInfo file;
    TXferImageInfo memory;
    TXferStripInfo strip;
};

// One area for what the host is pointed to: it is never asked for a file and for a buffer at the same time.
// Kept: the last DIB's handle lies in it too, so it is what a host finds at the start of its next file's
// name.
union TransferArea {
    char fileName[SM_FILE_NAME_SIZE];
    HGLOBAL dib;
    SmBufferDescriptor buffer;
};

// Fills what the source says of an image into a record. The unit is the code of the source's present one.
void describeImage(TXferImageInfo& record, const TW_IMAGEINFO& info, uint16_t unit);

// The file-transfer set-up for a path. Kept: the path is used as a format text, so a "%" in it is
// interpreted; its directives find zeros. The result is cut to the field.
TW_SETUPFILEXFER makeFileSetup(const char* path);
