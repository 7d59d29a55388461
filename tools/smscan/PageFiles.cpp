#include "PageFiles.h"

#include <windows.h>

#include "Failure.h"
#include "Text.h"

namespace smscan {

namespace {

[[noreturn]] void refusePattern(const std::string& pattern) {
    throw Failure{
        ExitCode::Usage,
        format("--output \"%s\": only one %%d or %%0Nd for the page's number, and %%%% for a per cent "
               "sign, may stand there.",
               pattern.c_str())};
}

// Where the extension begins; the end when there is none.
size_t extensionStart(const std::string& path) {
    const size_t dot = path.rfind('.');
    const size_t slash = path.find_last_of("/\\");
    const bool inName =
        dot != std::string::npos && (slash == std::string::npos || dot > slash + 1) && dot > 0;
    return inName ? dot : path.size();
}

[[noreturn]] void failWrite(const std::string& path, const std::string& reason) {
    throw Failure{ExitCode::CannotWrite, format("Cannot write \"%s\": %s", path.c_str(), reason.c_str())};
}

}  // namespace

PageNames::PageNames(const std::string& pattern, bool manyPages) {
    std::string* part = &before_;
    for (size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] != '%') {
            *part += pattern[i];
            continue;
        }
        if (++i < pattern.size() && pattern[i] == '%') {
            *part += '%';
            continue;
        }
        size_t digits = i;
        while (digits < pattern.size() && pattern[digits] >= '0' && pattern[digits] <= '9')
            ++digits;
        if (digits >= pattern.size() || pattern[digits] != 'd' || digits - i > 2 || numbered_)
            refusePattern(pattern);
        if (digits > i) {
            if (pattern[i] != '0') refusePattern(pattern);
            width_ = std::stoi(pattern.substr(i, digits - i));
        }
        numbered_ = true;
        part = &after_;
        i = digits;
    }
    if (before_.empty() && after_.empty() && !numbered_) refusePattern(pattern);
    if (!numbered_ && manyPages) {
        const size_t extension = extensionStart(before_);
        after_ = before_.substr(extension);
        before_ = before_.substr(0, extension) + "-";
        width_ = 3;
        numbered_ = true;
        numberedByItself_ = true;
    }
}

std::string PageNames::pathOf(int page) const {
    return numbered_ ? before_ + format("%0*d", width_, page) + after_ : before_;
}

std::string unfinishedName(const std::string& path) {
    const size_t extension = extensionStart(path);
    return path.substr(0, extension) + ".part" + path.substr(extension);
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
        failWrite(path, "it is the name of a device. Choose another --output.");
    // A path that Windows can't make a full one of stays as it was.
    const size_t slash = full.find_last_of('\\');
    if (slash == std::string::npos || unfinishedName(full).size() >= MAX_PATH)
        failWrite(path, "the path is longer than Windows takes it. Choose a shorter --output.");
    const std::string folder = full.substr(0, slash);
    const DWORD folderKind = GetFileAttributesA((folder + "\\").c_str());
    if (folderKind == INVALID_FILE_ATTRIBUTES || !(folderKind & FILE_ATTRIBUTE_DIRECTORY))
        failWrite(path,
                  format("there is no folder \"%s\". Make it, or choose another --output.", folder.c_str()));
    const DWORD kind = GetFileAttributesA(full.c_str());
    if (kind != INVALID_FILE_ATTRIBUTES) {
        if (kind & FILE_ATTRIBUTE_DIRECTORY) failWrite(path, "it is a folder. Choose another --output.");
        if (kind & FILE_ATTRIBUTE_READONLY) failWrite(path, "the file is there and is read-only.");
    }
    const UnfinishedFile probe(full);
    const HANDLE file = CreateFileA(probe.name().c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) failWrite(path, lastErrorText() + " Choose another --output.");
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

std::string lastErrorText() {
    char buffer[256] = {};
    const DWORD error = GetLastError();
    DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
                                  0, buffer, sizeof buffer, nullptr);
    while (length > 0 && static_cast<unsigned char>(buffer[length - 1]) <= ' ')
        --length;
    return length > 0 ? std::string(buffer, length) : format("Windows error %lu.", error);
}

}  // namespace smscan
