// The binary interface that hosts were built against: names, ordinals, argument bytes, imports, resources,
// version.
#include <doctest.h>

#include <cstring>
#include <map>

#include "Module.h"
#include "Stage.h"

namespace {

struct Export {
    DWORD ordinal;
    std::string name;
    int argumentBytes;
};

const Export expectedExports[] = {
#define SM_FUNCTION(name, ordinal, bytes) {ordinal, "sm" #name, bytes},
#include "ModuleFunctions.inc"
#undef SM_FUNCTION
    {100, "DisableWnds", 8},
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

// "4 smOpenDS" by ordinal, with an empty name where a function has none.
std::map<DWORD, std::string> exportsOf(HMODULE module) {
    const auto& directory = *at<IMAGE_EXPORT_DIRECTORY>(
        module, headerOf(module).DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
    const auto* const functions = at<DWORD>(module, directory.AddressOfFunctions);
    const auto* const names = at<DWORD>(module, directory.AddressOfNames);
    const auto* const places = at<WORD>(module, directory.AddressOfNameOrdinals);
    std::map<DWORD, std::string> found;
    for (DWORD i = 0; i < directory.NumberOfFunctions; ++i)
        if (functions[i] != 0) found[i + directory.Base];
    for (DWORD i = 0; i < directory.NumberOfNames; ++i)
        found[places[i] + directory.Base] = at<char>(module, names[i]);
    return found;
}

Lines importedLibraries(HMODULE module) {
    const DWORD address = headerOf(module).DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    Lines libraries;
    for (const auto* library = at<IMAGE_IMPORT_DESCRIPTOR>(module, address); library->Name != 0; ++library) {
        std::string name = at<char>(module, library->Name);
        libraries.push_back(CharLowerA(name.data()));
    }
    return libraries;
}

// Calls the function with sixteen copies of the argument on the stack; gives the bytes that it removed.
int removedBytes(FARPROC function, const void* argument) {
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
}

std::wstring stringResource(HMODULE module, UINT id) {
    wchar_t text[256] = L"";
    LoadStringW(module, id, text, std::size(text));
    return text;
}

}  // namespace

TEST_CASE("the exports have their names and ordinals, and no other") {
    const Module module;
    std::map<DWORD, std::string> expected;
    for (const Export& row : expectedExports)
        expected[row.ordinal] = row.name;
    const bool areThese = exportsOf(module.handle()) == expected;
    CHECK(areThese);
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
        std::memset(memory, 0, sizeof memory);
        CHECK(removedBytes(GetProcAddress(module.handle(), row.name.c_str()), memory) == row.argumentBytes);
    }
}

TEST_CASE("the module needs nothing but Windows' own libraries") {
    const Module module;
    const std::string allowed = "advapi32.dll gdi32.dll kernel32.dll msvcrt.dll shell32.dll user32.dll";
    const Lines imported = importedLibraries(module.handle());
    CHECK_FALSE(imported.empty());
    for (const std::string& library : imported)
        CHECK_MESSAGE(allowed.find(library) != std::string::npos, library);
}

TEST_CASE("the texts are Spanish, under the language 1028, and come in the western code page") {
    const Module module;
    for (UINT block : {20000u / 16 + 1, 20007u / 16 + 1})
        CHECK(FindResourceExW(module.handle(), MAKEINTRESOURCEW(6), MAKEINTRESOURCEW(block), 1028) !=
              nullptr);
    const std::wstring texts[] = {
        L"Versi\u00f3n %d.%02d",
        L"KAVRO",
        L"Advertencia",
        L"Error",
        L"Tipo de p\u00edxel no v\u00e1lido",
        L"\u00bfExplorar m\u00e1s p\u00e1ginas?",
        L"\"Insufficient memory or disk space.\"",
    };
    UINT id = 20001;
    for (const std::wstring& text : texts)
        CHECK(stringResource(module.handle(), id++) == text);
    CHECK_FALSE(stringResource(module.handle(), 20000).empty());
    char text[256] = "";
    LoadStringA(module.handle(), 20006, text, sizeof text);
    CHECK(std::string(text) ==
          "\xbf"
          "Explorar m\xe1s p\xe1ginas?");
}

TEST_CASE("the file's version is the header's") {
    const Module module;
    const HRSRC found = FindResourceA(module.handle(), MAKEINTRESOURCEA(1), MAKEINTRESOURCEA(16));
    REQUIRE(found != nullptr);
    const auto* const block = static_cast<const uint8_t*>(LockResource(LoadResource(module.handle(), found)));
    // The fixed part follows the 6-byte head and the key L"VS_VERSION_INFO", on a 4-byte boundary.
    const auto* const facts = reinterpret_cast<const VS_FIXEDFILEINFO*>(block + 40);
    REQUIRE(facts->dwSignature == 0xFEEF04BD);
    CHECK(facts->dwFileVersionMS == MAKELONG(SM_VERSION_MINOR, SM_VERSION_MAJOR));
    CHECK(HIWORD(facts->dwFileVersionLS) == SM_VERSION_PATCH);
    CHECK(facts->dwProductVersionMS == facts->dwFileVersionMS);
}
