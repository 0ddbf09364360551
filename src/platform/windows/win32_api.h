// The Windows side of the platform layer: the real API from <windows.h>.
//
// The calls that tests can make fail on purpose (platform/fault_injection.h)
// are routed through checked wrappers of the same signature; everything else is
// the system's own function.
#pragma once

#ifndef NOMINMAX
#  define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#  define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

namespace platform::checked {
HANDLE CreateFileA(LPCSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                   DWORD creation, DWORD flags, HANDLE templateFile);
BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD toRead, LPDWORD read, LPOVERLAPPED overlapped);
BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD toWrite, LPDWORD written,
               LPOVERLAPPED overlapped);
DWORD SetFilePointer(HANDLE file, LONG distance, PLONG distanceHigh, DWORD method);
BOOL MoveFileA(LPCSTR from, LPCSTR to);
BOOL DeleteFileA(LPCSTR path);
BOOL CreateDirectoryA(LPCSTR path, LPSECURITY_ATTRIBUTES security);
}  // namespace platform::checked

// The wrappers' own file defines this to reach the system's functions.
#ifndef ACE_PLATFORM_SYSTEM_CALLS
#  define CreateFileA ::platform::checked::CreateFileA
#  define ReadFile ::platform::checked::ReadFile
#  define WriteFile ::platform::checked::WriteFile
#  define SetFilePointer ::platform::checked::SetFilePointer
#  define MoveFileA ::platform::checked::MoveFileA
#  define DeleteFileA ::platform::checked::DeleteFileA
#  define CreateDirectoryA ::platform::checked::CreateDirectoryA
#endif
