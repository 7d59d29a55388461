// A run against hostile sources, seed by seed: each loads the library afresh and makes some hundred calls.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "HostileHost.h"
#include "TestDsmEntry.h"
#include "Watch.h"

namespace {

HostileSource* current = nullptr;

constexpr char usage[] =
    "usage: hostile.exe [--calls N | --seconds N] [--start SEED] [--seed SEED [--tell]]\n"
    "Calls every export of ScanModule.dll against sources that answer anything.\n"
    "  --calls N     ends after N calls of exports (default: 100000)\n"
    "  --seconds N   ends after N seconds instead\n"
    "  --start SEED  the first seed (default: 1); the next ones count up from it\n"
    "  --seed SEED   this seed alone, as a failed run names it\n"
    "  --tell        with --seed: every call as it begins\n";

struct Options {
    uint64_t calls = 0, seconds = 0, start = 1;
    bool single = false, tells = false;
};

[[noreturn]] void refuse(const char* what, const char* word) {
    std::fprintf(stderr, "hostile: %s: %s\n%s", what, word, usage);
    std::exit(2);
}

uint64_t number(const char* option, const char* text) {
    if (text == nullptr) refuse("this option needs a number", option);
    char* end;
    const unsigned long long value = std::strtoull(text, &end, 10);
    if (*text < '0' || *text > '9' || *end != '\0' || value == 0 || value > 1000000000000) {
        std::fprintf(stderr, "hostile: %s takes a whole number from 1 to 1000000000000, not: %s\n%s", option,
                     text, usage);
        std::exit(2);
    }
    return value;
}

Options readOptions(char** words) {
    Options options;
    for (; *words != nullptr; ++words) {
        const char* const word = *words;
        const auto is = [word](const char* option) { return std::strcmp(word, option) == 0; };
        if (is("--help")) {
            std::fputs(usage, stdout);
            std::exit(0);
        }
        if (is("--tell")) {
            options.tells = true;
            continue;
        }
        const bool isKnown = is("--calls") || is("--seconds") || is("--start") || is("--seed");
        if (!isKnown) refuse("unknown option", word);
        const uint64_t value = number(word, *++words);
        if (is("--calls")) options.calls = value;
        if (is("--seconds")) options.seconds = value;
        if (is("--start") || is("--seed")) options.start = value;
        if (is("--seed")) options.single = true;
    }
    if (options.calls != 0 && options.seconds != 0)
        refuse("only one of these may be given", "--calls, --seconds");
    if (options.tells && !options.single) refuse("this option needs --seed", "--tell");
    if (options.calls == 0 && options.seconds == 0) options.calls = 100000;
    return options;
}

// A viewer for the module to find; its lines go to Surroundings.
struct Viewer {
    MessageWindow window{"KTWDiagXprt32", [](UINT, WPARAM, LPARAM) { return false; }};
    HANDLE mapping =
        CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 4096, "KTWDiagXprt32File");
    char* view = static_cast<char*>(MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0));

    Viewer() { std::memset(view, '#', 4096); }
    ~Viewer() {
        for (int i = 1024; i < 4096; ++i)
            if (view[i] != '#') fault("wrote beyond the viewer's 1024 bytes");
        UnmapViewOfFile(view);
        CloseHandle(mapping);
    }
};

// A library that is unloaded with its manager open leaves it loaded.
void unloadManager() {
    while (const HMODULE manager = GetModuleHandleA("twain_32.dll"))
        FreeLibrary(manager);
}

void run(uint64_t seed) {
    progress.seed = seed;
    progress.callsOfSeed = 0;
    progress.call = "loading";
    memory.reset(seed);
    Dice dice(seed + 0x20000000);
    std::unique_ptr<Viewer> viewer(dice.inHundred(25) ? new Viewer : nullptr);
    HostileSource source(seed);
    Surroundings surroundings(seed);
    Module module;
    Surroundings::attachTo(module.handle());
    current = &source;
    {
        HostileHost host(seed, module, source, surroundings);
        if (dice.inHundred(30)) {
            memory.allocationsThatFail = 1 + dice.below(30);
            memory.locksThatFail = dice.below(10);
        }
        for (uint32_t steps = 100 + dice.below(500); steps > 0; --steps)
            host.step();
    }
    progress.call = "unloading";
    module.unload();
    current = nullptr;
    unloadManager();
    if (memory.owned(Owner::Module) != 0) fault("%u blocks are lost", memory.owned(Owner::Module));
    if (!HeapValidate(GetProcessHeap(), 0, nullptr)) fault("the heap was overwritten");
}

}  // namespace

extern "C" __declspec(dllexport) TW_UINT16
    __cdecl TestDsmEntry(pTW_IDENTITY origin, pTW_IDENTITY destination, TW_UINT32 group,
                         TW_UINT16 argumentType, TW_UINT16 message, TW_MEMREF data) {
    if (current == nullptr) return TWRC_FAILURE;
    return current->call(origin, destination, group, argumentType, message, data);
}

int main(int, char** arguments) {
    const Options options = readOptions(arguments + 1);
    progress.tells = options.tells;
    startWatch();
    const auto start = std::chrono::steady_clock::now();
    uint64_t seed = options.start;
    const auto seconds = [start] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    do {
        run(seed++);
    } while (!options.single && (options.calls != 0 ? progress.calls < options.calls
                                                    : seconds() < static_cast<double>(options.seconds)));
    std::printf(
        "hostile: %llu seeds from %llu, %llu calls, %llu operations of the source (%llu images, %llu strips, "
        "%llu blocks, %llu one-shot files), %.1f s: no fault\n",
        seed - options.start, options.start, progress.calls, progress.operations, progress.images,
        progress.strips, progress.blocks, progress.files, seconds());
    return 0;
}
