// The binary interface that hosts were built against: names, ordinals, argument bytes, imports, resources,
// version.
#include <Version.h>
#include <doctest.h>

#include <algorithm>
#include <cstring>
#include <map>

#include "Module.h"
#include "Stage.h"

namespace {

struct Export {
    int ordinal;
    std::string name;
    int argumentBytes;
};

// Fixed for ever: hosts bind by name and by ordinal.
const Export expectedExports[] = {
    {1, "smIsTWAINAvailable", 0},
    {2, "smIsDSEvent", 4},
    {3, "smSelectDS", 4},
    {4, "smOpenDS", 8},
    {5, "smEnableDS", 8},
    {6, "smDisableDS", 0},
    {7, "smCloseDS", 0},
    {8, "smCapNegotiate", 8},
    {9, "smIsADFAvailable", 4},
    {10, "smIsADFPaperLoaded", 4},
    {11, "smIsPaperLoaded", 4},
    {12, "smGetADFEnable", 4},
    {13, "smSetADFEnable", 4},
    {14, "smGetBrightness", 12},
    {15, "smSetBrightness", 12},
    {16, "smGetContrast", 12},
    {17, "smSetContrast", 12},
    {18, "smGetHighlight", 12},
    {19, "smSetHighlight", 12},
    {20, "smGetShadow", 12},
    {21, "smSetShadow", 12},
    {22, "smGetGamma", 4},
    {23, "smSetGamma", 8},
    {24, "smGetUnit", 4},
    {25, "smGetMaxArea", 8},
    {26, "smGetPixelFlavor", 4},
    {27, "smGetPixelType", 4},
    {28, "smSetPixelType", 4},
    {29, "smGetSupportedPixelType", 4},
    {30, "smSetSupportedPixelType", 4},
    {31, "smGetPaperSize", 4},
    {32, "smSetPaperSize", 4},
    {33, "smGetSupportedPaperSize", 4},
    {34, "smSetSupportedPaperSize", 4},
    {35, "smGetXferMech", 4},
    {36, "smSetXferMech", 4},
    {37, "smGetXResolution", 12},
    {38, "smSetXResolution", 4},
    {39, "smGetYResolution", 12},
    {40, "smSetYResolution", 4},
    {41, "smIsThisDPIAvailable", 8},
    {42, "smGetXScale", 12},
    {43, "smSetXScale", 8},
    {44, "smGetYScale", 12},
    {45, "smSetYScale", 8},
    {46, "smCancelThisXfer", 0},
    {47, "smCancelAllXfer", 0},
    {48, "smSetImageLayout", 36},
    {49, "smGetMemXferSize", 12},
    {50, "smGetDSPalette", 4},
    {51, "smPrestoScan", 12},
    {52, "smGetXferCount", 4},
    {53, "smGetDSProductName", 4},
    {54, "smGetPendingCount", 4},
    {55, "smSetThreshold", 12},
    {56, "smSetIndicatorEnable", 4},
    {57, "smSetBitDepth", 4},
    {58, "smSetDefaultDriver", 8},
    {59, "smSetXferCount", 4},
    {60, "smSetAutoFeedEnable", 4},
    {61, "smReadBlock", 12},
    {62, "smGetScanCap", 4},
    {63, "smGetImageDim", 8},
    {64, "smSetLightpath", 4},
    {65, "smGetAllDS", 4},
    {66, "smGetKvVersion", 4},
    {67, "smSetKvExposureMode", 4},
    {68, "smSetKvDescreeing", 4},
    {69, "smSetKvDraftScan", 4},
    {70, "smGetKvLUT1", 4},
    {71, "smGetKvLUT2", 4},
    {72, "smGetKvCC", 4},
    {73, "smSetKvAutoExposureMode", 4},
    {74, "smGetKvRgbResponse", 4},
    {75, "smGetKvDefaultRgbMatrix", 4},
    {76, "smSetKvRgbResponse", 4},
    {77, "smGetMaxResForKvDescreeing", 4},
    {78, "smGetDSProductFamily", 4},
    {79, "smSetKvUnSharpMask", 4},
    {80, "smGetKvUnSharpMask", 4},
    {81, "smSetKvUIMode", 4},
    {82, "smGetKvUIMode", 4},
    {100, "DisableWnds", 8},
    {101, "smSetClearPage", 4},
    {102, "smGetClearPage", 4},
    {103, "smSetPIMFlag", 4},
    {104, "smGetPIMFlag", 4},
};

const uint8_t* baseOf(HMODULE module) {
    return reinterpret_cast<const uint8_t*>(module);
}

const IMAGE_OPTIONAL_HEADER32& headerOf(HMODULE module) {
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(baseOf(module));
    return reinterpret_cast<const IMAGE_NT_HEADERS32*>(baseOf(module) + dos->e_lfanew)->OptionalHeader;
}

template <class Type>
const Type* at(HMODULE module, DWORD address) {
    return reinterpret_cast<const Type*>(baseOf(module) + address);
}

const IMAGE_EXPORT_DIRECTORY& exportsOf(HMODULE module) {
    return *at<IMAGE_EXPORT_DIRECTORY>(
        module, headerOf(module).DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
}

// "4 smOpenDS", in the order of the ordinals.
Lines exportedNames(HMODULE module) {
    const IMAGE_EXPORT_DIRECTORY& directory = exportsOf(module);
    const auto* const names = at<DWORD>(module, directory.AddressOfNames);
    const auto* const places = at<WORD>(module, directory.AddressOfNameOrdinals);
    std::map<DWORD, std::string> byOrdinal;
    for (DWORD i = 0; i < directory.NumberOfNames; ++i)
        byOrdinal[places[i] + directory.Base] = at<char>(module, names[i]);
    Lines lines;
    for (const auto& [ordinal, name] : byOrdinal)
        lines.push_back(std::to_string(ordinal) + " " + name);
    return lines;
}

std::vector<DWORD> usedOrdinals(HMODULE module) {
    const IMAGE_EXPORT_DIRECTORY& directory = exportsOf(module);
    const auto* const functions = at<DWORD>(module, directory.AddressOfFunctions);
    std::vector<DWORD> used;
    for (DWORD i = 0; i < directory.NumberOfFunctions; ++i) {
        if (functions[i] != 0) used.push_back(i + directory.Base);
    }
    return used;
}

Lines importedLibraries(HMODULE module) {
    const DWORD address = headerOf(module).DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    Lines libraries;
    for (const auto* library = at<IMAGE_IMPORT_DESCRIPTOR>(module, address); library->Name != 0; ++library) {
        std::string name = at<char>(module, library->Name);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return std::tolower(c); });
        libraries.push_back(name);
    }
    return libraries;
}

