// The binary interface that hosts were built against: names, ordinals, argument bytes, imports, resources,
// version.
#include <doctest.h>

#include <algorithm>

#include "LoadedImage.h"
#include "Module.h"

namespace {

template <class Result, class... Arguments>
constexpr size_t bytesOf(Result(WINAPI*)(Arguments...)) {
    return (size_t{0} + ... + ((sizeof(Arguments) + 3) / 4 * 4));
}

// The linker holds each function to the bytes that the list of exports names, and this to the header's.
#define SM_FUNCTION(name, ordinal, bytes) \
    static_assert(bytesOf(decltype(&::sm##name){nullptr}) == bytes, #name);
#include "ModuleFunctions.inc"
#undef SM_FUNCTION
static_assert(bytesOf(decltype(&::DisableWnds){nullptr}) == 8);

std::wstring stringResource(HMODULE module, UINT id) {
    wchar_t text[256] = L"";
    LoadStringW(module, id, text, std::size(text));
    return text;
}

}  // namespace

TEST_CASE("the exports have their names and ordinals, and no other") {
    const Module module;
    DWORD expected = 0;
    const auto check = [&](WORD ordinal, const char* name) {
        CAPTURE(name);
        const FARPROC function = GetProcAddress(module.handle(), name);
        const bool isThere =
            function != nullptr && function == GetProcAddress(module.handle(), MAKEINTRESOURCEA(ordinal));
        CHECK(isThere);
        ++expected;
    };
#define SM_FUNCTION(name, ordinal, bytes) check(ordinal, "sm" #name);
#include "ModuleFunctions.inc"
#undef SM_FUNCTION
    check(100, "DisableWnds");
    const auto& exports = *directory<IMAGE_EXPORT_DIRECTORY>(module.handle(), IMAGE_DIRECTORY_ENTRY_EXPORT);
    const auto* const functions = at<DWORD>(module.handle(), exports.AddressOfFunctions);
    CHECK(exports.NumberOfNames == expected);
    CHECK(exports.NumberOfFunctions - std::count(functions, functions + exports.NumberOfFunctions, 0u) ==
          expected);
    const bool isOneFunction = GetProcAddress(module.handle(), "smIsPaperLoaded") ==
                               GetProcAddress(module.handle(), "smIsADFPaperLoaded");
    CHECK(isOneFunction);
}

TEST_CASE("the module needs nothing but Windows' own libraries") {
    const Module module;
    const std::string allowed = "advapi32.dll gdi32.dll kernel32.dll msvcrt.dll shell32.dll user32.dll";
    int imports = 0;
    forEachImport(module.handle(), [&](const char* library, const char*, void**) {
        std::string name = library;
        CHECK_MESSAGE(allowed.find(CharLowerA(name.data())) != std::string::npos, library);
        ++imports;
    });
    CHECK(imports > 0);
}

TEST_CASE("the texts are Spanish, under the language 1028, and come in the western code page") {
    const Module module;
    for (UINT block : {20000u / 16 + 1, 20007u / 16 + 1})
        CHECK(FindResourceExW(module.handle(), MAKEINTRESOURCEW(6), MAKEINTRESOURCEW(block), 1028) !=
              nullptr);
    const std::wstring texts[] = {L"Versi\u00f3n %d.%02d",
                                  L"KAVRO",
                                  L"Advertencia",
                                  L"Error",
                                  L"Tipo de p\u00edxel no v\u00e1lido",
                                  L"\u00bfExplorar m\u00e1s p\u00e1ginas?",
                                  L"\"Insufficient memory or disk space.\""};
    UINT id = 20001;
    for (const std::wstring& text : texts)
        CHECK(stringResource(module.handle(), id++) == text);
    CHECK_FALSE(stringResource(module.handle(), 20000).empty());
    char text[256] = "";
    LoadStringA(module.handle(), 20006, text, sizeof text);
    CHECK(std::string(text) == "\277Explorar m\341s p\341ginas?");
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
