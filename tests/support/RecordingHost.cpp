#include "RecordingHost.h"

namespace {

constexpr const char* className = "ScanModuleTestHost";

void registerClass(WNDPROC procedure) {
    WNDCLASSA windowClass = {};
    windowClass.lpfnWndProc = procedure;
    windowClass.hInstance = GetModuleHandleA(nullptr);
    windowClass.lpszClassName = className;
    RegisterClassA(&windowClass);  // fails when it is there already, which is as good
}

}  // namespace

RecordingHost::RecordingHost() {
    const std::string prefix = "ScanModule_";
    for (const char* name : {"CloseDSReq", "XferStart", "XferData", "XferEnd", "ScanToFileGetName",
                             "ScanToFileXferEnd", "ScanToFileDSClosed"})
        names_[RegisterWindowMessageA((prefix + name).c_str())] = name;
    registerClass(windowProcedure);
    window_ = CreateWindowA(className, "", WS_OVERLAPPEDWINDOW, 0, 0, 100, 100, nullptr, nullptr,
                            GetModuleHandleA(nullptr), nullptr);
    SetWindowLongPtrA(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

RecordingHost::~RecordingHost() {
    DestroyWindow(window_);
}

Lines RecordingHost::takeMessages() {
    Lines taken;
    taken.swap(messages_);
    return taken;
}

LRESULT CALLBACK RecordingHost::windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* const host = reinterpret_cast<RecordingHost*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    if (host != nullptr && message != WM_NCDESTROY) {
        const auto found = host->names_.find(message);
        if (found != host->names_.end()) {
            host->handle(found->second, wParam, lParam);
            return 0;
        }
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

void RecordingHost::handle(const std::string& name, WPARAM wParam, LPARAM lParam) {
    const int result = static_cast<int>(wParam);
    const bool hasResult = name == "XferEnd" || name == "ScanToFileXferEnd";
    const bool hasRecord =
        name == "XferStart" || name == "XferData" || name == "XferEnd" || name == "ScanToFileGetName";
    std::string line = name;
    if (hasResult) line += " " + std::to_string(result);
    if (!hasResult && wParam != 0) line += " wParam " + std::to_string(result);
    if (hasRecord && lParam == 0) line += " without a record";
    if (!hasRecord && lParam != 0) line += " lParam " + std::to_string(lParam);
    messages_.push_back(line);
    journal.push_back("> " + line);

    if (hasRecord && lParam == 0) return;
    if (name == "XferStart" || name == "XferEnd")
        images_.push_back(*reinterpret_cast<TXferImageInfo*>(lParam));
    if (name == "XferStart" && onXferStart) onXferStart(*reinterpret_cast<TXferImageInfo*>(lParam));
    if (name == "XferData" && onXferData) onXferData(*reinterpret_cast<TXferStripInfo*>(lParam));
    if (name == "XferEnd" && onXferEnd) onXferEnd(result, *reinterpret_cast<TXferImageInfo*>(lParam));
    if (name == "CloseDSReq" && onCloseRequest) onCloseRequest();
    if (name == "ScanToFileGetName" && onGetFileName) onGetFileName(reinterpret_cast<char*>(lParam));
}
