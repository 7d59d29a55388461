// Behind windows.h: global memory, each block on the heap by itself, so that the address sanitizer sees its
// borders; files in memory; texts; and surroundings as the world has them.
#include <sanitizer/asan_interface.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <map>
#include <vector>

#include "World.h"

World world;

namespace {

struct Block {
    uint8_t* bytes;
    size_t size;
    bool isForeign;
};
constexpr size_t mostMemory = 1 << 20, littleMemory = 1 << 17, diskSize = 1 << 20;
std::vector<Block> blocks;

struct OpenedFile {
    std::string path;  // empty: closed
    size_t position;
};
std::map<std::string, std::string> files;
std::vector<OpenedFile> openedFiles;

bool has(Oddity oddity) { return (world.oddities & oddity) != 0; }

// Null for a handle that never was one, which Windows sees; whoever uses one that is freed makes a mistake.
Block* find(HGLOBAL handle) {
    const size_t index = (reinterpret_cast<size_t>(handle) >> 4) - 1;
    if ((reinterpret_cast<size_t>(handle) & 15) != 2 || index >= blocks.size()) return nullptr;
    if (blocks[index].bytes == nullptr) fail("a global handle was used after it was freed");
    return &blocks[index];
}

OpenedFile* opened(HFILE file) {
    const bool is = file >= 0 && static_cast<size_t>(file) < openedFiles.size();
    return is && !openedFiles[file].path.empty() ? &openedFiles[file] : nullptr;
}

// The letters of the paths here are all ASCII.
std::string narrow(const wchar_t* text) { return std::string(text, text + std::wcslen(text)); }

DWORD copyText(char* target, const char* text, DWORD size) {
    lstrcpynA(target, text, static_cast<int>(size));
    return std::strlen(target);
}

}  // namespace

void fail(const char* what) {
    std::fprintf(stderr, "ERROR: %s\n", what);
    std::abort();
}

void checkBytes(const void* bytes, size_t size) {
    if (size != 0 && __asan_region_is_poisoned(const_cast<void*>(bytes), size))
        fail("bytes that can't be had");
}

HGLOBAL GlobalAlloc(UINT flags, SIZE_T size) {
    if (size > (has(LittleMemory) ? littleMemory : mostMemory)) return nullptr;
    // One byte for none: the block is there, but can't be locked.
    void* bytes =
        flags & GMEM_ZEROINIT ? std::calloc(std::max(size, 1ul), 1) : std::malloc(std::max(size, 1ul));
    blocks.push_back({static_cast<uint8_t*>(bytes), size, false});
    return reinterpret_cast<HGLOBAL>((blocks.size() << 4) + 2);
}

HGLOBAL GlobalReAlloc(HGLOBAL handle, SIZE_T size, UINT) {
    Block* block = find(handle);
    if (block == nullptr || size > mostMemory) return nullptr;
    auto* bytes = static_cast<uint8_t*>(std::calloc(std::max(size, 1ul), 1));
    std::memcpy(bytes, block->bytes, std::min<size_t>(size, block->size));
    std::free(block->bytes);
    *block = {bytes, size, block->isForeign};
    return handle;
}

HGLOBAL GlobalFree(HGLOBAL handle) {
    Block* block = find(handle);
    if (block == nullptr) return handle;
    std::free(block->bytes);
    block->bytes = nullptr;
    return nullptr;
}

void* GlobalLock(HGLOBAL handle) {
    Block* block = find(handle);
    return block != nullptr && block->size != 0 ? block->bytes : nullptr;
}

BOOL GlobalUnlock(HGLOBAL handle) { return find(handle) != nullptr; }

SIZE_T GlobalSize(HGLOBAL handle) {
    Block* block = find(handle);
    return block != nullptr ? block->size : 0;
}

HGLOBAL foreignBlock(const void* bytes, size_t size) {
    HGLOBAL handle = GlobalAlloc(GMEM_MOVEABLE, size);
    if (handle == nullptr) return nullptr;
    if (size != 0) std::memcpy(blocks.back().bytes, bytes, size);
    blocks.back().isForeign = true;
    return handle;
}

void handOver(HGLOBAL handle) {
    if (Block* block = find(handle)) block->isForeign = false;
}

void endWorld() {
    for (Block& block : blocks) {
        if (block.bytes != nullptr && !block.isForeign) fail("a global block was never freed");
        std::free(block.bytes);
    }
    blocks.clear();
    files.clear();
    openedFiles.clear();
    world = World{};
}

char* lstrcpynA(char* target, const char* source, int size) {
    if (size <= 0) return target;
    const size_t length = strnlen(source, static_cast<size_t>(size) - 1);
    std::memcpy(target, source, length);
    target[length] = '\0';
    return target;
}

