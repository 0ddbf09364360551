#include "platform/posix/native.h"

#include <cerrno>
#include <climits>

namespace platform::native {

namespace {
// Seconds from 1601-01-01 to 1970-01-01.
constexpr int64_t kEpochDifference = 11644473600LL;
constexpr int64_t kTicksPerSecond = 10000000LL;
}  // namespace

std::string ToNativePath(const char* path) {
  if (path == nullptr) return std::string();
  std::string out(path);
  if (out.size() >= 2 && out[1] == ':' &&
      ((out[0] >= 'A' && out[0] <= 'Z') || (out[0] >= 'a' && out[0] <= 'z'))) {
    out.erase(0, 2);
  }
  for (char& c : out) {
    if (c == '\\') c = '/';
  }
  return out;
}

DWORD Win32ErrorFromErrno(int err) {
  switch (err) {
    case 0:
      return NO_ERROR;
    case ENOENT:
      return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
      return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EISDIR:
    case EROFS:
    case ENXIO:
    case ETXTBSY:
      return ERROR_ACCESS_DENIED;
    case EBADF:
      return ERROR_INVALID_HANDLE;
    case ENOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    case ENOSPC:
#ifdef EDQUOT
    case EDQUOT:
#endif
      return ERROR_HANDLE_DISK_FULL;
    case EEXIST:
      return ERROR_ALREADY_EXISTS;
    case ENOTEMPTY:
      return ERROR_DIR_NOT_EMPTY;
    case EXDEV:
      return ERROR_NOT_SAME_DEVICE;
    case ENAMETOOLONG:
      return ERROR_FILENAME_EXCED_RANGE;
    case EINVAL:
      return ERROR_INVALID_PARAMETER;
    case EMFILE:
    case ENFILE:
      return ERROR_TOO_MANY_OPEN_FILES;
    case EBUSY:
      return ERROR_SHARING_VIOLATION;
    default:
      return ERROR_GEN_FAILURE;
  }
}

void SetLastErrorFromErrno(int err) { SetLastError(Win32ErrorFromErrno(err)); }

int FdFromHandle(HANDLE handle) {
  const intptr_t value = reinterpret_cast<intptr_t>(handle) - 1;
  if (value < 0 || value > INT_MAX) return -1;
  return static_cast<int>(value);
}

std::string BaseNameOf(const std::string& nativePath) {
  std::string s = nativePath;
  while (s.size() > 1 && s.back() == '/') s.pop_back();
  const size_t slash = s.rfind('/');
  if (slash == std::string::npos) return s;
  return s.substr(slash + 1);
}

DWORD AttributesFromStat(const struct stat& st, const std::string& name, bool isLink) {
  DWORD attributes = 0;
  if (S_ISDIR(st.st_mode)) {
    attributes |= FILE_ATTRIBUTE_DIRECTORY;
  } else if (S_ISREG(st.st_mode)) {
    attributes |= FILE_ATTRIBUTE_ARCHIVE;
  } else {
    // FIFOs, sockets and devices: present, but nothing the plug-in can read.
    attributes |= FILE_ATTRIBUTE_SYSTEM;
  }
  if ((st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) attributes |= FILE_ATTRIBUTE_READONLY;
  if (name.size() > 1 && name[0] == '.' && name != "..") attributes |= FILE_ATTRIBUTE_HIDDEN;
  if (isLink) attributes |= FILE_ATTRIBUTE_REPARSE_POINT;
  return attributes;
}

FILETIME FileTimeFromTimespec(const struct timespec& ts) {
  int64_t ticks = (static_cast<int64_t>(ts.tv_sec) + kEpochDifference) * kTicksPerSecond +
                  static_cast<int64_t>(ts.tv_nsec) / 100;
  if (ticks < 0) ticks = 0;
  const auto u = static_cast<uint64_t>(ticks);
  return FILETIME{static_cast<uint32_t>(u), static_cast<uint32_t>(u >> 32)};
}

struct timespec TimespecFromFileTime(const FILETIME& ft) {
  const uint64_t ticks = (static_cast<uint64_t>(ft.dwHighDateTime) << 32) | ft.dwLowDateTime;
  struct timespec ts {};
  ts.tv_sec = static_cast<time_t>(static_cast<int64_t>(ticks / kTicksPerSecond) - kEpochDifference);
  ts.tv_nsec = static_cast<long>((ticks % kTicksPerSecond) * 100);
  return ts;
}

}  // namespace platform::native
