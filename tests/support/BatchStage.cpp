#include "BatchStage.h"

#include <cstring>
#include <sstream>

const Mechanism mechanisms[3] = {
    {SM_MECH_NATIVE, TWSX_NATIVE, "DoNativeXfer", "IMAGENATIVEXFER; ",
     "! MSG_GET DAT_IMAGENATIVEXFER error in @; "},
    {SM_MECH_FILE, TWSX_FILE, "DoFileXfer", "SET SETUPFILEXFER C:\\page.bmp format 2; IMAGEFILEXFER; ", ""},
    {SM_MECH_MEMORY, TWSX_MEMORY, "DoMemXfer", "IMAGEMEMXFER; XferData; IMAGEMEMXFER; ", "XferData; "},
};

std::string Mechanism::image(const std::string& transfer, int result) const {
    const std::string told = "XferEnd " + std::to_string(result) + "; ";
    return info() + "GETCURRENT ICAP_UNITS; XferStart; " + transfer +
           (isMemory() ? "ENDXFER; " + told : told + "ENDXFER; ");
}

Page grayPage() {
    return imagePage(TWPT_GRAY, 8, 4, 4, 4, 2);
}

BatchStage::BatchStage(const std::vector<Page>& pages, const Mechanism& mechanism, bool showUI) {
    source.put(pages);
    manager.answer(operation::getCurrent(ICAP_XFERMECH), give(oneValue(TWTY_UINT16, mechanism.twain)));
    host.onXferStart = [](TXferImageInfo& image) {
        if (image.XferMech == SM_MECH_FILE) std::strcpy(image.Target.FileName, "C:\\page.bmp");
    };
    host.onXferData = [this](const TXferStripInfo& strip) { keep(strip); };
    enable(showUI);
}

void BatchStage::run(const std::vector<Page>& pages) {
    source.put(pages);
    strips.clear();
    received.clear();
    forget();
    run();
}

void BatchStage::keep(const TXferStripInfo& strip) {
    std::ostringstream text;
    text << strip.Columns << "x" << strip.Rows << " at " << strip.XOffset << "," << strip.YOffset << ": "
         << strip.BytesWritten << " bytes, rows of " << strip.BytesPerRow
         << (strip.DibAligned != 0 ? " as in a DIB" : "");
    strips.push_back(text.str());
    const auto* const bytes = static_cast<const uint8_t*>(strip.Buffer->BufferPointer);
    received.insert(received.end(), bytes, bytes + strip.BytesWritten);
}
