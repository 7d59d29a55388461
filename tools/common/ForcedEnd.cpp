#include "common/ForcedEnd.h"

#include <windows.h>

#include <cstdlib>
#include <string>

#include "common/ModuleActivity.h"
#include "common/Text.h"
#include "common/UnfinishedNames.h"
#include "common/Wording.h"

namespace host {

namespace {

HANDLE mainThread = nullptr;
DWORD mainThreadId = 0;
UINT exitCode = 0;

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
    const char* const function = moduleActivity().function;
    endAtOnce({FailureCode::SourceError,
               format("%s crashed (exception %08lx in %s%s%s). Pages that are complete are kept.",
                      function ? "The source or its driver" : "It", record.ExceptionCode,
                      moduleAt(record.ExceptionAddress).c_str(), function ? ", during " : "",
                      function ? function : "")});
}

// Called when the thread of prepareForcedEnd ends the process, whoever it was that had it do so.
VOID WINAPI onProcessEnd(void*) {
    if (const char* const function = moduleActivity().function)
        endAtOnce(
            {FailureCode::SourceError,
             format("The source or its driver ended the program, during %s. Pages that are complete are "
                    "kept.",
                    function)});
}

// Fiber-local storage comes with such a call. Windows XP has none, and there is no other way for a program.
void watchProcessEnd() {
    const HMODULE kernel = GetModuleHandleA("kernel32.dll");
    const auto find = [&](const char* name) { return reinterpret_cast<void*>(GetProcAddress(kernel, name)); };
    using Callback = VOID(WINAPI*)(void*);
    const auto allocate = reinterpret_cast<DWORD(WINAPI*)(Callback)>(find("FlsAlloc"));
    const auto set = reinterpret_cast<BOOL(WINAPI*)(DWORD, void*)>(find("FlsSetValue"));
    if (allocate && set) set(allocate(onProcessEnd), &mainThread);
}

// For an end that gets stuck itself, as on a lock that the stopped thread holds.
DWORD WINAPI endInAnyCase(void*) {
    constexpr DWORD patience = 3000;
    Sleep(patience);
    TerminateProcess(GetCurrentProcess(), exitCode);
    return 0;
}

}  // namespace

void prepareForcedEnd() {
    DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &mainThread, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
    mainThreadId = GetCurrentThreadId();
    SetUnhandledExceptionFilter(onCrash);
    watchProcessEnd();
}

void endAtOnce(const Failure& failure) {
    static LONG endingThread = 0;
    const auto thread = static_cast<LONG>(GetCurrentThreadId());
    const LONG before = InterlockedCompareExchange(&endingThread, thread, 0);
    // What crashes in here has lost its chance.
    if (before == thread) TerminateProcess(GetCurrentProcess(), static_cast<UINT>(failure.code));
    if (before != 0) Sleep(INFINITE);
    exitCode = static_cast<UINT>(failure.code);
    CloseHandle(CreateThread(nullptr, 0, endInAnyCase, nullptr, 0, nullptr));
    const std::string line = std::string(wording.program) + ": " + failure.text + "\n";
    UnfinishedFilesHeld files;
    if (GetCurrentThreadId() != mainThreadId) SuspendThread(mainThread);
    files.remove();
    // Not through the C library, which the main thread may have been in the middle of.
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_ERROR_HANDLE), line.data(), static_cast<DWORD>(line.size()), &written,
              nullptr);
    // Now and then Wine crashes where a process ends with a thread stopped, and the exit code is lost.
    ResumeThread(mainThread);
    TerminateProcess(GetCurrentProcess(), exitCode);
    std::abort();
}

}  // namespace host
