// The Win32 and C-runtime functions that the adapter calls, by their own names. On Windows these are the real
// headers. Elsewhere this file declares just the ones in use, with Windows' widths and error numbers, and
// platform/posix stands in for them; a name that is not declared here does not compile. This is the one
// switch between the platforms.
#pragma once

#if defined(_WIN32)

#include <windows.h>

#include <io.h>
#include <locale.h>
#include <share.h>
#include <shlobj.h>
#include <stdio.h>
#include <stdlib.h>

inline constexpr char PathSeparator = '\\';
inline constexpr wchar_t WidePathSeparator = L'\\';

// Puts the routine on the exit list of the module that calls it: run when that module is unloaded, and at the
// latest when the process ends. Returns 0 for success. (_onexit of the MinGW runtime is the process's list,
// atexit is the module's.)
inline int AtModuleExit(void (*routine)())
{
    return atexit(routine);
}

#else

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <locale.h>

inline constexpr char PathSeparator = '/';
inline constexpr wchar_t WidePathSeparator = L'/';

// Puts the routine on the exit list of the module that calls it: run when that module is unloaded, and at the
// latest when the process ends. Linked into each module, so that it knows which one that is. Returns 0 for
// success.
int AtModuleExit(void (*routine)());

using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using LSTATUS = LONG;
using HRESULT = std::int32_t;
using HANDLE = void*;
using HMODULE = void*;
using HWND = void*;
using HKEY = struct RegistryHandle*;
using FARPROC = void (*)();
using _locale_t = locale_t;

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;
inline constexpr DWORD MAX_PATH = 260;

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_ENVVAR_NOT_FOUND = 203;
inline constexpr DWORD ERROR_MORE_DATA = 234;
inline constexpr DWORD ERROR_NO_MORE_ITEMS = 259;
inline constexpr DWORD ERROR_NO_UNICODE_TRANSLATION = 1113;

DWORD GetLastError();

// Libraries. An absolute path loads just that file. The search flags are accepted and need nothing here: a
// library finds its own dependencies through its run path.
inline constexpr DWORD LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR = 0x00000100;
inline constexpr DWORD LOAD_LIBRARY_SEARCH_DEFAULT_DIRS = 0x00001000;
HMODULE LoadLibraryA(const char* fileName);
HMODULE LoadLibraryExA(const char* fileName, HANDLE file, DWORD flags);
FARPROC GetProcAddress(HMODULE module, const char* procName);
BOOL FreeLibrary(HMODULE module);

// Registry: HKEY_LOCAL_MACHINE is the file registry.reg, in the text form that Windows exports, in the folder
// that MARAVEL_PLATFORM_ROOT names. It is read anew whenever a key is opened under the root.
inline constexpr DWORD KEY_READ = 0x20019;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
extern const HKEY HKEY_LOCAL_MACHINE;
LSTATUS RegOpenKeyExA(HKEY key, const char* subKey, DWORD options, DWORD access, HKEY* result);
LSTATUS RegQueryValueExA(HKEY key, const char* valueName, DWORD* reserved, DWORD* type, BYTE* data,
                         DWORD* dataSize);
LSTATUS RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* nameSize, DWORD* reserved, char* className,
                      DWORD* classSize, void* lastWriteTime);
LSTATUS RegEnumValueA(HKEY key, DWORD index, char* name, DWORD* nameSize, DWORD* reserved, DWORD* type,
                      BYTE* data, DWORD* dataSize);
LSTATUS RegCloseKey(HKEY key);

// Folders and files. The all-users documents folder is "Documents" in the folder that MARAVEL_PLATFORM_ROOT
// names; without that variable, in "maravel" under the user's state folder.
inline constexpr int CSIDL_COMMON_DOCUMENTS = 0x2E;
HRESULT SHGetFolderPathA(HWND owner, int folder, HANDLE token, DWORD flags, char* path);
inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;
DWORD GetFileAttributesA(const char* path);
BOOL CreateDirectoryA(const char* path, void* securityAttributes);

