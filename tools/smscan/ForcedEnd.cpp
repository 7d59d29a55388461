#include "smscan/ForcedEnd.h"

#include <windows.h>

#include <cstdlib>
#include <string>

#include "common/ModuleActivity.h"
#include "common/Text.h"
#include "common/UnfinishedNames.h"

namespace smscan {

namespace {

using host::Failure;
using host::format;

HANDLE mainThread = nullptr;
DWORD mainThreadId = 0;

// "sane.ds": whose code lies there.
std::string moduleAt(const void* address) {
    constexpr DWORD byAddress =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    HMODULE module = nullptr;
    char path[MAX_PATH] = "";
    if (!GetModuleHandleExA(byAddress, static_cast<const char*>(address), &module) ||
        !GetModuleFileNameA(module, path, sizeof path))
        return "unknown code";
    const std::string name = path;
    return name.substr(name.find_last_of('\\') + 1);
}

LONG WINAPI onCrash(EXCEPTION_POINTERS* crash) {
    const EXCEPTION_RECORD& record = *crash->ExceptionRecord;
    const char* const function = host::moduleActivity().function;
    endAtOnce({host::FailureCode::SourceError,
               format("%s crashed (exception %08lx in %s%s%s). Pages that are complete are kept.",
                      function ? "The source or its driver" : "It", record.ExceptionCode,
                      moduleAt(record.ExceptionAddress).c_str(), function ? ", during " : "",
                      function ? function : "")});
}

}  // namespace

void prepareForcedEnd() {
    DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &mainThread, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
    mainThreadId = GetCurrentThreadId();
    SetUnhandledExceptionFilter(onCrash);
}

void endAtOnce(const Failure& failure) {
    static LONG ending = 0;
    if (InterlockedExchange(&ending, 1) != 0) Sleep(INFINITE);
    const std::string line = "smscan: " + failure.text + "\r\n";
    host::UnfinishedFilesHeld files;
    if (GetCurrentThreadId() != mainThreadId) SuspendThread(mainThread);
    files.remove();
    // Not through the C library, which the main thread may have been in the middle of.
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), line.data(), static_cast<DWORD>(line.size()), &written,
              nullptr);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(failure.code));
    Sleep(INFINITE);
    std::abort();
}

}  // namespace smscan
