#include "RecordingHost.h"

RecordingHost::RecordingHost(std::string name)
    : name_(std::move(name)),
      window_("ScanModuleTestHost", [this](UINT message, WPARAM wParam, LPARAM lParam) {
          return handle(message, wParam, lParam);
      }) {
    for (const std::string message : {"CloseDSReq", "XferStart", "XferData", "XferEnd", "ScanToFileGetName",
                                      "ScanToFileXferEnd", "ScanToFileDSClosed"})
        names_[RegisterWindowMessageA(("ScanModule_" + message).c_str())] = message;
}

bool RecordingHost::handle(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_ENABLE) journal.push_back(name_ + (wParam != 0 ? " enabled" : " disabled"));
    const auto found = names_.find(message);
    if (found == names_.end()) return false;
    const std::string& name = found->second;
    const bool hasResult = name == "XferEnd" || name == "ScanToFileXferEnd";
    const bool hasRecord = name.rfind("Xfer", 0) == 0 || name == "ScanToFileGetName";
    std::string line = name;
    if (hasResult || wParam != 0) line += " " + std::to_string(static_cast<int>(wParam));
    if (hasRecord != (lParam != 0)) line += hasRecord ? " without a record" : " with a record";
    messages_.push_back(line);
    journal.push_back(line);

    auto* const image = reinterpret_cast<TXferImageInfo*>(lParam);
    if (name == "XferStart" && onXferStart) onXferStart(*image);
    if (name == "XferEnd" && onXferEnd) onXferEnd(*image);
    if (name == "XferData" && onXferData) onXferData(*reinterpret_cast<TXferStripInfo*>(lParam));
    if (name == "ScanToFileGetName" && onGetFileName) onGetFileName(reinterpret_cast<char*>(lParam));
    if (onMessage) onMessage(line);
    return true;
}
