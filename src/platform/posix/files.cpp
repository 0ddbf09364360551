// Handle-based file services over POSIX descriptors.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "platform/fault_injection.h"
#include "platform/posix/native.h"
#include "platform/win32.h"

using platform::faults::Kind;
using platform::faults::ShouldFail;
using namespace platform::native;

namespace {

// One read() or write() moves at most this much, well inside ssize_t.
constexpr size_t kChunk = size_t{1} << 30;

bool HasNoWriteBit(const struct stat& st) {
  return (st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
}

int CreationFlags(DWORD creation) {
  switch (creation) {
    case CREATE_NEW:
      return O_CREAT | O_EXCL;
    case CREATE_ALWAYS:
      return O_CREAT | O_TRUNC;
    case OPEN_EXISTING:
      return 0;
    case OPEN_ALWAYS:
      return O_CREAT;
    case TRUNCATE_EXISTING:
      return O_TRUNC;
    default:
      return -1;
  }
}

int OpenFd(HANDLE file) {
  const int fd = FdFromHandle(file);
  if (fd < 0) SetLastError(ERROR_INVALID_HANDLE);
  return fd;
}

}  // namespace

HANDLE CreateFileA(const char* path, DWORD access, DWORD /*share*/, void* /*security*/,
                   DWORD creation, DWORD flags, HANDLE /*templateFile*/) {
  if (ShouldFail(Kind::Open)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
  }
  const int creationFlags = CreationFlags(creation);
  const bool wantRead = (access & GENERIC_READ) != 0;
  const bool wantWrite = (access & GENERIC_WRITE) != 0;
  if (path == nullptr || *path == '\0' || creationFlags < 0 || (!wantRead && !wantWrite)) {
    SetLastError(path == nullptr || *path == '\0' ? ERROR_PATH_NOT_FOUND : ERROR_INVALID_PARAMETER);
    return INVALID_HANDLE_VALUE;
  }
  const std::string native = ToNativePath(path);

  // Windows refuses to write to, or replace, a read-only file even for an
  // administrator; root would get through here, so check first.
  struct stat before {};
  if (stat(native.c_str(), &before) == 0 && S_ISREG(before.st_mode) && HasNoWriteBit(before) &&
      (wantWrite || (creationFlags & O_TRUNC) != 0)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
  }

  int openFlags = wantRead && wantWrite ? O_RDWR : wantWrite ? O_WRONLY : O_RDONLY;
  // O_NONBLOCK keeps a FIFO without a writer from blocking the open; such
  // files are refused right after.
  openFlags |= creationFlags | O_CLOEXEC | O_NONBLOCK;
  if ((flags & FILE_FLAG_OPEN_REPARSE_POINT) != 0) openFlags |= O_NOFOLLOW;
  const mode_t mode = (flags & FILE_ATTRIBUTE_READONLY) != 0 ? 0444 : 0666;
  const int fd = open(native.c_str(), openFlags, mode);
  if (fd < 0) {
    SetLastErrorFromErrno(errno);
    return INVALID_HANDLE_VALUE;
  }
  struct stat st {};
  if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
    close(fd);
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
  }
  const int fileFlags = fcntl(fd, F_GETFL);
  if (fileFlags >= 0) fcntl(fd, F_SETFL, fileFlags & ~O_NONBLOCK);
  const bool existed =
      (creationFlags & O_CREAT) != 0 && (creationFlags & O_EXCL) == 0 && before.st_mode != 0;
  SetLastError(existed ? ERROR_ALREADY_EXISTS : NO_ERROR);
  return HandleFromFd(fd);
}

