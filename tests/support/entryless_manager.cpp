// A library that takes the manager's place without having its entry point.
extern "C" __declspec(dllexport) int NoEntryPointHere() {
    return 1;
}
