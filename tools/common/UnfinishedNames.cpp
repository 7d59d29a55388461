#include "common/UnfinishedNames.h"

#include <windows.h>

#include <algorithm>
#include <vector>

#include "common/TextEncoding.h"
#include "windows/CriticalSection.h"

namespace host {

namespace {

using gui::CriticalSection;

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

void closeHandlesTo(const std::wstring& path) {
    // Asking for no access at all works whatever other handles forbid.
    constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE file = CreateFileW(path.c_str(), 0, shareAll, nullptr, OPEN_EXISTING, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return;
    BY_HANDLE_FILE_INFORMATION information;
    const bool known = GetFileInformationByHandle(file, &information) != FALSE;
    CloseHandle(file);
    if (known) closeHandlesTo(information);
}

void remove(const std::wstring& path) {
    if (DeleteFileW(path.c_str())) return;
    closeHandlesTo(path);
    DeleteFileW(path.c_str());
}

}  // namespace

// UTF-16, so that nothing is left to convert at the end.
struct UnfinishedName::Entry {
    std::wstring path;
    std::wstring finalPath;  // empty: not worth keeping
    bool replace;            // a file of that name
};

namespace {

// Never destroyed, as they serve to the very end.
CriticalSection& section = *new CriticalSection;
std::vector<UnfinishedName::Entry*>& entries = *new std::vector<UnfinishedName::Entry*>;

}  // namespace

void removeThoughOpen(const std::string& path) {
    remove(wide(path));
}

UnfinishedName::UnfinishedName(const std::string& path) : entry_(new Entry{wide(path), {}, false}) {
    const CriticalSection::Hold hold(section);
    entries.push_back(entry_.get());
}

UnfinishedName::~UnfinishedName() {
    const CriticalSection::Hold hold(section);
    entries.erase(std::find(entries.begin(), entries.end(), entry_.get()));
}

void UnfinishedName::rename(const std::string& path) {
    const CriticalSection::Hold hold(section);
    entry_->path = wide(path);
}

void UnfinishedName::keepAs(const std::string& finalPath, bool replace) {
    const CriticalSection::Hold hold(section);
    entry_->finalPath = wide(finalPath);
    entry_->replace = replace;
}

UnfinishedFilesHeld::UnfinishedFilesHeld() {
    new CriticalSection::Hold(section);  // never let go
    // Whoever is stopped from now on doesn't hold the heap, which Windows itself needs.
    HeapLock(GetProcessHeap());
}

void UnfinishedFilesHeld::remove() {
    for (const UnfinishedName::Entry* const entry : entries) {
        if (entry->finalPath.empty()) {
            host::remove(entry->path);
            continue;
        }
        closeHandlesTo(entry->path);
        MoveFileExW(entry->path.c_str(), entry->finalPath.c_str(),
                    entry->replace ? MOVEFILE_REPLACE_EXISTING : 0);
    }
}

}  // namespace host
