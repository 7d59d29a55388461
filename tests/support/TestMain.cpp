#define DOCTEST_CONFIG_IMPLEMENT
#include <doctest.h>
#include <windows.h>

int main(int argumentCount, char** arguments) {
    // A crash ends the run with an exit code instead of a dialog that nobody answers.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    return doctest::Context(argumentCount, arguments).run();
}
