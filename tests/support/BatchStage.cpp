#include "BatchStage.h"

#include <cstring>

const Mechanism mechanisms[3] = {
    {SM_MECH_NATIVE, TWSX_NATIVE, "DoNativeXfer", "IMAGENATIVEXFER; ",
     "! MSG_GET DAT_IMAGENATIVEXFER error in @; "},
    {SM_MECH_FILE, TWSX_FILE, "DoFileXfer", "SET SETUPFILEXFER C:\\page.bmp format 2; IMAGEFILEXFER; ", ""},
    {SM_MECH_MEMORY, TWSX_MEMORY, "DoMemXfer", "IMAGEMEMXFER; XferData; IMAGEMEMXFER; ", "XferData; "},
};

Page grayPage() {
    return {imageInfo(TWPT_GRAY, 8, 4, 4), cutRows(pattern(16), 4, 4, 2)};
}

BatchStage::BatchStage(std::vector<Page> pages, const Mechanism& mechanism, bool showUI) {
    source.put(std::move(pages));
    source.mechanism = mechanism.twain;
    host.onXferStart = [](TXferImageInfo& image) {
        if (image.XferMech == SM_MECH_FILE) std::strcpy(image.Target.FileName, "C:\\page.bmp");
    };
    host.onXferData = [this](const TXferStripInfo& strip) { keep(strip); };
    enable(showUI);
}

void BatchStage::run(std::vector<Page> pages) {
    source.put(std::move(pages));
    strips.clear();
    received.clear();
    forget();
    run();
}

void BatchStage::keep(const TXferStripInfo& strip) {
    strips.push_back(std::to_string(strip.Columns) + "x" + std::to_string(strip.Rows) + " at " +
                     std::to_string(strip.XOffset) + "," + std::to_string(strip.YOffset) + ": " +
                     std::to_string(strip.BytesWritten) + " bytes, rows of " +
                     std::to_string(strip.BytesPerRow) + (strip.DibAligned != 0 ? " as in a DIB" : ""));
    const auto* const bytes = static_cast<const uint8_t*>(strip.Buffer->BufferPointer);
    received.insert(received.end(), bytes, bytes + strip.BytesWritten);
}
