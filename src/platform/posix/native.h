// Helpers shared by the POSIX side of the platform layer: path conversion,
// errno translation, file-handle encoding and stat-to-Win32 conversions.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>

#include "platform/win32.h"

namespace platform::native {

// "\" becomes "/" and a leading drive ("C:") is dropped.
std::string ToNativePath(const char* path);

// Records the Win32 code that best matches `err` as the last error.
void SetLastErrorFromErrno(int err);
DWORD Win32ErrorFromErrno(int err);

// A file HANDLE is the descriptor plus one, so that neither nullptr nor
// INVALID_HANDLE_VALUE can ever name an open file.
inline HANDLE HandleFromFd(int fd) {
  return reinterpret_cast<HANDLE>(static_cast<intptr_t>(fd) + 1);
}
// The descriptor, or -1 for a value that cannot be one.
int FdFromHandle(HANDLE handle);

// Attributes as described in win32.h. `name` is the last path component.
DWORD AttributesFromStat(const struct stat& st, const std::string& name, bool isLink);
FILETIME FileTimeFromTimespec(const struct timespec& ts);
struct timespec TimespecFromFileTime(const FILETIME& ft);

// The last component of a native path ("" for "/").
std::string BaseNameOf(const std::string& nativePath);

}  // namespace platform::native
