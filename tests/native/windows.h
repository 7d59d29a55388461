// As much of the Windows interface as the module and the virtual scanner use, for building them natively with
// sanitizers. What stands behind it is in Windows.cpp; what has nothing to do here does nothing.
#pragma once

#include <strings.h>

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#define WINAPI
#define CALLBACK
#define TRUE 1
#define FALSE 0
#define MAX_PATH 260

using BYTE = unsigned char;
using WORD = unsigned short;
using DWORD = unsigned long;
using LONG = long;
using UINT = unsigned int;
using UINT_PTR = unsigned int;
using BOOL = int;
using SIZE_T = unsigned long;
using DWORD_PTR = unsigned long;
using INT_PTR = int;
using WPARAM = unsigned int;
using LPARAM = long;
using LRESULT = long;
using LSTATUS = long;
using REGSAM = DWORD;
using HFILE = int;
using HANDLE = void*;
using HGLOBAL = void*;
using LPVOID = void*;
using HWND = struct Window*;
using HINSTANCE = struct Instance*;
using HMODULE = HINSTANCE;
using HKEY = struct Key*;
using FARPROC = int (*)();

struct MSG {
    HWND hwnd;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
};
struct RGBQUAD {
    BYTE rgbBlue, rgbGreen, rgbRed, rgbReserved;
};
#pragma pack(push, 2)
struct BITMAPFILEHEADER {
    WORD bfType;
    DWORD bfSize;
    WORD bfReserved1, bfReserved2;
    DWORD bfOffBits;
};
#pragma pack(pop)
struct BITMAPINFOHEADER {
    DWORD biSize;
    LONG biWidth, biHeight;
    WORD biPlanes, biBitCount;
    DWORD biCompression, biSizeImage;
    LONG biXPelsPerMeter, biYPelsPerMeter;
    DWORD biClrUsed, biClrImportant;
};
struct WIN32_FIND_DATAA {
    DWORD dwFileAttributes;
    char cFileName[MAX_PATH];
};
struct OFSTRUCT {
    char szPathName[128];
};

enum { GMEM_MOVEABLE = 2, GMEM_ZEROINIT = 0x40, GHND = 0x42, GMEM_DISCARDABLE = 0x100 };
enum { DLL_PROCESS_DETACH, DLL_PROCESS_ATTACH };
enum {
    WM_NULL = 0,
    WM_COMMAND = 0x111,
    WM_USER = 0x400,
    SMTO_ABORTIFHUNG = 2,
    GWL_STYLE = -16,
    WS_CHILD = 0x40000000
};
enum { MB_OK = 0, MB_YESNO = 4, MB_TASKMODAL = 0x2000, IDOK = 1, IDCANCEL = 2 };
enum { FILE_BEGIN = 0, FILE_MAP_ALL_ACCESS = 0xF001F, FILE_ATTRIBUTE_DIRECTORY = 0x10, OF_EXIST = 0x4000 };
enum { ERROR_SUCCESS = 0, ERROR_FILE_NOT_FOUND = 2, ERROR_DISK_FULL = 112 };
enum { KEY_READ = 0x20019, KEY_ALL_ACCESS = 0xF003F, BI_RGB = 0, BI_BITFIELDS = 3 };
constexpr HFILE HFILE_ERROR = -1;
const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(-1);
const HKEY HKEY_CURRENT_USER = reinterpret_cast<HKEY>(0x80000001);

HGLOBAL GlobalAlloc(UINT flags, SIZE_T size);
HGLOBAL GlobalReAlloc(HGLOBAL handle, SIZE_T size, UINT flags);
HGLOBAL GlobalFree(HGLOBAL handle);
void* GlobalLock(HGLOBAL handle);
BOOL GlobalUnlock(HGLOBAL handle);
SIZE_T GlobalSize(HGLOBAL handle);
inline BOOL IsBadReadPtr(const void* data, SIZE_T) { return data == nullptr; }
inline BOOL IsBadWritePtr(void* data, SIZE_T) { return data == nullptr; }

inline int lstrlenA(const char* text) { return static_cast<int>(std::strlen(text)); }
inline char* lstrcpyA(char* target, const char* source) { return std::strcpy(target, source); }
inline char* lstrcatA(char* target, const char* source) { return std::strcat(target, source); }
inline int lstrcmpiA(const char* a, const char* b) { return strcasecmp(a, b); }
char* lstrcpynA(char* target, const char* source, int size);
int wsprintfA(char* target, const char* format, ...);
int wvsprintfA(char* target, const char* format, va_list arguments);
int LoadStringA(HINSTANCE instance, UINT id, char* target, int size);

HFILE _lcreat(const char* path, int attributes);
inline HFILE OpenFile(const char*, OFSTRUCT*, UINT) { return HFILE_ERROR; }
UINT _lread(HFILE file, void* target, UINT size);
UINT _lwrite(HFILE file, const char* bytes, UINT size);
LONG _llseek(HFILE file, LONG distance, int origin);
HFILE _lclose(HFILE file);
BOOL DeleteFileA(const char* path);
BOOL GetDiskFreeSpaceA(const char* root, DWORD* perCluster, DWORD* perSector, DWORD* freeOnes, DWORD* all);
union ULARGE_INTEGER {
    unsigned long long QuadPart;
};
BOOL GetDiskFreeSpaceExA(const char* folder, ULARGE_INTEGER* available, ULARGE_INTEGER* all,
                         ULARGE_INTEGER* freeOnes);