// CreateFileW opens an existing file or folder for a look at its attributes only; links are followed.
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_SHARE_WRITE = 2;
inline constexpr DWORD FILE_SHARE_DELETE = 4;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD FILE_FLAG_BACKUP_SEMANTICS = 0x02000000;
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(std::intptr_t{-1});
struct BY_HANDLE_FILE_INFORMATION
{
    DWORD dwFileAttributes;
};
HANDLE CreateFileW(const wchar_t* path, DWORD access, DWORD share, void* securityAttributes,
                   DWORD disposition, DWORD flags, HANDLE templateFile);
BOOL GetFileInformationByHandle(HANDLE file, BY_HANDLE_FILE_INFORMATION* information);
BOOL CloseHandle(HANDLE handle);

// C-runtime file functions. _write goes on after a partial write and after an interruption.
inline constexpr int _SH_DENYNO = 0x40;
std::FILE* _fsopen(const char* path, const char* mode, int share);
int _fileno(std::FILE* stream);
int _write(int file, const void* data, unsigned int size);

// Environment, paths and text. A full path is made from the current folder; it is not tidied. Wide text is
// UTF-32 here, and the narrow code page is UTF-8; a byte of the environment that is not UTF-8 comes back from
// the narrow conversion as it was.
inline constexpr UINT CP_ACP = 0;
inline constexpr UINT CP_OEMCP = 1;
inline constexpr UINT CP_UTF8 = 65001;
inline constexpr DWORD WC_ERR_INVALID_CHARS = 0x80;
inline constexpr DWORD WC_NO_BEST_FIT_CHARS = 0x400;
DWORD GetFullPathNameW(const wchar_t* path, DWORD size, wchar_t* buffer, wchar_t** filePart);
DWORD GetEnvironmentVariableW(const wchar_t* name, wchar_t* buffer, DWORD size);
int WideCharToMultiByte(UINT codePage, DWORD flags, const wchar_t* wide, int wideLength, char* narrow,
                        int narrowSize, const char* defaultChar, BOOL* usedDefaultChar);
BOOL AreFileApisANSI();
unsigned int ___lc_codepage_func();
std::uint64_t _strtoui64(const char* text, char** end, int radix);
_locale_t _create_locale(int category, const char* name);
void _free_locale(_locale_t locale);
double _atof_l(const char* text, _locale_t locale);

// Time.
struct SYSTEMTIME
{
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek;
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};
void GetLocalTime(SYSTEMTIME* time);
void Sleep(DWORD milliseconds);

// Process, token and version resource. An elevated process is one that runs as root; a program has no version
// resource here.
inline constexpr DWORD TOKEN_QUERY = 8;
enum TOKEN_INFORMATION_CLASS
{
    TokenElevation = 20
};
struct TOKEN_ELEVATION
{
    DWORD TokenIsElevated;
};
struct VS_FIXEDFILEINFO
{
    DWORD dwSignature;
    DWORD dwStrucVersion;
    DWORD dwFileVersionMS;
    DWORD dwFileVersionLS;
};
HANDLE GetCurrentProcess();
DWORD GetCurrentThreadId();
BOOL OpenProcessToken(HANDLE process, DWORD access, HANDLE* token);
BOOL GetTokenInformation(HANDLE token, TOKEN_INFORMATION_CLASS informationClass, void* information,
                         DWORD size, DWORD* sizeNeeded);
BOOL QueryFullProcessImageNameA(HANDLE process, DWORD flags, char* path, DWORD* size);
DWORD GetFileVersionInfoSizeA(const char* path, DWORD* handle);
BOOL GetFileVersionInfoA(const char* path, DWORD handle, DWORD size, void* data);
BOOL VerQueryValueA(const void* block, const char* subBlock, void** buffer, UINT* size);

#endif
