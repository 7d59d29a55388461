// Which source later sessions use: the manager's dialog, the list of the maker's sources, the default driver.
#include <cstring>

#include "TScanModule.h"
#include "base/Names.h"
#include "base/RegistryText.h"

namespace {

// Sources that only wrap another driver model; they are never listed.
constexpr char wrapperMark[] = "WIA";
constexpr char listSection[] = "DS";
constexpr char defaultSection[] = "Twain";
constexpr char defaultKey[] = "Default Source";
constexpr int32_t notFound = TWCC_BADDEST;
// More answers than any machine has sources: a manager that never ends its list must not hang the host.
constexpr int mostAnswers = 256;
constexpr char endlessList[] = "The list of sources has no end";

bool isListed(const TW_IDENTITY& source) {
    return std::strcmp(source.Manufacturer, brandName) == 0 &&
           std::strstr(source.ProductName, wrapperMark) == nullptr;
}

bool isNamed(const TW_IDENTITY& source, const char* productName) {
    return lstrcmpiA(source.ProductName, productName) == 0;
}

// The profile that GetAllDS writes.
class SourceList {
public:
    explicit SourceList(const char* path) : path_(path) {}

    void setDefault(const TW_IDENTITY& source) {
        hasDefault_ = isListed(source);
        write("name0", hasDefault_ ? source.ProductName : "");
    }
    void start() { next_ = 1; }
    void markEmpty() { write("name1", ""); }
    void add(const TW_IDENTITY& source) {
        if (!isListed(source)) return;
        char key[16];
        wsprintfA(key, "name%d", next_);
        write(key, source.ProductName);
        if (!hasDefault_) write("name0", source.ProductName);
        ++next_;
    }
    void writeCount() {
        char count[16];
        wsprintfA(count, "%d", next_ == 0 ? 0 : next_ - 1);
        write("count", count);
    }

private:
    void write(const char* key, const char* value) {
        WritePrivateProfileStringA(listSection, key, value, path_);
    }

    const char* path_;
    bool hasDefault_ = false;
    int next_ = 0;
};

// The Japanese edition of the host suite searches the driver folders itself.
bool searchesDriverFolders() {
    const RegistryText appData{"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders",
                               "AppData", KEY_READ};
    constexpr char settingsFile[] = "\\Lumivo\\Applet.ini";
    char path[RegistryText::size + sizeof settingsFile];
    lstrcpyA(path, appData.text);
    lstrcatA(path, settingsFile);
    char regional[260];
    GetPrivateProfileStringA("Aboutdlg", "Regional", "E", regional, sizeof regional, path);
    return std::strcmp(regional, "J") == 0;
}

// Joins folder and name, or gives an empty text when the path would be too long to exist.
void joinPath(char (&path)[MAX_PATH], const char* folder, const char* name) {
    path[0] = '\0';
    if (std::strlen(folder) + 1 + std::strlen(name) < sizeof path) wsprintfA(path, "%s\\%s", folder, name);
}

bool isSubfolder(const WIN32_FIND_DATAA& entry) {
    return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
           std::strcmp(entry.cFileName, ".") != 0 && std::strcmp(entry.cFileName, "..") != 0;
}

// A match is what the next OpenDS opens; the system's default stays as it is.
int32_t findInManagerList(Link& link, const Caller& caller, const char* productName) {
    TW_UINT16 code = link.identity(MSG_GETFIRST, link.dataSource);
    if (code != TWRC_SUCCESS && code != TWRC_ENDOFLIST) {
        const int32_t failure = link.operationFailed(caller);
        // A condition code of 0 must not pass for a find.
        return failure != 0 ? failure : notFound;
    }
    for (int answer = 0; code != TWRC_ENDOFLIST; ++answer) {
        if (answer == mostAnswers) {
            caller.warn(endlessList);
            break;
        }
        if (code == TWRC_SUCCESS && isNamed(link.dataSource, productName)) return 0;
        code = link.identity(MSG_GETNEXT, link.dataSource);
    }
    return notFound;
}

int32_t findInSubfolders(TScanModule& module, const char* folder, const char* productName) {
    int32_t result = notFound;
    char pattern[MAX_PATH];
    joinPath(pattern, folder, "*.*");
    WIN32_FIND_DATAA entry;
    const HANDLE search = FindFirstFileA(pattern, &entry);
    if (search == INVALID_HANDLE_VALUE) return result;
    do {
        if (!isSubfolder(entry)) continue;
        char subfolder[MAX_PATH];
        joinPath(subfolder, folder, entry.cFileName);
        result = module.SetDefaultDS(subfolder, productName);
    } while (result != 0 && FindNextFileA(search, &entry));
    FindClose(search);
    return result;
}

int32_t findInDriverFolders(TScanModule& module, const char* productName) {
    char saved[260];
    GetProfileStringA(defaultSection, defaultKey, "", saved, sizeof saved);
    char windows[MAX_PATH] = "";
    GetWindowsDirectoryA(windows, sizeof windows);
    int32_t result = notFound;
    for (const char* name : {"twain_32", "twain"}) {
        char folder[MAX_PATH];
        joinPath(folder, windows, name);
        result = module.SetDefaultDS(folder, productName);
        if (result != 0) result = findInSubfolders(module, folder, productName);
        if (result == 0) return 0;
    }
    // An entry that was not there is removed again.
    WriteProfileStringA(defaultSection, defaultKey, saved[0] != '\0' ? saved : nullptr);
    return result;
}

}  // namespace

