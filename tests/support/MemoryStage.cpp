#include "MemoryStage.h"

Page grayPage() {
    return {imageInfo(TWPT_GRAY, 8, 4, 4), cutRows(pattern(16), 4, 4, 2)};
}

MemoryStage::MemoryStage(std::vector<Page> pages) {
    source.put(std::move(pages));
    host.onXferData = [this](const TXferStripInfo& strip) { keep(strip); };
}

void MemoryStage::keep(const TXferStripInfo& strip) {
    strips.push_back(std::to_string(strip.Columns) + "x" + std::to_string(strip.Rows) + " at " +
                     std::to_string(strip.XOffset) + "," + std::to_string(strip.YOffset) + ": " +
                     std::to_string(strip.BytesWritten) + " bytes, rows of " +
                     std::to_string(strip.BytesPerRow) + (strip.DibAligned != 0 ? " as in a DIB" : ""));
    const auto* const bytes = static_cast<const uint8_t*>(strip.Buffer->BufferPointer);
    received.insert(received.end(), bytes, bytes + strip.BytesWritten);
}

std::string MemoryStage::run(bool showUI) {
    enable(showUI);
    deliver(MSG_XFERREADY);
    return story();
}

std::string MemoryStage::story() {
    std::string story;
    for (const std::string& message : host.takeMessages()) {
        if (message.rfind("XferEnd ", 0) == 0)
            story += "E" + message.substr(8) + " ";
        else if (message == "XferStart" || message == "XferData")
            story += message[4];
        else
            story += message == "CloseDSReq" ? "C" : "(" + message + ")";
    }
    return story;
}
