// File attributes from POSIX modes (the mapping is described in win32.h).
#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "platform/posix/native.h"
#include "platform/win32.h"

using namespace platform::native;

DWORD GetFileAttributesA(const char* path) {
  const std::string native = ToNativePath(path);
  struct stat st {};
  if (native.empty()) {
    SetLastError(ERROR_FILE_NOT_FOUND);
    return INVALID_FILE_ATTRIBUTES;
  }
  struct stat linkStat {};
  const bool isLink = lstat(native.c_str(), &linkStat) == 0 && S_ISLNK(linkStat.st_mode);
  if (stat(native.c_str(), &st) != 0) {
    SetLastErrorFromErrno(errno);
    return INVALID_FILE_ATTRIBUTES;
  }
  return AttributesFromStat(st, BaseNameOf(native), isLink);
}

BOOL SetFileAttributesA(const char* path, DWORD attributes) {
  const std::string native = ToNativePath(path);
  struct stat st {};
  if (native.empty() || lstat(native.c_str(), &st) != 0) {
    SetLastErrorFromErrno(native.empty() ? ENOENT : errno);
    return FALSE;
  }
  // Only read-only maps onto the mode, and only for regular files: a link is
  // left alone so that its target outside the tree is never changed.
  if (!S_ISREG(st.st_mode)) return TRUE;
  constexpr mode_t kWriteBits = S_IWUSR | S_IWGRP | S_IWOTH;
  mode_t mode = st.st_mode & 07777;
  if ((attributes & FILE_ATTRIBUTE_READONLY) != 0) {
    mode &= static_cast<mode_t>(~kWriteBits);
  } else if ((mode & kWriteBits) == 0) {
    mode |= S_IWUSR;
  }
  if (mode != (st.st_mode & 07777) && chmod(native.c_str(), mode) != 0) {
    SetLastErrorFromErrno(errno);
    return FALSE;
  }
  return TRUE;
}
