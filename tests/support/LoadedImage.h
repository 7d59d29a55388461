// What a loaded library says of itself in its headers.
#pragma once

#include <windows.h>

#include <cstdint>

template <class Type>
Type* at(HMODULE module, DWORD address) {
    return reinterpret_cast<Type*>(reinterpret_cast<uint8_t*>(module) + address);
}

// One of the tables that the header points to: IMAGE_DIRECTORY_ENTRY_...
template <class Table>
Table* directory(HMODULE module, int entry) {
    const auto* const dos = at<IMAGE_DOS_HEADER>(module, 0);
    const auto* const headers = at<IMAGE_NT_HEADERS>(module, dos->e_lfanew);
    return at<Table>(module, headers->OptionalHeader.DataDirectory[entry].VirtualAddress);
}

// `take` gets the library's name, the function's, and the place of its address, of what is imported by name.
template <class Taker>
void forEachImport(HMODULE module, Taker take) {
    auto* library = directory<IMAGE_IMPORT_DESCRIPTOR>(module, IMAGE_DIRECTORY_ENTRY_IMPORT);
    for (; library->Name != 0; ++library) {
        auto* name = at<IMAGE_THUNK_DATA>(module, library->OriginalFirstThunk);
        auto* slot = at<void*>(module, library->FirstThunk);
        for (; name->u1.AddressOfData != 0; ++name, ++slot) {
            if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
            const auto* const named = at<IMAGE_IMPORT_BY_NAME>(module, name->u1.AddressOfData);
            take(at<const char>(module, library->Name), reinterpret_cast<const char*>(named->Name), slot);
        }
    }
}