BOOL ReadFile(HANDLE file, void* buffer, DWORD toRead, DWORD* read, void* /*overlapped*/) {
  if (read != nullptr) *read = 0;
  if (ShouldFail(Kind::Read)) {
    SetLastError(ERROR_GEN_FAILURE);
    return FALSE;
  }
  const int fd = OpenFd(file);
  if (fd < 0) return FALSE;
  if (buffer == nullptr && toRead != 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  auto* out = static_cast<char*>(buffer);
  size_t done = 0;
  while (done < toRead) {
    size_t want = toRead - done;
    if (want > kChunk) want = kChunk;
    const ssize_t got = ::read(fd, out + done, want);
    if (got < 0) {
      if (errno == EINTR) continue;
      SetLastErrorFromErrno(errno);
      if (read != nullptr) *read = static_cast<DWORD>(done);
      return FALSE;
    }
    if (got == 0) break;
    done += static_cast<size_t>(got);
  }
  if (read != nullptr) *read = static_cast<DWORD>(done);
  SetLastError(NO_ERROR);
  return TRUE;
}

BOOL WriteFile(HANDLE file, const void* buffer, DWORD toWrite, DWORD* written,
               void* /*overlapped*/) {
  if (written != nullptr) *written = 0;
  if (ShouldFail(Kind::Write)) {
    SetLastError(ERROR_GEN_FAILURE);
    return FALSE;
  }
  DWORD limit = toWrite;
  bool shortWrite = false;
  if (ShouldFail(Kind::ShortWrite)) {
    limit = toWrite / 2;
    shortWrite = true;
  }
  const int fd = OpenFd(file);
  if (fd < 0) return FALSE;
  if (buffer == nullptr && toWrite != 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  const auto* in = static_cast<const char*>(buffer);
  size_t done = 0;
  while (done < limit) {
    size_t want = limit - done;
    if (want > kChunk) want = kChunk;
    const ssize_t put = ::write(fd, in + done, want);
    if (put < 0) {
      if (errno == EINTR) continue;
      const int err = errno;
      if (written != nullptr) *written = static_cast<DWORD>(done);
      SetLastErrorFromErrno(err);
      // A full disk is a short write, not a failure: the caller tells the two apart.
      return (err == ENOSPC
#ifdef EDQUOT
              || err == EDQUOT
#endif
              )
                 ? TRUE
                 : FALSE;
    }
    done += static_cast<size_t>(put);
  }
  if (written != nullptr) *written = static_cast<DWORD>(done);
  SetLastError(shortWrite ? ERROR_HANDLE_DISK_FULL : NO_ERROR);
  return TRUE;
}

DWORD SetFilePointer(HANDLE file, LONG distance, LONG* distanceHigh, DWORD method) {
  if (ShouldFail(Kind::Seek)) {
    SetLastError(ERROR_GEN_FAILURE);
    return INVALID_SET_FILE_POINTER;
  }
  const int fd = OpenFd(file);
  if (fd < 0) return INVALID_SET_FILE_POINTER;
  int whence = 0;
  switch (method) {
    case FILE_BEGIN:
      whence = SEEK_SET;
      break;
    case FILE_CURRENT:
      whence = SEEK_CUR;
      break;
    case FILE_END:
      whence = SEEK_END;
      break;
    default:
      SetLastError(ERROR_INVALID_PARAMETER);
      return INVALID_SET_FILE_POINTER;
  }
  int64_t offset = distance;
  if (distanceHigh != nullptr) {
    offset =
        static_cast<int64_t>((static_cast<uint64_t>(static_cast<uint32_t>(*distanceHigh)) << 32) |
                             static_cast<uint32_t>(distance));
  }
  // Work out the target first so that a negative or (without a high part)
  // over-large position fails and leaves the file position alone.
  int64_t base = 0;
  if (whence == SEEK_CUR) {
    base = lseek(fd, 0, SEEK_CUR);
  } else if (whence == SEEK_END) {
    struct stat st {};
    base = fstat(fd, &st) == 0 ? static_cast<int64_t>(st.st_size) : -1;
  }
  if (base < 0) {
    SetLastErrorFromErrno(errno);
    return INVALID_SET_FILE_POINTER;
  }
  const int64_t target = base + offset;
  if (target < 0) {
    SetLastError(ERROR_NEGATIVE_SEEK);
    return INVALID_SET_FILE_POINTER;
  }
  if (distanceHigh == nullptr && target > static_cast<int64_t>(0xFFFFFFFEu)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_SET_FILE_POINTER;
  }
  if (lseek(fd, static_cast<off_t>(target), SEEK_SET) < 0) {
    SetLastErrorFromErrno(errno);
    return INVALID_SET_FILE_POINTER;
  }
  const auto position = static_cast<uint64_t>(target);
  if (distanceHigh != nullptr) *distanceHigh = static_cast<LONG>(position >> 32);
  SetLastError(NO_ERROR);
  return static_cast<DWORD>(position);
}

DWORD GetFileSize(HANDLE file, DWORD* sizeHigh) {
  const int fd = OpenFd(file);
  struct stat st {};
  if (fd < 0 || fstat(fd, &st) != 0) {
    if (fd >= 0) SetLastErrorFromErrno(errno);
    return INVALID_FILE_ATTRIBUTES;  // the same all-ones value as INVALID_FILE_SIZE
  }
  const auto size = static_cast<uint64_t>(st.st_size);
  if (sizeHigh != nullptr) *sizeHigh = static_cast<DWORD>(size >> 32);
  SetLastError(NO_ERROR);
  return static_cast<DWORD>(size);
}

BOOL SetEndOfFile(HANDLE file) {
  const int fd = OpenFd(file);
  if (fd < 0) return FALSE;
  const off_t position = lseek(fd, 0, SEEK_CUR);
  if (position < 0 || ftruncate(fd, position) != 0) {
    SetLastErrorFromErrno(errno);
    return FALSE;
  }
  return TRUE;
}

BOOL CloseHandle(HANDLE object) {
  // The all-ones value is also the process's own pseudo handle, whose closing
  // Windows accepts and ignores.
  if (object == INVALID_HANDLE_VALUE) return TRUE;
  const int fd = OpenFd(object);
  if (fd < 0) return FALSE;
  if (close(fd) != 0 && errno != EINTR) {
    SetLastErrorFromErrno(errno);
    return FALSE;
  }
  return TRUE;
}

BOOL GetFileTime(HANDLE file, FILETIME* creation, FILETIME* lastAccess, FILETIME* lastWrite) {
  const int fd = OpenFd(file);
  struct stat st {};
  if (fd < 0) return FALSE;
  if (fstat(fd, &st) != 0) {
    SetLastErrorFromErrno(errno);
    return FALSE;
  }
  // POSIX keeps no creation time; the last-write time stands in for it.
  if (creation != nullptr) *creation = FileTimeFromTimespec(st.st_mtim);
  if (lastAccess != nullptr) *lastAccess = FileTimeFromTimespec(st.st_atim);
  if (lastWrite != nullptr) *lastWrite = FileTimeFromTimespec(st.st_mtim);
  return TRUE;
}

BOOL SetFileTime(HANDLE file, const FILETIME* /*creation*/, const FILETIME* lastAccess,
                 const FILETIME* lastWrite) {
  const int fd = OpenFd(file);
  if (fd < 0) return FALSE;
  struct timespec times[2];
  times[0].tv_sec = 0;
  times[0].tv_nsec = UTIME_OMIT;
  times[1] = times[0];
  if (lastAccess != nullptr) times[0] = TimespecFromFileTime(*lastAccess);
  if (lastWrite != nullptr) times[1] = TimespecFromFileTime(*lastWrite);
  if (futimens(fd, times) != 0) {
    SetLastErrorFromErrno(errno);
    return FALSE;
  }
  return TRUE;
}
