#include "smworker/StandardStreams.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>

namespace smworker {

namespace {

// Not inherited, so that a process that a driver starts doesn't hold the pipe open.
gui::Handle privateCopy(DWORD standardHandle) {
    HANDLE copy = nullptr;
    DuplicateHandle(GetCurrentProcess(), GetStdHandle(standardHandle), GetCurrentProcess(), &copy, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
    return gui::owned(copy);
}

HANDLE openNul() {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    return CreateFileA("NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inheritable,
                       OPEN_EXISTING, 0, nullptr);
}

// The C library's number for a stream, and Windows' handle for it. What both were before is closed.
void redirect(int number, DWORD standardHandle, HANDLE target) {
    const int opened = _open_osfhandle(reinterpret_cast<intptr_t>(target), _O_BINARY);
    const HANDLE before = GetStdHandle(standardHandle);
    if (_dup2(opened, number) != 0) CloseHandle(before);  // the library didn't know the old one
    _close(opened);
    SetStdHandle(standardHandle, reinterpret_cast<HANDLE>(_get_osfhandle(number)));
}

}  // namespace

ClientPipes takeStandardStreams() {
    ClientPipes pipes{privateCopy(STD_INPUT_HANDLE), privateCopy(STD_OUTPUT_HANDLE)};
    const gui::Handle errors = privateCopy(STD_ERROR_HANDLE);
    HANDLE output = nullptr;
    if (errors)
        DuplicateHandle(GetCurrentProcess(), errors.get(), GetCurrentProcess(), &output, 0, TRUE,
                        DUPLICATE_SAME_ACCESS);
    redirect(0, STD_INPUT_HANDLE, openNul());
    redirect(1, STD_OUTPUT_HANDLE, output ? output : openNul());
    if (!errors) SetStdHandle(STD_ERROR_HANDLE, openNul());
    return pipes;
}

}  // namespace smworker
