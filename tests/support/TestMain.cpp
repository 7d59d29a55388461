#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest.h>
#include <windows.h>

#include <cstdio>

namespace {

constexpr UINT crashed = 3;

// A crash ends the run at once, instead of a dialog or a debugger that nobody answers.
LONG WINAPI endCrashed(EXCEPTION_POINTERS* crash) {
    std::fprintf(stderr, "crashed: exception %08lX at %p\n", crash->ExceptionRecord->ExceptionCode,
                 crash->ExceptionRecord->ExceptionAddress);
    std::fflush(nullptr);
    TerminateProcess(GetCurrentProcess(), crashed);
    return EXCEPTION_EXECUTE_HANDLER;
}

}  // namespace

int main(int argumentCount, char** arguments) {
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter(endCrashed);
    return doctest::Context(argumentCount, arguments).run();
}