// As Windows has it: unknown directives stand for themselves, null for a text of that name, and no more than
// 1024 characters are written.
int wvsprintfA(char* target, const char* format, va_list arguments) {
    std::string text;
    for (; *format != '\0' && text.size() < 1024; ++format) {
        if (*format != '%' || format[1] == '\0') {
            text += *format;
            continue;
        }
        std::string directive = "%";
        const auto takeWhile = [&](const char* these) {
            for (++format; *format != '\0' && std::strchr(these, *format) != nullptr && directive.size() < 8;)
                directive += *format++;
            --format;
        };
        takeWhile("-+ #0123456789.");
        while (*++format != '\0' && std::strchr("hlwI", *format) != nullptr) {}
        if (*format == '\0') break;
        char piece[2048] = {*format};
        if (std::strchr("cCdiuxXp", *format) != nullptr) {
            const int value = va_arg(arguments, int);
            directive += std::strchr("Cp", *format) != nullptr ? 'x' : *format;
            std::snprintf(piece, sizeof piece, directive.c_str(), value);
        } else if (*format == 's' || *format == 'S') {
            const char* value = va_arg(arguments, const char*);
            directive += 's';
            std::snprintf(piece, sizeof piece, directive.c_str(), value != nullptr ? value : "(null)");
        }
        text += piece;
    }
    text.resize(std::min<size_t>(text.size(), 1024));
    std::strcpy(target, text.c_str());
    return static_cast<int>(text.size());
}

int wsprintfA(char* target, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = wvsprintfA(target, format, arguments);
    va_end(arguments);
    return length;
}

int LoadStringA(HINSTANCE, UINT, char* target, int size) {
    return static_cast<int>(copyText(target, "Version %d.%02d", size));
}

HFILE _lcreat(const char* path, int) {
    if (path[0] == '\0') return HFILE_ERROR;
    files[path].clear();
    openedFiles.push_back({path, 0});
    return static_cast<HFILE>(openedFiles.size() - 1);
}

UINT _lread(HFILE file, void* target, UINT size) {
    OpenedFile* from = opened(file);
    if (from == nullptr) return HFILE_ERROR;
    const std::string& bytes = files[from->path];
    const size_t start = std::min(from->position, bytes.size());
    const size_t count = std::min<size_t>(size, bytes.size() - start);
    std::memcpy(target, bytes.data() + start, count);
    from->position += count;
    return count;
}

UINT _lwrite(HFILE file, const char* bytes, UINT size) {
    OpenedFile* to = opened(file);
    if (to == nullptr) return HFILE_ERROR;
    std::string& there = files[to->path];
    if (to->position > diskSize || size > diskSize - to->position) return 0;
    if (size == 0) there.resize(to->position);  // so does Windows
    if (to->position + size > there.size()) there.resize(to->position + size);
    std::copy(bytes, bytes + size, there.begin() + to->position);
    to->position += size;
    return size;
}

LONG _llseek(HFILE file, LONG distance, int) {
    OpenedFile* at = opened(file);
    if (at == nullptr || distance < 0) return HFILE_ERROR;
    at->position = static_cast<size_t>(distance);
    return distance;
}

DWORD SetFilePointer(HANDLE file, LONG distance, LONG* high, DWORD) {
    OpenedFile* at = opened(static_cast<HFILE>(reinterpret_cast<intptr_t>(file)));
    if (at == nullptr || *high != 0) return INVALID_SET_FILE_POINTER;
    at->position = static_cast<DWORD>(distance);
    return at->position;
}

HFILE _lclose(HFILE file) {
    OpenedFile* closing = opened(file);
    if (closing == nullptr) return HFILE_ERROR;
    closing->path.clear();
    return 0;
}

BOOL DeleteFileA(const char* path) { return files.erase(path) != 0; }

BOOL GetDiskFreeSpaceA(const char* root, DWORD* perCluster, DWORD* perSector, DWORD* freeOnes, DWORD* all) {
    *perCluster = 1, *perSector = 512, *freeOnes = diskSize / 512, *all = 2 * *freeOnes;
    return std::strlen(root) > 0;
}

BOOL GetDiskFreeSpaceExA(const char*, ULARGE_INTEGER* available, ULARGE_INTEGER*, ULARGE_INTEGER*) {
    available->QuadPart = diskSize;
    return !has(LittleMemory);
}

// A search finds two folders, the second with the longest name there is.
HANDLE FindFirstFileA(const char*, WIN32_FIND_DATAA* found) {
    if (has(LittleMemory)) return INVALID_HANDLE_VALUE;
    *found = {FILE_ATTRIBUTE_DIRECTORY, "scanner.ds"};
    return new int(1);
}

BOOL FindNextFileA(HANDLE search, WIN32_FIND_DATAA* found) {
    std::memset(found->cFileName, 'n', has(LongTexts) ? MAX_PATH - 1 : 9);
    return (*static_cast<int*>(search))-- > 0;
}

BOOL FindClose(HANDLE search) {
    if (search == INVALID_HANDLE_VALUE) return FALSE;
    delete static_cast<int*>(search);
    return TRUE;
}

UINT GetWindowsDirectoryA(char* target, UINT size) {
    return has(NoWindowsFolder) ? 0 : copyText(target, "C:\\WINDOWS", size);
}

