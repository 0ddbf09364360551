// The POSIX stand-in for the Win32 services that the plug-in calls, under
// their Win32 names and types. On Linux they map onto POSIX, with these choices:
// - "\" stays the path separator inside the system; on the way to the OS it is
//   turned into "/" and a leading drive ("C:") is dropped. Paths that already
//   use "/" work too.
// - Attributes: directory 0x10; read-only 0x01 when no write permission bit is
//   set (setting it clears the write bits, clearing it restores the owner's);
//   archive 0x20 for regular files; hidden 0x02 for names that begin with ".".
//   Setting hidden or system is accepted and ignored.
// - The ANSI code page is UTF-8, the OEM code page is CP437. CharToOemA maps
//   UTF-8 to CP437 (characters CP437 lacks become "?"), OemToCharA maps CP437
//   to UTF-8. Because UTF-8 can be longer, both take the destination's
//   capacity and never write past it (cut at a character boundary).
// - FILETIME counts 100 ns since 1601 UTC; local time follows the TZ database.
//   As on Windows, converting a file time to or from local time applies the
//   offset in force now to every date, whatever its season.
// - Module handles are dlopen handles; GetModuleFileNameA(nullptr) names the
//   host program.
// - A file HANDLE is the file descriptor plus one (never nullptr or
//   INVALID_HANDLE_VALUE); find handles are heap objects.
// - Read-only behaves as on Windows even for root: CreateFileA for writing and
//   DeleteFileA refuse a file without write permission (ERROR_ACCESS_DENIED).
// - CreateFileA opens regular files only: a directory, FIFO or device fails
//   with ERROR_ACCESS_DENIED (and never blocks). Share modes are ignored.
// - WriteFile on a full disk reports success with the bytes it did store (last
//   error ERROR_HANDLE_DISK_FULL), so callers see a short write.
// - FindFirstFileA matches names without regard to ASCII case; "*.*" also
//   matches names without a dot, "?" is one character, "." and ".." are
//   reported. Entries come in NTFS's order, by the names' upper-case forms
//   ("." and ".." first), read once when the search starts. Symbolic links
//   carry FILE_ATTRIBUTE_REPARSE_POINT and are removed, never followed, by
//   DeleteFileA and RemoveDirectoryA; SetFileAttributesA ignores them.
// - CloseHandle(INVALID_HANDLE_VALUE) succeeds: on Windows that value is also
//   the process's own pseudo handle.
// - Non-regular files other than directories (FIFOs, devices) report
//   FILE_ATTRIBUTE_SYSTEM.
#pragma once

#include <cstddef>
#include <cstdint>

#include "aceplug/aceplug.h"

using DWORD = uint32_t;
using WORD = uint16_t;
using BOOL = int32_t;
using LONG = int32_t;
using HANDLE = void*;
using HMODULE = void*;
using FARPROC = void (*)();
using FILETIME = AceFileTime;
using WIN32_FIND_DATAA = AceFindData;

struct SYSTEMTIME {
  WORD wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
};

inline constexpr BOOL TRUE = 1;
inline constexpr BOOL FALSE = 0;
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(static_cast<intptr_t>(-1));
inline constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFFu;
inline constexpr DWORD INVALID_SET_FILE_POINTER = 0xFFFFFFFFu;
inline constexpr DWORD MAX_PATH = 260;

// CreateFileA access, share and creation values.
inline constexpr DWORD GENERIC_READ = 0x80000000u;
inline constexpr DWORD GENERIC_WRITE = 0x40000000u;
inline constexpr DWORD FILE_SHARE_READ = 0x1;
inline constexpr DWORD FILE_SHARE_WRITE = 0x2;
inline constexpr DWORD CREATE_NEW = 1;
inline constexpr DWORD CREATE_ALWAYS = 2;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD OPEN_ALWAYS = 4;
inline constexpr DWORD TRUNCATE_EXISTING = 5;