// Calls the function with sixteen copies of the argument on the stack; gives the bytes that it removed.
int removedBytes(FARPROC function, const void* argument) {
#ifdef _MSC_VER
    int removed = 0;
    __asm {
        push esi
        push edi
        mov eax, function
        mov edx, argument
        mov esi, esp
        mov ecx, 16
    again:
        push edx
        dec ecx
        jnz again
        mov edi, esp
        call eax
        sub esp, edi
        mov edi, esp
        mov esp, esi
        mov removed, edi
        pop edi
        pop esi
    }
    return removed;
#else
    int removed;
    asm volatile(
        "movl %%esp, %%esi\n\t"
        "movl $16, %%ecx\n"
        "1:\tpushl %%edx\n\t"
        "decl %%ecx\n\t"
        "jnz 1b\n\t"
        "movl %%esp, %%edi\n\t"
        "call *%%eax\n\t"
        "subl %%edi, %%esp\n\t"
        "movl %%esp, %%edi\n\t"
        "movl %%esi, %%esp"
        : "=D"(removed), "+a"(function), "+d"(argument)
        :
        : "ecx", "esi", "memory", "cc", "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7");
    return removed;
#endif
}

std::wstring stringResource(HMODULE module, UINT id) {
    wchar_t text[256] = L"";
    LoadStringW(module, id, text, std::size(text));
    return text;
}

}  // namespace

