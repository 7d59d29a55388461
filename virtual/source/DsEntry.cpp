// The data source: DS_Entry as the source manager calls it, around one virtual scanner.
#include <windows.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "settings/SettingsReader.h"
#include "source/HostRecord.h"
#include "source/VirtualScanner.h"

#if defined(_MSC_VER)
#include <intrin.h>
#define RETURN_ADDRESS() _ReturnAddress()
#else
#define RETURN_ADDRESS() __builtin_return_address(0)
#endif

#if defined(__GLIBCXX__)
namespace __gnu_cxx {
void __freeres();
}
#endif

namespace {

using vscan::VirtualScanner;

HINSTANCE module = nullptr;

void report(const std::string& complaint) {
    const std::string line = "virtual scanner: " + complaint + "\r\n";
    OutputDebugStringA(line.c_str());
    const HANDLE output = GetStdHandle(STD_ERROR_HANDLE);
    DWORD written = 0;
    if (output && output != INVALID_HANDLE_VALUE)
        WriteFile(output, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

// vscan.ini beside the DLL, under whatever name the DLL itself is installed.
std::string settingsPath() {
    char path[MAX_PATH];
    const DWORD length = GetModuleFileNameA(module, path, sizeof path);
    const std::string own(path, length);
    return own.substr(0, own.find_last_of("\\/") + 1) + "vscan.ini";
}

// The source as the manager sees it: the scanner, and who talks to it.
class Source {
public:
    Source() : scanner_(readSettings(), [this](TW_UINT16 message) { notify(message); }) {
        if (!scanner_.pageComplaint().empty()) complaints_.push_back(scanner_.pageComplaint());
    }

    // `caller` is code of the manager.
    TW_UINT16 call(const void* caller, pTW_IDENTITY origin, TW_UINT32 group, TW_UINT16 argumentType,
                   TW_UINT16 message, TW_MEMREF data) {
        const bool opens = group == DG_CONTROL && argumentType == DAT_IDENTITY && message == MSG_OPENDS;
        // Not when the source is loaded: managers do that once more, only to ask for its name.
        if (opens) reportComplaints();
        if (opens) useStandardStreams();
        const TW_UINT16 result = scanner_.call(group, argumentType, message, data);
        for (const std::string& remark : scanner_.takeRemarks())
            report(remark);
        if (!opens || result != TWRC_SUCCESS) return result;
        manager_ = moduleOf(caller);
        if (const auto* host = vscan::hostRecord<TW_IDENTITY>(origin, MSG_SET)) host_ = *host;
        // The manager numbers its sources; it knows this one again by the identity it opened.
        if (const auto* own = vscan::hostRecord<TW_IDENTITY>(data, MSG_SET)) own_ = *own;
        return result;
    }

private:
    vscan::VirtualScannerSettings readSettings() {
        const vscan::VirtualScannerSettings settings = vscan::readSettings(settingsPath(), complaints_);
        prints_ = settings.prints;
        readsInput_ = settings.readsInput;
        return settings;
    }

    // By the C library and by Windows, as drivers do that were written for a console once.
    void useStandardStreams() const {
        DWORD count = 0;
        char text[] = "{\"warming\": \"up\"}\n";
        if (prints_) {
            std::fputs(text, stdout);
            std::fflush(stdout);
            WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), text, sizeof text - 1, &count, nullptr);
        }
        if (readsInput_) {
            std::getchar();
            ReadFile(GetStdHandle(STD_INPUT_HANDLE), text, 1, &count, nullptr);
        }
    }

    void reportComplaints() {
        for (const std::string& complaint : complaints_)
            report(complaint);
        complaints_.clear();
    }

    static HMODULE moduleOf(const void* code) {
        constexpr DWORD byAddress =
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
        HMODULE found = nullptr;
        return GetModuleHandleExA(byAddress, static_cast<const char*>(code), &found) ? found : nullptr;
    }

    // Sources reach the host through the manager that opened them. A process may have two, and one that
    // doesn't know this source may fail badly; names serve only where the caller was no manager itself.
    void notify(TW_UINT16 message) {
        for (const HMODULE library :
             {manager_, GetModuleHandleA("TWAINDSM.DLL"), GetModuleHandleA("TWAIN_32.DLL")}) {
            const FARPROC entry = library ? GetProcAddress(library, "DSM_Entry") : nullptr;
            if (!entry) continue;
            const auto dsmEntry = reinterpret_cast<DSMENTRYPROC>(reinterpret_cast<void*>(entry));
            if (dsmEntry(&own_, &host_, DG_CONTROL, DAT_NULL, message, nullptr) == TWRC_SUCCESS) return;
            break;
        }
        report("the source manager took no notice of message " + std::to_string(message));
    }

    std::vector<std::string> complaints_;
    bool prints_ = false;
    bool readsInput_ = false;
    HMODULE manager_ = nullptr;
    TW_IDENTITY host_{};
    TW_IDENTITY own_{};
    VirtualScanner scanner_;
};

Source* source = nullptr;

}  // namespace

extern "C" TW_UINT16 WINAPI DS_Entry(pTW_IDENTITY origin, TW_UINT32 group, TW_UINT16 argumentType,
                                     TW_UINT16 message, TW_MEMREF data) {
    try {
        // Made at the first call rather than when the DLL is loaded, where little is allowed.
        if (!source) source = new Source;
        return source->call(RETURN_ADDRESS(), origin, group, argumentType, message, data);
    } catch (...) {
        return TWRC_FAILURE;
    }
}

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID processEnds) {
    if (reason == DLL_PROCESS_ATTACH) module = instance;
    // Managers load and free a source several times. When the process ends, all goes by itself.
    if (reason == DLL_PROCESS_DETACH && !processEnds) {
        delete std::exchange(source, nullptr);
#if defined(__GLIBCXX__)
        // The reserve of memory that the C++ library keeps for exceptions.
        __gnu_cxx::__freeres();
#endif
    }
    return TRUE;
}
