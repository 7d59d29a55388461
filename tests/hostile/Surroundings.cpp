#include "Surroundings.h"

#include <algorithm>
#include <cstring>

#include "GuardedMemory.h"
#include "LoadedImage.h"
#include "Watch.h"

namespace {

Surroundings* current = nullptr;
volatile uint8_t sink;

// Reads them all: what isn't the caller's to pass is a crash.
void readAll(const char* bytes, size_t size) {
    for (size_t i = 0; i < size; ++i)
        sink = static_cast<uint8_t>(bytes[i]);
}

void expectText(const char* text, size_t longest, const char* what) {
    if (text != nullptr && strnlen(text, longest + 1) > longest) fault("%s has no end", what);
}

}  // namespace

struct SurroundingsHooks {
    static HGLOBAL WINAPI globalAlloc(UINT, SIZE_T size) { return memory.allocate(size, Owner::Module); }
    static HGLOBAL WINAPI globalFree(HGLOBAL block) {
        memory.free(block, Owner::Module);
        return nullptr;
    }
    static LPVOID WINAPI globalLock(HGLOBAL block) { return memory.lock(block); }
    static BOOL WINAPI globalUnlock(HGLOBAL block) {
        memory.unlock(block);
        return FALSE;
    }
    static SIZE_T WINAPI globalSize(HGLOBAL block) { return memory.size(block); }

    static HFILE WINAPI create(LPCSTR path, int) {
        expectText(path, 260, "a file's path");
        for (size_t i = 0; i < Surroundings::mostFiles; ++i) {
            if (current->files_[i].wasOpen) continue;
            if (path[0] == '\0' || current->dice_.inHundred(5)) break;
            current->files_[i] = {true, true, 0};
            return static_cast<HFILE>(100 + i);
        }
        return HFILE_ERROR;
    }
    static HFILE WINAPI close(HFILE handle) {
        Surroundings::File* const file = current->file(handle);
        if (file == nullptr) return HFILE_ERROR;
        file->open = false;
        return 0;
    }
    static LONG WINAPI seek(HFILE handle, LONG to, int) {
        Surroundings::File* const file = current->file(handle);
        if (file == nullptr || to < 0) return HFILE_ERROR;
        return static_cast<LONG>(file->position = to);
    }
    static UINT WINAPI read(HFILE handle, LPVOID bytes, UINT size) {
        Surroundings::File* const file = current->file(handle);
        if (file == nullptr) return static_cast<UINT>(HFILE_ERROR);
        if (file->position + size > current->diskRoom_) return 0;
        std::memset(bytes, 0x5A, size);
        file->position += size;
        return size;
    }
    static UINT WINAPI write(HFILE handle, LPCSTR bytes, UINT size) {
        readAll(bytes, size);
        Surroundings::File* const file = current->file(handle);
        if (file == nullptr) return static_cast<UINT>(HFILE_ERROR);
        if (file->position + size > current->diskRoom_) return 0;
        file->position += size;
        return size;
    }
    static BOOL WINAPI remove(LPCSTR path) {
        expectText(path, 260, "a file's path");
        return TRUE;
    }
    static BOOL WINAPI freeSpace(LPCSTR root, LPDWORD perCluster, LPDWORD perSector, LPDWORD free,
                                 LPDWORD all) {
        expectText(root, 3, "a drive");
        *perCluster = 1;
        *perSector = current->dice_.inHundred(90) ? 512 : current->dice_.any();
        *free = *all = current->dice_.inHundred(90) ? 100000 : current->dice_.any();
        return current->dice_.inHundred(95);
    }

    static UINT WINAPI profileNumber(LPCSTR section, LPCSTR, INT, LPCSTR path) {
        expectText(path, 300, "a profile's path");
        if (std::strcmp(section, "Debug") == 0) return current->dice_.inHundred(95);
        return current->dice_.inHundred(3) ? 2 : current->dice_.any();
    }
    // Of any length and without a care for what it is.
    static DWORD text(LPSTR out, DWORD size, const char* sometimes) {
        const DWORD length =
            std::min<DWORD>(size - 1, current->dice_.inHundred(30) ? size : current->dice_.below(20));
        current->dice_.fill(out, length);
        for (DWORD i = 0; i < length; ++i)
            if (out[i] == 0) out[i] = '%';
        out[length] = '\0';
        if (current->dice_.inHundred(60)) lstrcpynA(out, sometimes, static_cast<int>(size));
        return lstrlenA(out);
    }
    static DWORD WINAPI profileText(LPCSTR, LPCSTR, LPCSTR, LPSTR out, DWORD size, LPCSTR path) {
        expectText(path, 300, "a profile's path");
        return text(out, size, "J");
    }
    static DWORD WINAPI windowsText(LPCSTR, LPCSTR, LPCSTR, LPSTR out, DWORD size) {
        return text(out, size, "");
    }
    static BOOL WINAPI writeText(LPCSTR, LPCSTR key, LPCSTR value, LPCSTR) {
        expectText(key, 15, "a profile's key");
        expectText(value, 260, "a profile's value");
        return TRUE;
    }
    static BOOL WINAPI writeWindowsText(LPCSTR section, LPCSTR key, LPCSTR value) {
        return writeText(section, key, value, nullptr);
    }

    static LONG WINAPI openKey(HKEY, LPCSTR, DWORD, REGSAM, PHKEY key) {
        if (current->dice_.inHundred(20)) return ERROR_ACCESS_DENIED;
        ++current->keys_;
        *key = reinterpret_cast<HKEY>(1);
        return ERROR_SUCCESS;
    }
    static LONG WINAPI queryValue(HKEY, LPCSTR, LPDWORD, LPDWORD, LPBYTE out, LPDWORD size) {
        if (current->dice_.inHundred(20)) return ERROR_MORE_DATA;
        *size = current->dice_.inHundred(50) ? *size : current->dice_.below(*size);
        std::memset(out, 'r', *size);
        return ERROR_SUCCESS;
    }
    static LONG WINAPI closeKey(HKEY) {
        --current->keys_;
        return ERROR_SUCCESS;
    }

