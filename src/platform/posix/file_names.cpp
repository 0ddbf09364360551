// Services that work on names rather than handles: delete, move, directories
// and the temporary folder.
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/fault_injection.h"
#include "platform/posix/native.h"
#include "platform/win32.h"

using platform::faults::Kind;
using platform::faults::ShouldFail;
using namespace platform::native;

BOOL DeleteFileA(const char* path) {
  if (ShouldFail(Kind::Delete)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  const std::string native = ToNativePath(path);
  struct stat st {};
  if (native.empty() || lstat(native.c_str(), &st) != 0) {
    SetLastErrorFromErrno(native.empty() ? ENOENT : errno);
    return FALSE;
  }
  if (S_ISDIR(st.st_mode)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  // Windows will not delete a read-only file.
  if (S_ISREG(st.st_mode) && (st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  if (unlink(native.c_str()) != 0) {
    SetLastErrorFromErrno(errno);
    return FALSE;
  }
  return TRUE;
}

BOOL MoveFileA(const char* from, const char* to) {
  if (ShouldFail(Kind::Rename)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  const std::string source = ToNativePath(from);
  const std::string target = ToNativePath(to);
  if (source.empty() || target.empty()) {
    SetLastError(ERROR_PATH_NOT_FOUND);
    return FALSE;
  }
  if (renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) {
    return TRUE;
  }
  if (errno != EINVAL && errno != ENOSYS) {
    SetLastError(errno == EEXIST ? ERROR_ALREADY_EXISTS : Win32ErrorFromErrno(errno));
    return FALSE;
  }
  // File systems without RENAME_NOREPLACE: check, then rename.
  struct stat st {};
  if (lstat(target.c_str(), &st) == 0) {
    SetLastError(ERROR_ALREADY_EXISTS);
    return FALSE;
  }
  if (rename(source.c_str(), target.c_str()) != 0) {
    SetLastErrorFromErrno(errno);
    return FALSE;
  }
  return TRUE;
}

BOOL CreateDirectoryA(const char* path, void* /*security*/) {
  if (ShouldFail(Kind::CreateDir)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
  }
  const std::string native = ToNativePath(path);
  if (native.empty() || mkdir(native.c_str(), 0777) != 0) {
    SetLastErrorFromErrno(native.empty() ? ENOENT : errno);
    return FALSE;
  }
  return TRUE;
}

BOOL RemoveDirectoryA(const char* path) {
  std::string native = ToNativePath(path);
  while (native.size() > 1 && native.back() == '/') native.pop_back();
  struct stat st {};
  if (native.empty() || lstat(native.c_str(), &st) != 0) {
    SetLastErrorFromErrno(native.empty() ? ENOENT : errno);
    return FALSE;
  }
  // A link to a directory is removed itself, as Windows removes a directory
  // symbolic link; its target is never touched.
  if (S_ISLNK(st.st_mode)) {
    struct stat target {};
    if (stat(native.c_str(), &target) != 0 || !S_ISDIR(target.st_mode)) {
      SetLastError(ERROR_PATH_NOT_FOUND);
      return FALSE;
    }
    if (unlink(native.c_str()) != 0) {
      SetLastErrorFromErrno(errno);
      return FALSE;
    }
    return TRUE;
  }
  if (rmdir(native.c_str()) != 0) {
    SetLastErrorFromErrno(errno);
    return FALSE;
  }
  return TRUE;
}

DWORD GetTempPathA(DWORD size, char* buffer) {
  const char* env = std::getenv("TMPDIR");
  std::string path = env != nullptr && *env != '\0' ? env : "/tmp";
  if (path.back() != '/') path += '/';
  const auto length = static_cast<DWORD>(path.size());
  if (buffer == nullptr || size < length + 1) return length + 1;  // the size it needs
  std::memcpy(buffer, path.c_str(), path.size() + 1);
  return length;
}