UINT GetPrivateProfileIntA(const char*, const char* key, int, const char* path) {
    if (std::strlen(path) == 0) return 0;
    if (std::strcmp(key, "SuppressTWAIN") == 0) return has(TransferSuppressed) ? 2 : 0;
    return !has(TraceIsOff);
}

DWORD GetPrivateProfileStringA(const char*, const char*, const char* standIn, char* target, DWORD size,
                               const char* path) {
    return copyText(target, has(SearchesFolders) && *path != '\0' ? "J" : standIn, size);
}

DWORD GetProfileStringA(const char*, const char*, const char* standIn, char* target, DWORD size) {
    return copyText(target, has(LongTexts) ? std::string(size, 'p').c_str() : standIn, size);
}

BOOL WritePrivateProfileStringA(const char* section, const char* key, const char* value, const char* path) {
    return std::strlen(section) + std::strlen(key) + (value != nullptr ? std::strlen(value) : 0) < 1000 &&
           *path != '\0';
}

BOOL WriteProfileStringA(const char* section, const char* key, const char* value) {
    return WritePrivateProfileStringA(section, key, value, "win.ini");
}

LSTATUS RegOpenKeyExA(HKEY, const char*, DWORD, REGSAM, HKEY* key) {
    *key = HKEY_CURRENT_USER;
    return has(TraceIsOff) ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
}

// Not terminated: it need not be.
LSTATUS RegQueryValueExA(HKEY, const char*, DWORD*, DWORD*, BYTE* data, DWORD* size) {
    if (!has(LongTexts)) *size = 3;
    std::memset(data, 'r', *size);
    return ERROR_SUCCESS;
}

HMODULE LoadLibraryA(const char* path) {
    return std::strlen(path) != 0 ? reinterpret_cast<HMODULE>(0x10000) : nullptr;
}

FARPROC GetProcAddress(HMODULE, const char*) { return has(NoEntry) ? nullptr : world.entry; }

std::FILE* _wfopen(const wchar_t* path, const wchar_t* mode) {
    return std::fopen(narrow(path).c_str(), narrow(mode).c_str());
}

HANDLE CreateFileW(const wchar_t* path, DWORD, DWORD, void*, DWORD, DWORD, HANDLE) {
    std::FILE* file = std::fopen(narrow(path).c_str(), "w+b");
    return file != nullptr ? file : INVALID_HANDLE_VALUE;
}

BOOL ReadFile(HANDLE file, void* bytes, DWORD size, DWORD* done, void*) {
    *done = std::fread(bytes, 1, size, static_cast<std::FILE*>(file));
    return TRUE;
}

BOOL WriteFile(HANDLE file, const void* bytes, DWORD size, DWORD* done, void*) {
    *done = std::fwrite(bytes, 1, size, static_cast<std::FILE*>(file));
    return TRUE;
}

BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER*, DWORD) {
    return fseeko64(static_cast<std::FILE*>(file), distance.QuadPart, SEEK_SET) == 0;
}

BOOL SetEndOfFile(HANDLE handle) {
    auto* file = static_cast<std::FILE*>(handle);
    return std::fflush(file) == 0 && ftruncate64(fileno(file), ftello64(file)) == 0;
}

BOOL CloseHandle(HANDLE handle) {
    return handle == INVALID_HANDLE_VALUE || std::fclose(static_cast<std::FILE*>(handle)) == 0;
}

void* MapViewOfFile(HANDLE, DWORD, DWORD, DWORD, SIZE_T) { return std::malloc(1024); }

// Of the views above.
SIZE_T VirtualQuery(const void*, MEMORY_BASIC_INFORMATION* facts, SIZE_T size) {
    *facts = {MEM_COMMIT, 1024};
    return size;
}

BOOL UnmapViewOfFile(const void* view) {
    std::free(const_cast<void*>(view));
    return TRUE;
}

// Seven messages, numbered as they are asked for.
UINT RegisterWindowMessageA(const char* name) {
    static std::map<std::string, UINT> known;
    return known.emplace(name, 0xC000 + known.size()).first->second;
}

LRESULT SendMessageA(HWND, UINT message, WPARAM wParam, LPARAM lParam) {
    if (!world.windowIsGone) world.tell(message, wParam, lParam);
    return 0;
}

// The viewer reads its text.
LRESULT SendMessageTimeoutA(HWND, UINT, WPARAM, LPARAM text, UINT, UINT, DWORD_PTR* answer) {
    *answer = std::strlen(reinterpret_cast<const char*>(text));
    return 1;
}

int MessageBoxA(HWND, const char* text, const char* title, UINT) {
    return std::strlen(text) != 0 && title != nullptr && std::strlen(title) != 0 ? IDOK : IDCANCEL;
}

HWND FindWindowA(const char*, const char*) { return has(HasViewer) ? GetDesktopWindow() : nullptr; }
HWND GetDesktopWindow() { return reinterpret_cast<HWND>(0x20000); }
BOOL IsWindow(HWND) { return !world.windowIsGone; }