    static HANDLE WINAPI findFirst(LPCSTR path, LPWIN32_FIND_DATAA found) {
        expectText(path, MAX_PATH - 1, "a search's path");
        if (current->dice_.inHundred(30)) return INVALID_HANDLE_VALUE;
        ++current->searches_;
        findNext(nullptr, found);
        return reinterpret_cast<HANDLE>(1);
    }
    static BOOL WINAPI findNext(HANDLE, LPWIN32_FIND_DATAA found) {
        found->dwFileAttributes = current->dice_.inHundred(50) ? FILE_ATTRIBUTE_DIRECTORY : 0;
        const uint32_t length = current->dice_.inHundred(50) ? MAX_PATH - 1 : 1 + current->dice_.below(40);
        std::memset(found->cFileName, current->dice_.inHundred(20) ? '%' : 'f', length);
        found->cFileName[length] = '\0';
        return current->dice_.inHundred(60);
    }
    static BOOL WINAPI findClose(HANDLE search) {
        if (search != INVALID_HANDLE_VALUE) --current->searches_;
        return TRUE;
    }

    static int WINAPI messageBox(HWND, LPCSTR words, LPCSTR title, UINT) {
        expectText(words, 255, "a message box");
        expectText(title, 255, "a message box's title");
        current->meanwhile();
        return IDOK;
    }
    static LRESULT WINAPI sendLine(HWND, UINT, WPARAM, LPARAM line, UINT, UINT, PDWORD_PTR) {
        expectText(reinterpret_cast<const char*>(line), 1023, "a line for the viewer");
        if (current->viewerGivenUp_) fault("a viewer that was given up gets lines");
        current->viewerGivenUp_ = !current->viewerTakesMessages;
        if (current->viewerGivenUp_) return 0;
        current->meanwhile();
        return 1;
    }
};

namespace {

template <class Function>
void* address(Function* function) {
    return reinterpret_cast<void*>(function);
}

const struct {
    const char* name;
    void* hook;
} hooks[] = {
    {"GlobalAlloc", address(SurroundingsHooks::globalAlloc)},
    {"GlobalFree", address(SurroundingsHooks::globalFree)},
    {"GlobalLock", address(SurroundingsHooks::globalLock)},
    {"GlobalUnlock", address(SurroundingsHooks::globalUnlock)},
    {"GlobalSize", address(SurroundingsHooks::globalSize)},
    {"_lcreat", address(SurroundingsHooks::create)},
    {"_lclose", address(SurroundingsHooks::close)},
    {"_llseek", address(SurroundingsHooks::seek)},
    {"_lread", address(SurroundingsHooks::read)},
    {"_lwrite", address(SurroundingsHooks::write)},
    {"DeleteFileA", address(SurroundingsHooks::remove)},
    {"GetDiskFreeSpaceA", address(SurroundingsHooks::freeSpace)},
    {"GetPrivateProfileIntA", address(SurroundingsHooks::profileNumber)},
    {"GetPrivateProfileStringA", address(SurroundingsHooks::profileText)},
    {"GetProfileStringA", address(SurroundingsHooks::windowsText)},
    {"WritePrivateProfileStringA", address(SurroundingsHooks::writeText)},
    {"WriteProfileStringA", address(SurroundingsHooks::writeWindowsText)},
    {"RegOpenKeyExA", address(SurroundingsHooks::openKey)},
    {"RegQueryValueExA", address(SurroundingsHooks::queryValue)},
    {"RegCloseKey", address(SurroundingsHooks::closeKey)},
    {"FindFirstFileA", address(SurroundingsHooks::findFirst)},
    {"FindNextFileA", address(SurroundingsHooks::findNext)},
    {"FindClose", address(SurroundingsHooks::findClose)},
    {"MessageBoxA", address(SurroundingsHooks::messageBox)},
    {"SendMessageTimeoutA", address(SurroundingsHooks::sendLine)},
};

}  // namespace

Surroundings::Surroundings(uint64_t seed) : dice_(seed + 0x50000000), diskRoom_(1000 + dice_.below(1 << 20)) {
    current = this;
}

Surroundings::~Surroundings() {
    current = nullptr;
}

void Surroundings::attachTo(HMODULE module) {
    forEachImport(module, [](const char*, const char* name, void** slot) {
        for (const auto& hook : hooks) {
            if (std::strcmp(hook.name, name) != 0) continue;
            DWORD protection;
            VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection);
            *slot = hook.hook;
            VirtualProtect(slot, sizeof *slot, protection, &protection);
        }
    });
}

Surroundings::File* Surroundings::file(HFILE handle) {
    const auto place = static_cast<size_t>(handle - 100);
    if (place >= mostFiles || !files_[place].wasOpen) fault("uses file %d, which was never open", handle);
    return files_[place].open ? &files_[place] : nullptr;
}

unsigned Surroundings::openFiles() const {
    return static_cast<unsigned>(
        std::count_if(std::begin(files_), std::end(files_), [](const File& file) { return file.open; }));
}

void Surroundings::forgetFiles() {
    for (File& file : files_)
        file = {};
}

void Surroundings::checkHandles() const {
    if (keys_ != 0) fault("%d registry keys are left open", keys_);
    if (searches_ != 0) fault("%d searches are left open", searches_);
}
