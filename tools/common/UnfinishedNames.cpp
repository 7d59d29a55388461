#include "common/UnfinishedNames.h"

#include <windows.h>

#include <algorithm>
#include <vector>

namespace host {

namespace {

class Lock {
public:
    Lock() { InitializeCriticalSection(&section_); }
    void enter() { EnterCriticalSection(&section_); }
    void leave() { LeaveCriticalSection(&section_); }

private:
    CRITICAL_SECTION section_;
};

// Never destroyed, as they serve to the very end.
Lock& lock = *new Lock;
std::vector<std::string>& names = *new std::vector<std::string>;

bool sameFile(const BY_HANDLE_FILE_INFORMATION& one, const BY_HANDLE_FILE_INFORMATION& other) {
    return one.dwVolumeSerialNumber == other.dwVolumeSerialNumber &&
           one.nFileIndexHigh == other.nFileIndexHigh && one.nFileIndexLow == other.nFileIndexLow;
}

// Windows has no list of a process's handles that is meant for programs; but they are small numbers, most of
// the places up to the last one in use.
void closeHandlesTo(const BY_HANDLE_FILE_INFORMATION& file) {
    constexpr uintptr_t step = 4;
    constexpr int widestGap = 500;
    int gap = 0;
    for (uintptr_t number = step; gap < widestGap; number += step) {
        const auto handle = reinterpret_cast<HANDLE>(number);
        DWORD flags = 0;
        gap = GetHandleInformation(handle, &flags) ? 0 : gap + 1;
        BY_HANDLE_FILE_INFORMATION information;
        if (gap == 0 && GetFileType(handle) == FILE_TYPE_DISK &&
            GetFileInformationByHandle(handle, &information) && sameFile(information, file))
            CloseHandle(handle);
    }
}

}  // namespace

void removeThoughOpen(const std::string& path) {
    // Asking for no access at all works whatever other handles forbid.
    constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileA(path.c_str(), 0, shareAll, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return;
    BY_HANDLE_FILE_INFORMATION information;
    const bool known = GetFileInformationByHandle(file, &information) != FALSE;
    CloseHandle(file);
    if (known && !DeleteFileA(path.c_str())) {
        closeHandlesTo(information);
        DeleteFileA(path.c_str());
    }
}

UnfinishedName::UnfinishedName(const std::string& path) : path_(path) {
    lock.enter();
    names.push_back(path);
    lock.leave();
}

UnfinishedName::~UnfinishedName() {
    lock.enter();
    names.erase(std::find(names.begin(), names.end(), path_));
    lock.leave();
}

UnfinishedFilesHeld::UnfinishedFilesHeld() {
    lock.enter();
    // Whoever is stopped from now on doesn't hold the heap, which Windows itself needs.
    HeapLock(GetProcessHeap());
}

void UnfinishedFilesHeld::remove() {
    for (const std::string& path : names)
        removeThoughOpen(path);
}

}  // namespace host