inline constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x01;
inline constexpr DWORD FILE_ATTRIBUTE_HIDDEN = 0x02;
inline constexpr DWORD FILE_ATTRIBUTE_SYSTEM = 0x04;
inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_ARCHIVE = 0x20;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD FILE_ATTRIBUTE_REPARSE_POINT = 0x400;  // symbolic link
// CreateFileA flag: a symbolic link at the path is opened itself, never
// followed (so creating a file through one fails).
inline constexpr DWORD FILE_FLAG_OPEN_REPARSE_POINT = 0x00200000;

inline constexpr DWORD FILE_BEGIN = 0;
inline constexpr DWORD FILE_CURRENT = 1;
inline constexpr DWORD FILE_END = 2;

// Last-error codes that callers look at.
inline constexpr DWORD NO_ERROR = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_NOT_SAME_DEVICE = 17;
inline constexpr DWORD ERROR_NO_MORE_FILES = 18;
inline constexpr DWORD ERROR_GEN_FAILURE = 31;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_HANDLE_DISK_FULL = 39;
inline constexpr DWORD ERROR_FILE_EXISTS = 80;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_INVALID_NAME = 123;
inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
inline constexpr DWORD ERROR_NEGATIVE_SEEK = 131;
inline constexpr DWORD ERROR_DIR_NOT_EMPTY = 145;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;

DWORD GetLastError();
void SetLastError(DWORD code);

// ---- files ----
HANDLE CreateFileA(const char* path, DWORD access, DWORD share, void* security, DWORD creation,
                   DWORD flags, HANDLE templateFile);
BOOL ReadFile(HANDLE file, void* buffer, DWORD toRead, DWORD* read, void* overlapped);
BOOL WriteFile(HANDLE file, const void* buffer, DWORD toWrite, DWORD* written, void* overlapped);
DWORD SetFilePointer(HANDLE file, LONG distance, LONG* distanceHigh, DWORD method);
DWORD GetFileSize(HANDLE file, DWORD* sizeHigh);
BOOL SetEndOfFile(HANDLE file);
BOOL CloseHandle(HANDLE object);
BOOL DeleteFileA(const char* path);
BOOL MoveFileA(const char* from, const char* to);  // fails when `to` exists
DWORD GetFileAttributesA(const char* path);
BOOL SetFileAttributesA(const char* path, DWORD attributes);
BOOL GetFileTime(HANDLE file, FILETIME* creation, FILETIME* lastAccess, FILETIME* lastWrite);
BOOL SetFileTime(HANDLE file, const FILETIME* creation, const FILETIME* lastAccess,
                 const FILETIME* lastWrite);
HANDLE FindFirstFileA(const char* pattern, WIN32_FIND_DATAA* data);
BOOL FindNextFileA(HANDLE find, WIN32_FIND_DATAA* data);
BOOL FindClose(HANDLE find);
BOOL CreateDirectoryA(const char* path, void* security);
BOOL RemoveDirectoryA(const char* path);
DWORD GetTempPathA(DWORD size, char* buffer);  // TMPDIR, else /tmp, with a trailing separator

// ---- time ----
void GetSystemTime(SYSTEMTIME* time);
BOOL SystemTimeToFileTime(const SYSTEMTIME* system, FILETIME* file);
BOOL FileTimeToSystemTime(const FILETIME* file, SYSTEMTIME* system);
BOOL FileTimeToLocalFileTime(const FILETIME* utc, FILETIME* local);
BOOL LocalFileTimeToFileTime(const FILETIME* local, FILETIME* utc);
BOOL FileTimeToDosDateTime(const FILETIME* file, WORD* date, WORD* time);
BOOL DosDateTimeToFileTime(WORD date, WORD time, FILETIME* file);

// ---- modules ----
DWORD GetModuleFileNameA(HMODULE module, char* buffer, DWORD size);
HMODULE LoadLibraryA(const char* path);
FARPROC GetProcAddress(HMODULE module, const char* name);
BOOL FreeLibrary(HMODULE module);

// ---- case (the code-page conversions are in platform/win32.h) ----
char* CharUpperA(char* text);  // in place: ASCII and the Latin-1 letters of UTF-8