int32_t TScanModule::SelectDS(HWND parent) {
    const MethodTrace trace{"TScanModule::SelectDS"};
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    parent = validParent(trace, parent);
    if (const int32_t failure = OpenDSM(parent)) {
        trace.warn("OpenDSM returns failure");
        return failure;
    }
    link_.dataSource = TW_IDENTITY{};
    int32_t result = 0;
    const TW_UINT16 code = link_.identity(MSG_USERSELECT, link_.dataSource);
    if (code == TWRC_CANCEL) {
        result = SM_RESULT_SELECT_CANCELLED;
    } else if (code != TWRC_SUCCESS) {
        result = link_.operationFailed(trace);
    }
    if (code != TWRC_SUCCESS) link_.dataSource = TW_IDENTITY{};
    CloseDSM(parent);
    return result;
}

int32_t TScanModule::GetAllDS(const char* profilePath) {
    const MethodTrace trace{"TScanModule::GetAllDS"};
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    const HWND parent = GetDesktopWindow();
    if (const int32_t failure = OpenDSM(parent)) {
        // Kept: this line names the sibling method.
        warnText("OpenDSM returns failure in TScanModule::SelectDS");
        return failure;
    }
    SourceList list{profilePath};
    TW_IDENTITY source = {};
    if (link_.identity(MSG_GETDEFAULT, source) != TWRC_SUCCESS) source = TW_IDENTITY{};
    list.setDefault(source);

    int32_t result = 0;
    source = TW_IDENTITY{};
    if (link_.identity(MSG_GETFIRST, source) != TWRC_SUCCESS) {
        list.markEmpty();
        result = link_.operationFailed(trace);
    } else {
        list.start();
        list.add(source);
        for (int answer = 0;; ++answer) {
            if (answer == mostAnswers) {
                trace.warn(endlessList);
                break;
            }
            const TW_UINT16 code = link_.identity(MSG_GETNEXT, source);
            if (code == TWRC_ENDOFLIST) break;
            if (code == TWRC_SUCCESS) list.add(source);
        }
    }
    CloseDSM(parent);
    list.writeCount();
    return result;
}

int32_t TScanModule::SetDefaultDriver(HWND parent, const char* productName) {
    const MethodTrace trace{"TScanModule::SetDefaultDriver"};
    if (const int32_t refused = link_.checkAvailable(trace)) return refused;
    parent = validParent(trace, parent);
    if (const int32_t failure = OpenDSM(parent)) {
        trace.warn("OpenDSM returns failure");
        return failure;
    }
    link_.dataSource = TW_IDENTITY{};
    const bool hasDefault = link_.identity(MSG_GETDEFAULT, link_.dataSource) == TWRC_SUCCESS;
    if (!hasDefault) link_.operationFailed(trace);
    int32_t result = 0;
    if (!hasDefault || !isNamed(link_.dataSource, productName)) {
        result = searchesDriverFolders() ? findInDriverFolders(*this, productName)
                                         : findInManagerList(link_, trace, productName);
        if (result != 0) link_.dataSource = TW_IDENTITY{};
    }
    CloseDSM(parent);
    return result;
}

int32_t TScanModule::SetDefaultDS(const char* directory, const char* productName) {
    const MethodTrace trace{"TScanModule::SetDefaultDS"};
    int32_t result = notFound;
    if (directory[0] == '\0') return result;
    char pattern[MAX_PATH];
    joinPath(pattern, directory, "*.ds");
    WIN32_FIND_DATAA file;
    const HANDLE search = FindFirstFileA(pattern, &file);
    for (bool found = search != INVALID_HANDLE_VALUE; found && result != 0;
         found = FindNextFileA(search, &file)) {
        char path[MAX_PATH];
        joinPath(path, directory, file.cFileName);
        // The manager takes the entry for its default source.
        WriteProfileStringA(defaultSection, defaultKey, path);
        if (link_.identity(MSG_GETDEFAULT, link_.dataSource) != TWRC_SUCCESS) {
            // A condition code of 0 must not pass for a find.
            if (const int32_t code = link_.operationFailed(trace)) result = code;
        } else if (isNamed(link_.dataSource, productName)) {
            result = 0;
        }
    }
    // Kept: also closed when the search found nothing, which does no harm.
    FindClose(search);
    return result;
}
