// The system calls that can be made to fail on purpose: each counts the call
// and fails as the system would when the fault point is armed.
#define ACE_PLATFORM_SYSTEM_CALLS
#include "platform/fault_injection.h"
#include "platform/win32.h"

using platform::faults::Kind;
using platform::faults::ShouldFail;

namespace platform::checked {

HANDLE CreateFileA(LPCSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                   DWORD creation, DWORD flags, HANDLE templateFile) {
  if (ShouldFail(Kind::Open)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
  }
  return ::CreateFileA(path, access, share, security, creation, flags, templateFile);
}

BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD toRead, LPDWORD read, LPOVERLAPPED overlapped) {
  if (ShouldFail(Kind::Read)) {
    if (read != nullptr) *read = 0;
    SetLastError(ERROR_GEN_FAILURE);
    return FALSE;
  }
  return ::ReadFile(file, buffer, toRead, read, overlapped);
}

BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD toWrite, LPDWORD written,
               LPOVERLAPPED overlapped) {
  if (ShouldFail(Kind::Write)) {
    if (written != nullptr) *written = 0;
    SetLastError(ERROR_GEN_FAILURE);
    return FALSE;
  }
  if (ShouldFail(Kind::ShortWrite)) {
    // A full disk: half of it stored, reported as success.
    if (!::WriteFile(file, buffer, toWrite / 2, written, overlapped)) return FALSE;
    SetLastError(ERROR_HANDLE_DISK_FULL);
    return TRUE;
  }
  return ::WriteFile(file, buffer, toWrite, written, overlapped);
}

DWORD SetFilePointer(HANDLE file, LONG distance, PLONG distanceHigh, DWORD method) {
  if (ShouldFail(Kind::Seek)) {
    SetLastError(ERROR_GEN_FAILURE);
    return INVALID_SET_FILE_POINTER;
  }
  return ::SetFilePointer(file, distance, distanceHigh, method);
}

BOOL MoveFileA(LPCSTR from, LPCSTR to) {
  if (ShouldFail(Kind::Rename)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  return ::MoveFileA(from, to);
}

BOOL DeleteFileA(LPCSTR path) {
  if (ShouldFail(Kind::Delete)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  return ::DeleteFileA(path);
}

BOOL CreateDirectoryA(LPCSTR path, LPSECURITY_ATTRIBUTES security) {
  if (ShouldFail(Kind::CreateDir)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  return ::CreateDirectoryA(path, security);
}

}  // namespace platform::checked