TEST_CASE("the exports have their names and ordinals, and no other") {
    const Module module;
    Lines expected;
    std::vector<DWORD> ordinals;
    for (const Export& row : expectedExports) {
        expected.push_back(std::to_string(row.ordinal) + " " + row.name);
        ordinals.push_back(row.ordinal);
    }
    CHECK(exportedNames(module.handle()) == expected);
    CHECK(usedOrdinals(module.handle()) == ordinals);
    const bool isOneFunction = GetProcAddress(module.handle(), "smIsPaperLoaded") ==
                               GetProcAddress(module.handle(), "smIsADFPaperLoaded");
    CHECK(isOneFunction);
}

TEST_CASE("every export removes the bytes of its arguments") {
    // Without a manager every function gives up before it does anything with what it is passed.
    const ManagerFile missing(ManagerFile::Kind::Missing);
    const Module module;
    uint8_t memory[2048] = {};
    for (const Export& row : expectedExports) {
        CAPTURE(row.name);
        const FARPROC function = GetProcAddress(module.handle(), row.name.c_str());
        const bool isThere = function != nullptr;
        REQUIRE(isThere);
        std::memset(memory, 0, sizeof memory);
        CHECK(removedBytes(function, memory) == row.argumentBytes);
    }
}

TEST_CASE("the module needs nothing but Windows' own libraries") {
    const Module module;
    const Lines allowed = {"advapi32.dll", "gdi32.dll",   "kernel32.dll",
                           "msvcrt.dll",   "shell32.dll", "user32.dll"};
    const Lines imported = importedLibraries(module.handle());
    CHECK_FALSE(imported.empty());
    for (const std::string& library : imported) {
        CAPTURE(library);
        CHECK(std::count(allowed.begin(), allowed.end(), library) == 1);
    }
}

TEST_CASE("the texts are Spanish, under the language 1028") {
    const Module module;
    const WORD language = 1028;
    for (UINT block : {20000u / 16 + 1, 20007u / 16 + 1})
        CHECK(FindResourceExW(module.handle(), MAKEINTRESOURCEW(6), MAKEINTRESOURCEW(block), language) !=
              nullptr);
    CHECK(stringResource(module.handle(), 20002) == L"KAVRO");
    CHECK(stringResource(module.handle(), 20001) == L"Versi\u00f3n %d.%02d");
    CHECK(stringResource(module.handle(), 20003) == L"Advertencia");
    CHECK(stringResource(module.handle(), 20004) == L"Error");
    CHECK(stringResource(module.handle(), 20005) == L"Tipo de p\u00edxel no v\u00e1lido");
    CHECK(stringResource(module.handle(), 20006) == L"\u00bfExplorar m\u00e1s p\u00e1ginas?");
    CHECK(stringResource(module.handle(), 20007) == L"\"Insufficient memory or disk space.\"");
    CHECK_FALSE(stringResource(module.handle(), 20000).empty());
}

TEST_CASE("the texts come in the western code page") {
    const Module module;
    char text[256] = "";
    LoadStringA(module.handle(), 20006, text, sizeof text);
    CHECK(GetACP() == 1252);
    CHECK(std::string(text) ==
          "\xbf"
          "Explorar m\xe1s p\xe1ginas?");
}

TEST_CASE("the file's version is the project's") {
    const Module module;
    const HRSRC found = FindResourceA(module.handle(), MAKEINTRESOURCEA(1), MAKEINTRESOURCEA(16));
    REQUIRE(found != nullptr);
    const auto* const block = static_cast<const uint8_t*>(LockResource(LoadResource(module.handle(), found)));
    // The fixed part follows the 6-byte head and the key L"VS_VERSION_INFO", on a 4-byte boundary.
    const auto* const facts = reinterpret_cast<const VS_FIXEDFILEINFO*>(block + 40);
    REQUIRE(facts->dwSignature == 0xFEEF04BD);
    CHECK(facts->dwFileVersionMS == MAKELONG(SCANMODULE_VERSION_MINOR, SCANMODULE_VERSION_MAJOR));
    CHECK(HIWORD(facts->dwFileVersionLS) == SCANMODULE_VERSION_PATCH);
    CHECK(facts->dwProductVersionMS == facts->dwFileVersionMS);
}
