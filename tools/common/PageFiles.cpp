#include "common/PageFiles.h"

#include <windows.h>

#include "common/Failure.h"
#include "common/PageNames.h"
#include "common/Text.h"
#include "common/Wording.h"

namespace host {

void failWrite(const std::string& path, const std::string& reason) {
    throw Failure{FailureCode::CannotWrite, format("Cannot write \"%s\": %s", path.c_str(), reason.c_str())};
}

std::string unfinishedName(const std::string& path) {
    const size_t extension = extensionStart(path);
    for (int number = 1;; ++number) {
        const std::string count = number == 1 ? "" : std::to_string(number);
        const std::string name = path.substr(0, extension) + ".part" + count + path.substr(extension);
        if (GetFileAttributesA(name.c_str()) == INVALID_FILE_ATTRIBUTES) return name;
    }
}

std::string fullPath(const std::string& path) {
    std::string full(GetFullPathNameA(path.c_str(), 0, nullptr, nullptr), '\0');
    const DWORD size = static_cast<DWORD>(full.size());
    const DWORD length = GetFullPathNameA(path.c_str(), size, full.data(), nullptr);
    if (length == 0 || length >= size) return path;
    full.resize(length);
    return full;
}

void checkWritable(const std::string& path) {
    const std::string full = fullPath(path);
    if (full.compare(0, 4, "\\\\.\\") == 0)
        failWrite(path, "it is the name of a device. Choose another " + optionName("output") + ".");
    // A path that Windows can't make a full one of stays as it was.
    const size_t slash = full.find_last_of('\\');
    if (slash == std::string::npos || unfinishedName(full).size() >= MAX_PATH)
        failWrite(path,
                  "the path is longer than Windows takes it. Choose a shorter " + optionName("output") + ".");
    const std::string folder = full.substr(0, slash);
    const DWORD folderKind = GetFileAttributesA((folder + "\\").c_str());
    if (folderKind == INVALID_FILE_ATTRIBUTES || !(folderKind & FILE_ATTRIBUTE_DIRECTORY))
        failWrite(path, format("there is no folder \"%s\". Make it, or choose another %soutput.",
                               folder.c_str(), wording.option));
    const DWORD kind = GetFileAttributesA(full.c_str());
    if (kind != INVALID_FILE_ATTRIBUTES) {
        if (kind & FILE_ATTRIBUTE_DIRECTORY)
            failWrite(path, "it is a folder. Choose another " + optionName("output") + ".");
        if (kind & FILE_ATTRIBUTE_READONLY) failWrite(path, "the file is there and is read-only.");
    }
    const UnfinishedFile probe(full);
    const HANDLE file = CreateFileA(probe.name().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        failWrite(path, lastErrorText() + " Choose another " + optionName("output") + ".");
    CloseHandle(file);
}

UnfinishedFile::~UnfinishedFile() {
    if (!kept_) DeleteFileA(unfinished_.c_str());
}

void UnfinishedFile::keep() {
    if (!MoveFileExA(unfinished_.c_str(), path_.c_str(), MOVEFILE_REPLACE_EXISTING))
        failWrite(path_, lastErrorText());
    kept_ = true;
}

}  // namespace host
