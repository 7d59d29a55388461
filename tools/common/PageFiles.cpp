#include "common/PageFiles.h"

#include <windows.h>

#include "common/Failure.h"
#include "common/PageNames.h"
#include "common/Text.h"
#include "common/TextEncoding.h"
#include "common/Wording.h"

namespace host {

namespace {

std::string folderOf(const std::string& fullPath) {
    const size_t slash = fullPath.find_last_of('\\');
    return slash == std::string::npos ? std::string() : fullPath.substr(0, slash);
}

// In letters that are in every code page, on drives that have short names.
std::string shortFolder(const std::string& folder) {
    wchar_t path[MAX_PATH] = {};
    const DWORD length = GetShortPathNameW(wide(folder).c_str(), path, MAX_PATH);
    return length > 0 && length < MAX_PATH ? utf8(path) : folder;
}

void checkFolder(const std::string& path, const std::string& folder) {
    const DWORD kind = GetFileAttributesW(wide(folder + "\\").c_str());
    if (kind == INVALID_FILE_ATTRIBUTES || !(kind & FILE_ATTRIBUTE_DIRECTORY))
        failWrite(path, format("there is no folder \"%s\". Make it, or choose another %soutput.",
                               folder.c_str(), wording.option));
}

void checkOlderFile(const std::string& path, const std::string& full, bool replace) {
    const DWORD kind = GetFileAttributesW(wide(full).c_str());
    if (kind == INVALID_FILE_ATTRIBUTES) return;
    if (kind & FILE_ATTRIBUTE_DIRECTORY)
        failWrite(path, "it is a folder. Choose another " + optionName("output") + ".");
    if (kind & FILE_ATTRIBUTE_READONLY) failWrite(path, "the file is there and is read-only.");
    if (!replace)
        failWrite(path, format("the file is there already. Choose another %soutput, or replace it with "
                               "%sforce.",
                               wording.option, wording.option));
}

}  // namespace

void failWrite(const std::string& path, const std::string& reason) {
    throw Failure{FailureCode::CannotWrite, format("Cannot write \"%s\": %s", path.c_str(), reason.c_str())};
}

bool fileExists(const std::string& path) {
    return GetFileAttributesW(wide(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::string unfinishedName(const std::string& path) {
    const size_t extension = extensionStart(path);
    std::string name;
    for (int attempt = 1; attempt == 1 || fileExists(name); ++attempt)
        name = path.substr(0, extension) + ".part" + (attempt > 1 ? std::to_string(attempt) : "") +
               path.substr(extension);
    return name;
}

std::string fullPath(const std::string& path) {
    const std::wstring given = wide(path);
    std::wstring full(GetFullPathNameW(given.c_str(), 0, nullptr, nullptr), L'\0');
    const DWORD size = static_cast<DWORD>(full.size());
    const DWORD length = GetFullPathNameW(given.c_str(), size, full.data(), nullptr);
    if (length == 0 || length >= size) return path;
    full.resize(length);
    return utf8(full);
}

void checkWritable(const std::string& path, bool replace) {
    const std::string full = fullPath(path);
    if (full.compare(0, 4, "\\\\.\\") == 0)
        failWrite(path, "it is the name of a device. Choose another " + optionName("output") + ".");
    // A path that Windows can't make a full one of stays as it was.
    const std::string folder = folderOf(full);
    if (folder.empty() || wide(unfinishedName(full)).size() >= MAX_PATH)
        failWrite(path,
                  "the path is longer than Windows takes it. Choose a shorter " + optionName("output") + ".");
    checkFolder(path, folder);
    checkOlderFile(path, full, replace);
    const UnfinishedFile probe(full);
    const HANDLE file = CreateFileW(wide(probe.name()).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        failWrite(path, lastErrorText() + " Choose another " + optionName("output") + ".");
    CloseHandle(file);
}

UnfinishedFile::~UnfinishedFile() {
    if (!kept_) DeleteFileW(wide(unfinished_).c_str());
}

std::string UnfinishedFile::ansiName() {
    if (const auto name = toAnsi(unfinished_)) return *name;
    const std::string plain = "\\smscan.bmp";
    for (const std::string& folder : {folderOf(path_), shortFolder(folderOf(path_))}) {
        unfinished_ = unfinishedName(folder + plain);
        listed_.rename(unfinished_);
        if (const auto name = toAnsi(unfinished_)) return *name;
    }
    failWrite(path_,
              format("the source, or the module, writes this file itself and can't be told a folder with "
                     "such letters. Choose another %soutput.",
                     wording.option));
}

void UnfinishedFile::keep(bool replace) {
    const DWORD flags = replace ? MOVEFILE_REPLACE_EXISTING : 0;
    kept_ = true;
    if (MoveFileExW(wide(unfinished_).c_str(), wide(path_).c_str(), flags)) return;
    const std::string reason = lastErrorText();
    failWrite(path_, format("%s It is kept as \"%s\".", reason.c_str(), unfinished_.c_str()));
}

}  // namespace host