HANDLE FindFirstFileA(const char* pattern, WIN32_FIND_DATAA* found);
BOOL FindNextFileA(HANDLE search, WIN32_FIND_DATAA* found);
BOOL FindClose(HANDLE search);

UINT GetWindowsDirectoryA(char* target, UINT size);
UINT GetPrivateProfileIntA(const char* section, const char* key, int standIn, const char* path);
DWORD GetPrivateProfileStringA(const char* section, const char* key, const char* standIn, char* target,
                               DWORD size, const char* path);
DWORD GetProfileStringA(const char* section, const char* key, const char* standIn, char* target, DWORD size);
BOOL WritePrivateProfileStringA(const char* section, const char* key, const char* value, const char* path);
BOOL WriteProfileStringA(const char* section, const char* key, const char* value);
LSTATUS RegOpenKeyExA(HKEY parent, const char* name, DWORD options, REGSAM access, HKEY* key);
LSTATUS RegQueryValueExA(HKEY key, const char* name, DWORD* reserved, DWORD* type, BYTE* data, DWORD* size);
inline LSTATUS RegCloseKey(HKEY) { return ERROR_SUCCESS; }

HMODULE LoadLibraryA(const char* path);
FARPROC GetProcAddress(HMODULE library, const char* name);
inline BOOL FreeLibrary(HMODULE) { return TRUE; }
inline HANDLE OpenFileMappingA(DWORD, BOOL, const char*) {
    return INVALID_HANDLE_VALUE;  // as good as any but null
}
void* MapViewOfFile(HANDLE mapping, DWORD access, DWORD high, DWORD low, SIZE_T size);
BOOL UnmapViewOfFile(const void* view);
struct MEMORY_BASIC_INFORMATION {
    DWORD State;
    SIZE_T RegionSize;
};
enum { MEM_COMMIT = 0x1000, MEM_RESERVE = 0x2000 };
SIZE_T VirtualQuery(const void* address, MEMORY_BASIC_INFORMATION* facts, SIZE_T size);
// Files by handle are the C library's.
union LARGE_INTEGER {
    long long QuadPart;
};
enum { GENERIC_READ = 1, GENERIC_WRITE = 2, CREATE_ALWAYS = 2, FILE_ATTRIBUTE_NORMAL = 0x80 };
std::FILE* _wfopen(const wchar_t* path, const wchar_t* mode);
HANDLE CreateFileW(const wchar_t* path, DWORD access, DWORD share, void* security, DWORD how, DWORD flags,
                   HANDLE model);
BOOL ReadFile(HANDLE file, void* bytes, DWORD size, DWORD* done, void* overlapped);
BOOL WriteFile(HANDLE file, const void* bytes, DWORD size, DWORD* done, void* overlapped);
BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, LARGE_INTEGER* now, DWORD from);
BOOL SetEndOfFile(HANDLE file);
// Of a file with a number.
enum : DWORD { INVALID_SET_FILE_POINTER = 0xffffffff };
DWORD SetFilePointer(HANDLE file, LONG distance, LONG* high, DWORD from);
BOOL CloseHandle(HANDLE handle);
inline void SetLastError(DWORD) {}
inline DWORD GetLastError() { return ERROR_DISK_FULL; }
enum { FORMAT_MESSAGE_FROM_SYSTEM = 0x1000, FORMAT_MESSAGE_IGNORE_INSERTS = 0x200 };
inline DWORD FormatMessageW(DWORD, const void*, DWORD, DWORD, wchar_t*, DWORD, va_list*) { return 0; }
enum : DWORD { INFINITE = 0xffffffff };
inline void Sleep(DWORD) {}
inline UINT_PTR SetTimer(HWND, UINT_PTR, UINT, void(CALLBACK*)(HWND, UINT, UINT_PTR, DWORD)) { return 0; }
inline BOOL KillTimer(HWND, UINT_PTR) { return TRUE; }
[[noreturn]] inline void ExitProcess(UINT) { std::abort(); }
inline char* GetEnvironmentStringsA() { return nullptr; }
inline BOOL FreeEnvironmentStringsA(char*) { return TRUE; }

UINT RegisterWindowMessageA(const char* name);
LRESULT SendMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
LRESULT SendMessageTimeoutA(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT flags, UINT timeout,
                            DWORD_PTR* answer);
inline BOOL PostMessageA(HWND, UINT, WPARAM, LPARAM) { return TRUE; }
int MessageBoxA(HWND owner, const char* text, const char* title, UINT type);
HWND FindWindowA(const char* className, const char* title);
HWND GetDesktopWindow();
inline HWND GetFocus() { return nullptr; }
BOOL IsWindow(HWND window);
struct DRAWITEMSTRUCT;
inline HWND GetDlgItem(HWND, int) { return nullptr; }
inline BOOL IsWindowEnabled(HWND) { return TRUE; }
inline BOOL EnableWindow(HWND, BOOL) { return FALSE; }
inline LONG GetWindowLongA(HWND, int) { return 0; }
